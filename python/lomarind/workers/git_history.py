"""The history of a git repository for the code index.

Which files a branch changed since it left its base (branch_diff), which files
a period changed (recent_changes), and which files or components it changed
most often (hotspots, file_hotspots); on request, the index's symbols on each
file's changed lines.

Every answer reads git through `git_utils` and the index through
`repository_changes`, looked up on this module at each call, as are the
filter functions, SOURCE_LANGUAGES, CHANGE_KINDS and add_pagination_hint:
replacing one here, or on its own module, takes effect on the next call.
While all are the package's own, an answer runs wholly in C++; otherwise
C++ calls each of them here.
"""

import logging
import operator
import sys
from dataclasses import dataclass
from typing import Optional, TypeVar

from lomarind import _lomarind
from lomarind.storage import repository_changes
from lomarind.storage.repository_changes import IndexedPath, LineRange, Repository, SymbolOnLines
from lomarind.utils import git_utils
from lomarind.utils.git_utils import CommitChanges, FileChange, GitError, LineSpan
from lomarind.utils.language_filter import SOURCE_LANGUAGES, is_source_extension
from lomarind.utils.pagination import add_pagination_hint
from lomarind.utils.path_filter import is_test_path, should_skip_path
from lomarind.workers.retrieval import RETRIEVABLE_KINDS

_core = _lomarind.git_history
_this = sys.modules[__name__]
_GIT_OPS = ("resolve_commit", "resolve_display_branch", "get_default_branch", "parse_time_spec",
            "diff_file_changes", "count_commits", "log_commit_changes", "commit_before",
            "diff_line_spans")
_INDEX_OPS = ("indexed_paths", "symbols_on_lines")
# (name on this module, name on the extension's filters)
_FILTERS = (("is_source_extension", "is_source_extension"), ("is_test_path", "is_test_path"),
            ("should_skip_path", "should_skip_path"), ("SOURCE_LANGUAGES", "SOURCE_LANGUAGES"),
            ("CHANGE_KINDS", "RETRIEVABLE_KINDS"))
# The package's own hint: while the module still holds it, the answers add
# their hint in C++; a host's replacement is called here instead.
_OWN_HINT = add_pagination_hint

MAX_COMMITS = _core.MAX_COMMITS
SYMBOLS_PER_ROW = _core.SYMBOLS_PER_ROW
CHANGE_KINDS: frozenset = RETRIEVABLE_KINDS
_WHOLE_FILE = LineSpan(*_core.WHOLE_FILE)
_SAME_COMMIT_NOTE = _core.SAME_COMMIT_NOTE

logger = logging.getLogger(__name__)

T = TypeVar("T")


def _own(repository=None):
    """Whether every neighbour this module holds is still the package's own
    (and `repository` holds the package's index), so that a call can run
    wholly in C++."""
    # A host's stand-in may hold only the operations its calls need.
    git, index = _this.git_utils, _this.repository_changes
    return (all(getattr(git, name, None) is getattr(_lomarind.git_utils, name)
                for name in _GIT_OPS)
            and all(getattr(index, name, None) is getattr(_lomarind.storage, name)
                    for name in _INDEX_OPS)
            and all(getattr(_this, name, None) is getattr(_lomarind.filters, own)
                    for name, own in _FILTERS)
            and (repository is None
                 or isinstance(getattr(repository, "db", None), _lomarind.storage.IndexDb)))


class GitHistoryError(Exception):
    """A question about the history that cannot be answered as asked; the message says why."""


@dataclass(frozen=True)
class BranchChanges:
    """What a branch changed since it left its base, and the two commits compared."""

    base_branch: str
    head_branch: str
    base_commit: str
    head_commit: str
    commit_count: int
    files: tuple

    @property
    def note(self) -> Optional[str]:
        """Why there is nothing to compare, when the head is the base."""
        return _core.branch_note(self.base_commit, self.head_commit)


@dataclass
class _PathHistory:
    """What a period did to one file, followed across renames."""

    path: str
    origin: str
    created: bool
    exists: bool = True
    commits: int = 0
    additions: int = 0
    deletions: int = 0
    last_changed: int = 0

    @property
    def status(self) -> str:
        """deleted, added, modified or renamed, in that order of precedence."""
        return _core.path_status(self)

    def as_change(self) -> FileChange:
        """The history as the git reader's FileChange."""
        return _core.as_change(self)


def is_source_path(path, language):
    """Whether a changed file is production source: code that is no test and not generated."""
    return _core.is_source_path(_this, _own(), path, language)


def branch_changes(repo_root, base_branch, head_branch, *, head_parameter="head_branch"):
    """What a branch changed since it left its base."""
    return _core.branch_changes(_this, _own(), repo_root, base_branch, head_branch,
                                head_parameter)


def _hinted(key, ask):
    """`ask(hint)`'s answer, with the module's add_pagination_hint applied here
    when a host has replaced the package's own."""
    own = add_pagination_hint is _OWN_HINT
    result = ask(own)
    return result if own else add_pagination_hint(result, len(result[key]))


def recent_changes(repository, repo_root, *, since, branch, include_symbols, limit, offset,
                   source_only):
    """The files a period changed on a branch, the latest change first."""
    return _hinted("files", lambda hint: _core.recent_changes(
        _this, _own(repository), repository, repo_root, since, branch, include_symbols, limit,
        offset, source_only, hint))


def hotspots(repository, repo_root, *, since, branch, group_by, limit, offset, source_only):
    """The files or components a period changed most often, with a risk score."""
    if group_by is None:
        raise GitHistoryError("group_by must be 'file' or 'component'; got None")
    return _hinted("hotspots", lambda hint: _core.hotspots(
        _this, _own(repository), repository, repo_root, since, branch, group_by, limit, offset,
        source_only, hint))


def file_hotspots(repository, repo_root, *, since, branch, limit):
    """The first page of production source hotspots; none for a history that cannot be read."""
    # Through this module's `hotspots`, so that a host's replacement of it
    # answers here too.
    try:
        answer = hotspots(repository, repo_root, since=since, branch=branch, group_by="file",
                          limit=limit, offset=0, source_only=True)
    except GitHistoryError as error:
        if isinstance(error.__cause__, GitError):
            raise
        logger.info("No hotspots for %s: %s", repo_root, str(error))
        return []
    return list(answer["hotspots"][:max(limit, 0)])


def branch_diff(repository, repo_root, *, base_branch, head_branch, include_symbols, limit,
                offset, source_only):
    """The files a branch changed since it left its base, the most lines changed first."""
    return _hinted("files", lambda hint: _core.branch_diff(
        _this, _own(repository), repository, repo_root, base_branch, head_branch,
        include_symbols, limit, offset, source_only, hint))


def by_lines_changed(files):
    """The files, the most lines changed first, then by path."""
    return _core.by_lines_changed(files)


def change_row(change):
    """The answer row of one changed file."""
    return _core.change_row(change)


def changed_line_spans(repo_root, base_commit, head_commit, files, *, merge_base):
    """The head-side lines each file changed, by path."""
    return _core.changed_line_spans(_this, _own(), repo_root, base_commit, head_commit, files,
                                    merge_base)


def line_ranges(spans, paths):
    """The spans of `paths`, in that order, as ranges for the index."""
    return _core.line_ranges(spans, paths)


def touched_symbols(repository, repo_root, base_commit, head_commit, files, *, merge_base,
                    per_file=SYMBOLS_PER_ROW):
    """The index's symbols on each file's changed lines, by path."""
    return _core.touched_symbols(_this, _own(repository), repository, repo_root, base_commit,
                                 head_commit, files, merge_base, per_file)


def symbol_row(symbol):
    """The answer row of one symbol."""
    return _core.symbol_row(symbol)


class _reading_git:
    """The guard of a block of git reads: a GitError leaving it is logged and
    raised as GitHistoryError, chained to it."""

    def __enter__(self):
        return None

    def __exit__(self, kind, error, trace):
        if isinstance(error, GitError):
            logger.warning("git failed: %s", error)
            raise GitHistoryError(f"git failed: {error}") from error
        return False


def _period_start(since):
    """The start of the period `since`."""
    return _core.period_start(_this, _own(), since)


def _resolve_base(repo_root, name):
    """(name, commit) of the named base, else of the default branch."""
    return _core.resolve_base(_this, _own(), repo_root, name)


def _resolve_head(repo_root, name, parameter):
    """(name, commit) of the named head, else of what is checked out."""
    return _core.resolve_head(_this, _own(), repo_root, name, parameter)


def _resolve_branch(repo_root, name):
    """(name, commit) of `name`, else of origin/`name`; None when neither resolves."""
    return _core.resolve_branch(_this, _own(), repo_root, name)


def _histories(commits):
    """One _PathHistory per file of a log (newest first), followed across renames."""
    return _core.histories(_this, commits)


def _is_source(path, facts):
    """is_source_path with the language the index holds for `path`, if any."""
    return _core.is_source(_this, _own(), path, facts)


def _history_row(history):
    """The change row of history.as_change(), then commits and last_changed."""
    return _core.history_row(history)


def _period_fields(since, branch, commits):
    """since, branch, commit_count and, at the commit limit, commit_limit_reached."""
    return _core.period_fields(since, branch, commits)


def _file_rows(histories, facts):
    """One file hotspot row per history, scored against the first."""
    return _core.file_rows(histories, facts)


def _component_rows(histories, facts):
    """One hotspot row per component, ranked by commits, then name."""
    return _core.component_rows(histories, facts)


def _attach_symbols(rows, symbols):
    """Sets each row's symbols to the list under its path, else to a new empty list."""
    for row in rows:
        path = row["path"]
        row["symbols"] = symbols[path] if path in symbols else []


def _page(items, limit, offset):
    """The items of one page, as a new list."""
    return _core.page(items, limit, offset)


def _paginated(result, key, rows, total, limit, offset):
    """The result with its page of rows and the pagination fields every list answer carries."""
    start = max(operator.index(offset), 0)
    result[key] = rows
    result["total_count"] = total
    result["truncated"] = start + max(operator.index(limit), 0) < total
    result["has_more"] = start + len(rows) < total
    result["offset"] = start
    return add_pagination_hint(result, len(rows))
