"""Which files of a git repository change together, for the code index.

change_coupling: the pairs of files that a period kept changing in the same
commits, the most coupled first. missing_partners: the files that keep
changing with a branch's files on its base, but that the branch left alone.

Both read git and the index through the neighbours git_history holds, as
its own answers do: wholly in C++ while all are the package's own. A question that
cannot be answered raises git_history.GitHistoryError, chained to the
GitError or ValueError behind it, and warnings go to git_history's logger.
"""

from lomarind import _lomarind
from lomarind.workers import git_history
from lomarind.workers.git_history import GitHistoryError

_core = _lomarind.git_coupling

# The usual thresholds: what missing_partners and the program's defaults use.
DEFAULT_MIN_REVISIONS = _core.DEFAULT_MIN_REVISIONS
DEFAULT_MIN_SHARED = _core.DEFAULT_MIN_SHARED
DEFAULT_MIN_DEGREE = _core.DEFAULT_MIN_DEGREE
DEFAULT_MAX_CHANGESET = _core.DEFAULT_MAX_CHANGESET

__all__ = ["GitHistoryError", "change_coupling", "missing_partners"]


def change_coupling(repository, repo_root, *, since, branch, path, source_only, min_revisions,
                    min_shared, min_degree, max_changeset, limit, offset):
    """The pairs of files a period kept changing in the same commits, as the
    answer record: the period fields, bulk_commits, excluded_files, pairs and
    the pagination fields. A renamed file is one file under its last path; a
    commit of more than max_changeset files counts nowhere. With `path`, only
    that file's pairs, with it as each pair's `path`."""
    return _core.change_coupling(git_history, git_history._own(repository), repository,
                                 repo_root, since, branch, path, source_only, min_revisions,
                                 min_shared, min_degree, max_changeset, limit, offset)


def missing_partners(repository, repo_root, *, base_branch, head_branch, since, source_only):
    """The files that kept changing with the branch's files over the base's
    period `since` but that the branch did not change, each with its strongest
    changed partner: at most 20, the strongest first. `since` is checked
    first, then the names, as branch_diff checks them."""
    return _core.missing_partners(git_history, git_history._own(repository), repository,
                                  repo_root, base_branch, head_branch, since, source_only)
