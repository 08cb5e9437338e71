"""The records and guards a host finds on the history module."""

import pytest

from lomarind.storage.repository_changes import LineRange
from lomarind.utils.git_utils import FileChange, GitError, LineSpan
from lomarind.workers import git_history


H = git_history._PathHistory


@pytest.mark.parametrize("history, status, change", [
    (H("a", "a", False), "modified", FileChange("a", "modified", 0, 0)),
    (H("b", "a", True, exists=False), "deleted", FileChange("b", "deleted", 0, 0)),
    (H("b", "a", True, additions=3), "added", FileChange("b", "added", 3, 0)),
    (H("b", "a", False, deletions=2), "renamed", FileChange("b", "renamed", 0, 2, "a")),
])
def test_path_history_status_and_change(history, status, change):
    assert (history.status, history.as_change()) == (status, change)


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
