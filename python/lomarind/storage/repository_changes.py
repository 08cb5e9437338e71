"""What the history module asks the index about changed files."""

from dataclasses import dataclass
from typing import Any, NamedTuple, Optional

from lomarind import _lomarind

_core = _lomarind.storage


class IndexFileError(Exception):
    """The index file cannot be used; the message names the file and what to do."""


@dataclass(frozen=True)
class Repository:
    """The index handle the answers receive; they only pass `db` on."""

    db: Any


@dataclass(frozen=True)
class IndexedPath:
    """What the index holds about one path."""

    language: Optional[str] = None
    component: Optional[str] = None


class LineRange(NamedTuple):
    """Lines `start_line`..`end_line` (inclusive) of one file; a plain
    (path, start_line, end_line) triple serves as well."""

    path: str
    start_line: int
    end_line: int


@dataclass(frozen=True)
class SymbolOnLines:
    """One indexed symbol that lies on a looked-up range."""

    path: str
    name: str
    kind: str
    fqn: str
    start_line: int
    end_line: int


indexed_paths = _core.indexed_paths
symbols_on_lines = _core.symbols_on_lines
