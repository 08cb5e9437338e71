"""The records, constants and guards a host finds on the history module."""

import contextlib
import logging
import typing

import pytest

from lomarind.storage.repository_changes import LineRange
from lomarind.utils.git_utils import FileChange, GitError, LineSpan
from lomarind.workers import git_history, retrieval


def test_constants_and_logger():
    assert git_history.CHANGE_KINDS is retrieval.RETRIEVABLE_KINDS
    assert (git_history.MAX_COMMITS, git_history.SYMBOLS_PER_ROW) == (5000, 10)
    assert git_history._WHOLE_FILE == LineSpan(1, 2000000000, True)
    assert git_history._SAME_COMMIT_NOTE == "Already on base branch"
    assert git_history.logger is logging.getLogger("lomarind.workers.git_history")
    assert isinstance(git_history.T, typing.TypeVar)
    assert isinstance(git_history._reading_git(), contextlib.AbstractContextManager)


H = git_history._PathHistory


@pytest.mark.parametrize("history, status, change", [
    (H("a", "a", False), "modified", FileChange("a", "modified", 0, 0)),
    (H("b", "a", True, exists=False), "deleted", FileChange("b", "deleted", 0, 0)),
    (H("b", "a", True, additions=3), "added", FileChange("b", "added", 3, 0)),
    (H("b", "a", False, deletions=2), "renamed", FileChange("b", "renamed", 0, 2, "a")),
])
def test_path_history_status_and_change(history, status, change):
    assert (history.status, history.as_change()) == (status, change)


def test_branch_changes_is_frozen_and_notes_its_same_commit():
    same = git_history.BranchChanges("main", "main", "c1", "c1", 0, ())
    assert same.note == "Already on base branch"
    assert git_history.BranchChanges("main", "x", "c1", "c2", 0, ()).note is None
    with pytest.raises(AttributeError):
        same.commit_count = 1


def test_line_range_is_a_named_triple():
    [triple] = git_history.line_ranges({"a.py": [LineSpan(3, 5)]}, ["a.py"])
    assert type(triple) is tuple and triple == ("a.py", 3, 5)
    assert LineRange("a.py", 3, 5) == triple and LineRange(*triple).end_line == 5


def test_guard_and_pagination_work_on_what_the_host_hands_in(caplog):
    failure = GitError("fatal: bad object")
    with pytest.raises(git_history.GitHistoryError) as raised:
        with git_history._reading_git():
            raise failure
    assert str(raised.value) == "git failed: fatal: bad object"
    assert raised.value.__cause__ is failure and caplog.records[-1].args == (failure,)
    own = git_history.GitHistoryError("Branch 'x' not found")
    with pytest.raises(git_history.GitHistoryError) as passed:
        with git_history._reading_git():
            raise own
    assert passed.value is own and len(caplog.records) == 1

    result, rows = {"since": "1 week"}, [{"path": "a.py"}]
    answer = git_history._paginated(result, "files", rows, 25, 1, -3)
    assert answer is result and answer["files"] is rows
    assert list(answer)[:6] == ["since", "files", "total_count", "truncated", "has_more", "offset"]
    assert (answer["truncated"], answer["has_more"], answer["offset"]) == (True, True, 0)
