"""The history answers as a Python host calls them, on real repositories."""

import os

import pytest
from conftest import DAY, START

from lomarind.storage import open_index, repository_changes
from lomarind.utils import git_utils
from lomarind.workers import git_history

SINCE = "2023-01-01"


def hotspots(index, root, **overrides):
    args = dict(since=SINCE, branch=None, group_by="file", limit=50, offset=0,
                source_only=False)
    return git_history.hotspots(index, root, **{**args, **overrides})


def test_hotspots_answer_keeps_key_order_and_number_kinds(repo, index):
    answer = hotspots(index, repo.root, limit=2)
    assert list(answer)[:4] == ["since", "branch", "commit_count", "group_by"]
    top = answer["hotspots"][0]
    assert top["name"] == "app/main.py" and top["component"] is None
    assert type(top["risk_score"]) is float and top["risk_score"] == 1.0
    assert answer["hotspots"][1]["risk_score"] == 0.33


def test_index_files_that_cannot_serve_are_refused_or_warned(repo, tmp_path, caplog):
    with pytest.raises(repository_changes.IndexFileError):
        open_index(os.path.join(repo.root, "README.md"))
    missing = os.path.join(str(tmp_path), "no", "index.db")
    assert open_index(missing).empty
    [warning] = caplog.records
    assert warning.name == "lomarind.storage" and missing in warning.getMessage()


def test_paths_that_are_not_utf8_come_back_as_surrogate_escapes(repo, index):
    repo.commit("latin-1 name", START + 4 * DAY, {b"caf\xe9.py": "x = 2\n"})
    answer = git_history.recent_changes(index, repo.root, since=SINCE, branch=None,
                                        include_symbols=False, limit=1, offset=0,
                                        source_only=False)
    assert os.fsencode(answer["files"][0]["path"]) == b"caf\xe9.py"


def test_branch_changes_and_rows(repo):
    repo.git("checkout", "-q", "-b", "topic")
    repo.commit("topic", START + 5 * DAY, {"app/util.py": "x = 1\ny = 2\n"})
    changes = git_history.branch_changes(repo.root, None, None)
    assert (changes.base_branch, changes.head_branch, changes.note) == ("main", "topic", None)
    assert changes.files == (git_utils.FileChange("app/util.py", "modified", 1, 0),)
    assert git_history.change_row(changes.files[0]) == {
        "path": "app/util.py", "status": "modified", "additions": 1, "deletions": 0}
    assert git_history.branch_changes(repo.root, "topic", None).note == "Already on base branch"


def test_counts_of_any_size_page_as_python_would(repo, index):
    answer = hotspots(index, repo.root, limit=2**64, offset=-2**64)
    assert (answer["offset"], answer["truncated"], len(answer["hotspots"])) == (0, False, 4)
    assert git_history._page([1, 2, 3], 10**30, -10**30) == [1, 2, 3]
