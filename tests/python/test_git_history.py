"""The history answers as a Python host calls them, on real repositories."""

import dataclasses
import logging
import os

import pytest

from lomarind.storage import repository_changes
from lomarind.utils import git_utils
from lomarind.workers import git_history, retrieval

SINCE = "2023-01-01"


def hotspots(index, root, **overrides):
    args = dict(since=SINCE, branch=None, group_by="file", limit=50, offset=0,
                source_only=False)
    args.update(overrides)
    return git_history.hotspots(index, root, **args)


def test_hotspots_answer_keeps_key_order_and_number_kinds(repo, index):
    answer = hotspots(index, repo.root, limit=2)
    assert list(answer) == ["since", "branch", "commit_count", "group_by", "excluded_files",
                            "hotspots", "total_count", "truncated", "has_more", "offset",
                            "next_offset", "hint"]
    top = answer["hotspots"][0]
    assert list(top) == ["name", "type", "commits", "additions", "deletions", "component",
                         "risk_score"]
    assert top["name"] == "app/main.py" and top["component"] is None
    assert type(top["risk_score"]) is float and top["risk_score"] == 1.0
    assert answer["hotspots"][1]["risk_score"] == 0.33


def test_answers_take_named_parameters_only_and_all_of_them(repo, index):
    with pytest.raises(TypeError):
        git_history.hotspots(index, repo.root, SINCE, None, "file", 50, 0, False)
    with pytest.raises(TypeError):
        git_history.recent_changes(index, repo.root, since=SINCE, branch=None, limit=5,
                                   offset=0, source_only=False)


def test_errors_chain_their_cause(repo, index, tmp_path, caplog):
    with pytest.raises(git_history.GitHistoryError) as bad_period:
        hotspots(index, repo.root, since="soon")
    assert isinstance(bad_period.value.__cause__, ValueError)

    with pytest.raises(git_history.GitHistoryError, match="^Branch 'nope' not found"):
        hotspots(index, repo.root, branch="nope")

    caplog.set_level(logging.WARNING, logger="lomarind.workers.git_history")
    with pytest.raises(git_history.GitHistoryError, match="^git failed: ") as failed:
        hotspots(index, str(tmp_path))  # no repository here
    assert isinstance(failed.value.__cause__, git_utils.GitError)
    assert [r.getMessage() for r in caplog.records] == [str(failed.value)]


def test_paths_that_are_not_utf8_come_back_as_surrogate_escapes(repo, index):
    repo.write(os.fsdecode(b"caf\xe9.py"), "x = 2\n")
    repo.commit("latin-1 name", 1700000000 + 4 * 86400)
    answer = git_history.recent_changes(index, repo.root, since=SINCE, branch=None,
                                        include_symbols=False, limit=1, offset=0,
                                        source_only=False)
    assert os.fsencode(answer["files"][0]["path"]) == b"caf\xe9.py"


def test_neighbours_are_looked_up_at_each_call(repo, index, monkeypatch):
    calls = []
    real_log = git_utils.log_commit_changes

    def recording_log(repo_root, *, since, ref, max_commits):
        calls.append((repo_root, since, max_commits))
        return real_log(repo_root, since=since, ref=ref, max_commits=max_commits)

    monkeypatch.setattr(git_utils, "log_commit_changes", recording_log)
    monkeypatch.setattr(git_history, "add_pagination_hint", lambda result, count: result)
    answer = hotspots(index, repo.root, limit=1)
    start = git_utils.parse_time_spec(SINCE)
    assert calls == [(repo.root, start, git_history.MAX_COMMITS)]
    assert "hint" not in answer and answer["has_more"]

    failure = git_utils.GitError("fatal: disk on fire")

    def failing_log(*args, **kwargs):
        raise failure

    monkeypatch.setattr(git_utils, "log_commit_changes", failing_log)
    with pytest.raises(git_history.GitHistoryError, match="^git failed: fatal: disk on fire$") as e:
        hotspots(index, repo.root)
    assert e.value.__cause__ is failure


def test_file_hotspots_answers_nothing_for_a_repository_without_commits(tmp_path, index, caplog):
    from conftest import Repo
    empty = Repo(str(tmp_path / "empty"))
    caplog.set_level(logging.INFO, logger="lomarind.workers.git_history")
    assert git_history.file_hotspots(index, empty.root, since=SINCE, branch=None, limit=5) == []
    assert caplog.records[0].levelno == logging.INFO
    assert caplog.records[0].getMessage().startswith("No hotspots for " + empty.root)


def test_branch_records_and_constants(repo):
    repo.git("checkout", "-q", "-b", "topic")
    repo.write("app/util.py", "x = 1\ny = 2\n")
    repo.commit("topic", 1700000000 + 5 * 86400)
    changes = git_history.branch_changes(repo.root, None, None)
    assert changes.base_branch == "main" and changes.head_branch == "topic"
    assert changes.files == (git_utils.FileChange("app/util.py", "modified", 1, 0),)
    assert changes.note is None
    with pytest.raises(dataclasses.FrozenInstanceError):
        changes.commit_count = 3
    same = git_history.branch_changes(repo.root, "topic", None)
    assert same.note == "Already on base branch"
    assert git_history.CHANGE_KINDS is retrieval.RETRIEVABLE_KINDS
    assert git_history.change_row(changes.files[0]) == {
        "path": "app/util.py", "status": "modified", "additions": 1, "deletions": 0}


def test_index_file_that_is_not_ours_is_refused(tmp_path):
    from lomarind.storage import open_index
    bad = tmp_path / "bad.db"
    bad.write_text("not a database")
    with pytest.raises(repository_changes.IndexFileError):
        open_index(str(bad))
