"""The change-coupling answers as a Python host calls them, on real repositories."""

import logging

import pytest
from conftest import DAY, START

from lomarind.utils import git_utils
from lomarind.workers import git_coupling, git_history

SINCE = "2023-01-01"


@pytest.fixture
def coupled(repo):
    """app/main.py and app/util.py changed together five more times."""
    for i in range(5):
        repo.commit(f"together {i}", START + (3 + i) * DAY,
                    {"app/main.py": f"print({i})\n", "app/util.py": f"x = {i}\n"})
    return repo


def coupling(index, root, **overrides):
    args = dict(since=SINCE, branch=None, path=None, source_only=False, min_revisions=5,
                min_shared=5, min_degree=0.3, max_changeset=30, limit=50, offset=0)
    return git_coupling.change_coupling(index, root, **{**args, **overrides})


def test_answer_keeps_key_order_and_number_kinds(coupled, index):
    answer = coupling(index, coupled.root)
    assert list(answer) == ["since", "branch", "commit_count", "bulk_commits", "excluded_files",
                            "pairs", "total_count", "truncated", "has_more", "offset"]
    # main.py: 8 commits, util.py: 6, together 6: 12/14.
    assert answer["pairs"] == [{"path": "app/main.py", "coupled_path": "app/util.py",
                                "degree": 0.86, "shared_commits": 6, "commits": 8,
                                "coupled_commits": 6}]
    assert type(answer["pairs"][0]["degree"]) is float
    exact = coupling(index, coupled.root, path="app/util.py", min_degree=0.86)["pairs"][0]
    assert exact["path"] == "app/util.py"
    assert coupling(index, coupled.root, max_changeset=2, min_revisions=2**70)["pairs"] == []


@pytest.mark.parametrize("given, message", [
    (dict(min_shared=False, since="soon"), "min_shared must be at least 1; got False"),
    (dict(min_degree=2, max_changeset=1), "min_degree must be between 0 and 1; got 2"),
    (dict(min_degree=-1e-05), "min_degree must be between 0 and 1; got -1e-05"),
    (dict(min_revisions=-10**30), "min_revisions must be at least 1; got -1" + "0" * 30),
])
def test_thresholds_are_refused_as_python_writes_them(repo, index, given, message):
    with pytest.raises(git_history.GitHistoryError) as refused:
        coupling(index, repo.root, **given)
    assert str(refused.value) == message


def hotspots(index, root, **overrides):
    args = dict(since=SINCE, branch=None, group_by="file", limit=50, offset=0, source_only=False)
    return git_history.hotspots(index, root, **{**args, **overrides})


# The history and the coupling answers each raise through glue of their own.
@pytest.mark.parametrize("ask", [hotspots, coupling])
def test_errors_chain_their_cause_and_warn_on_the_history_logger(ask, repo, index, tmp_path,
                                                                 caplog):
    with pytest.raises(git_history.GitHistoryError) as bad_period:
        ask(index, repo.root, since="soon")
    assert isinstance(bad_period.value.__cause__, ValueError)
    caplog.set_level(logging.WARNING, logger="lomarind.workers.git_history")
    with pytest.raises(git_history.GitHistoryError, match="^git failed: ") as failed:
        ask(index, str(tmp_path))  # no repository here
    assert isinstance(failed.value.__cause__, git_utils.GitError)
    assert [r.getMessage() for r in caplog.records] == [str(failed.value)]
    assert caplog.records[-1].args[0] is failed.value.__cause__


def test_a_host_s_replaced_neighbours_answer_too(coupled, index, monkeypatch):
    own = coupling(index, coupled.root)
    logs, real = [], git_utils.log_commit_changes
    monkeypatch.setattr(git_utils, "log_commit_changes",
                        lambda *args, **kw: logs.append(kw["since"]) or real(*args, **kw))
    monkeypatch.setattr(git_history, "is_test_path", lambda path: path.endswith("util.py"))
    assert coupling(index, coupled.root)["pairs"] == own["pairs"] and len(logs) == 1
    assert coupling(index, coupled.root, source_only=True)["pairs"] == []


def test_missing_partners_judge_the_branch_by_its_base(coupled, index):
    coupled.git("checkout", "-q", "-b", "topic")
    coupled.commit("topic", START + 9 * DAY, {"app/util.py": "x = 9\n"})
    partners = git_coupling.missing_partners(index, coupled.root, base_branch=None,
                                             head_branch=None, since=SINCE, source_only=False)
    assert partners == [{"path": "app/main.py", "coupled_path": "app/util.py", "degree": 0.86,
                         "shared_commits": 6}]
    with pytest.raises(git_history.GitHistoryError) as bad_period:
        git_coupling.missing_partners(index, coupled.root, base_branch="nope", head_branch=None,
                                      since="soon", source_only=False)
    assert isinstance(bad_period.value.__cause__, ValueError)
    with pytest.raises(git_history.GitHistoryError, match="^Base branch 'nope' not found"):
        git_coupling.missing_partners(index, coupled.root, base_branch="nope", head_branch=None,
                                      since=SINCE, source_only=False)
