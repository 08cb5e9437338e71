"""The git reader: the nine questions the history module asks of git.

Each operation runs the git program (without a shell, with settings that keep
a repository's own config from running anything) and raises GitError when a
git command fails.
"""

from dataclasses import dataclass
from typing import Optional

from lomarind import _lomarind

_core = _lomarind.git_utils


class GitError(Exception):
    """A git command that failed; its text is git's own message."""


@dataclass(frozen=True)
class FileChange:
    """One file that a change touched."""

    path: str
    status: str
    additions: int
    deletions: int
    old_path: Optional[str] = None


@dataclass(frozen=True)
class CommitChanges:
    """One commit and the files it changed (none for a merge commit)."""

    commit: str
    timestamp: int
    files: tuple


@dataclass(frozen=True)
class LineSpan:
    """A run of changed lines on the head side; `end` is inclusive."""

    start: int
    end: int
    whole_file: bool = False


resolve_commit = _core.resolve_commit
resolve_display_branch = _core.resolve_display_branch
get_default_branch = _core.get_default_branch
parse_time_spec = _core.parse_time_spec
diff_file_changes = _core.diff_file_changes
count_commits = _core.count_commits
log_commit_changes = _core.log_commit_changes
commit_before = _core.commit_before
diff_line_spans = _core.diff_line_spans
