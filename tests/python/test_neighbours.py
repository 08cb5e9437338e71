"""Neighbours replaced by a host, the objects a host gets back, and values at the edges."""

import logging
import pathlib
import types
from unittest import mock

import pytest
from conftest import DAY, START, Repo

from lomarind.storage import repository_changes
from lomarind.utils import git_utils
from lomarind.utils.git_utils import FileChange, GitError
from lomarind.workers import git_history

SINCE = "2023-01-01"
PERIOD = dict(since=SINCE, branch=None, limit=10, offset=0, source_only=True)


def branch_diff(index, root):
    return git_history.branch_diff(index, root, base_branch=None, head_branch=None,
                                   include_symbols=True, limit=10, offset=0, source_only=True)


def recent_changes(index, root):
    return git_history.recent_changes(index, root, include_symbols=True, **PERIOD)


def hotspots(index, root, **overrides):
    return git_history.hotspots(index, root, **{**PERIOD, "group_by": "file", **overrides})


# Between them the answers ask every neighbour.
ASKS = [branch_diff, recent_changes, hotspots]
GIT_OPS = ["resolve_commit", "resolve_display_branch", "get_default_branch", "parse_time_spec",
           "diff_file_changes", "count_commits", "log_commit_changes", "commit_before",
           "diff_line_spans"]
INDEX_OPS = ["indexed_paths", "symbols_on_lines"]


def owner(name):
    return git_utils if name in GIT_OPS else repository_changes


def record(monkeypatch, names, calls):
    """Replaces each operation on its module object by a pass-through that records it."""
    for name in names:
        real = getattr(owner(name), name)

        def passing(*args, _name=name, _real=real, **kwargs):
            calls.append(_name)
            return _real(*args, **kwargs)
        monkeypatch.setattr(owner(name), name, passing)


@pytest.fixture
def topic(repo):
    repo.git("checkout", "-q", "-b", "topic")
    repo.commit("topic", START + 5 * DAY, {"app/util.py": "x = 1\ny = 2\n"})
    return repo


@pytest.mark.parametrize("name", GIT_OPS + INDEX_OPS)
def test_one_replaced_neighbour_takes_effect_on_the_next_call(topic, index, monkeypatch, name):
    own = [ask(index, topic.root) for ask in ASKS]
    calls = []
    record(monkeypatch, [name], calls)
    assert [ask(index, topic.root) for ask in ASKS] == own
    assert calls
    monkeypatch.undo()
    asked = len(calls)
    [ask(index, topic.root) for ask in ASKS]
    assert len(calls) == asked


def test_a_stand_in_module_needs_only_the_operations_asked(repo, index, monkeypatch):
    own = hotspots(index, repo.root)
    needed = ["parse_time_spec", "resolve_commit", "resolve_display_branch",
              "log_commit_changes"]
    stand_in = types.SimpleNamespace(**{name: getattr(git_utils, name) for name in needed})
    monkeypatch.setattr(git_history, "git_utils", stand_in)
    assert hotspots(index, repo.root) == own


MARKER = {"answered": "by the host"}


@pytest.mark.parametrize("name, replacement, check", [
    ("is_test_path", lambda path: True, lambda a: a["hotspots"] == []),
    ("is_source_extension", lambda path: path.endswith(".md"),
     lambda a: [r["name"] for r in a["hotspots"]] == ["README.md"]),
    ("should_skip_path", lambda directory: directory == "app",
     lambda a: a["hotspots"] == [] and a["excluded_files"] == 4),
    ("add_pagination_hint", lambda result, count: MARKER, lambda a: a is MARKER),
])
def test_names_replaced_on_the_module(repo, index, monkeypatch, name, replacement, check):
    monkeypatch.setattr(git_history, name, replacement)
    assert check(hotspots(index, repo.root))


def test_file_hotspots_asks_the_modules_hotspots(repo, index, monkeypatch):
    calls = []
    monkeypatch.setattr(git_history, "hotspots",
                        lambda *args, **kw: calls.append((args, kw)) or {"hotspots": [1, 2, 3]})
    assert git_history.file_hotspots(index, repo.root, since=SINCE, branch="x", limit=2) == [1, 2]
    assert calls == [((index, repo.root), dict(since=SINCE, branch="x", group_by="file", limit=2,
                                               offset=0, source_only=True))]


def test_the_host_gets_its_own_objects_back(repo, index, tmp_path, monkeypatch, caplog):
    caplog.set_level(logging.INFO, logger="lomarind.workers.git_history")
    failure = GitError("fatal: bad object")
    monkeypatch.setattr(git_utils, "log_commit_changes", mock.Mock(side_effect=failure))
    with pytest.raises(git_history.GitHistoryError) as raised:
        hotspots(index, repo.root)
    assert raised.value.__cause__ is failure and caplog.records[-1].args == (failure,)

    empty = pathlib.Path(Repo(str(tmp_path / "empty")).root)
    assert git_history.file_hotspots(index, empty, since=SINCE, branch=None, limit=5) == []
    assert caplog.records[-1].args[0] is empty

    files = [FileChange("b.py", "modified", 1, 0), FileChange("a.py", "added", 5, 0)]
    assert all(x is y for x, y in zip(git_history.by_lines_changed(files), files[::-1]))
    spans = git_history.changed_line_spans(repo.root, None, "HEAD", files, merge_base=False)
    assert all(s[0] is git_history._WHOLE_FILE for s in spans.values())


@pytest.mark.parametrize("replaced", [False, True], ids=["own reader", "replaced log"])
@pytest.mark.parametrize("since, commit_count", [
    ("100000 years", 3),
    ("0001-01-01T00:00:00+01:00", 3),
    ("9999-12-31T23:59:59-23:59", 0),
])
def test_periods_beyond_datetime_years(repo, index, monkeypatch, since, commit_count, replaced):
    if replaced:
        record(monkeypatch, ["log_commit_changes"], [])
    assert hotspots(index, repo.root, since=since)["commit_count"] == commit_count


@pytest.mark.parametrize("name, failure, message", [
    ("log_commit_changes", GitError("fatal: a\0b"), "git failed: fatal: a\0b"),
    ("parse_time_spec", ValueError("no period\0here"), "no period\0here"),
])
def test_messages_keep_every_character(repo, index, monkeypatch, name, failure, message):
    monkeypatch.setattr(git_utils, name, mock.Mock(side_effect=failure))
    with pytest.raises(git_history.GitHistoryError) as raised:
        hotspots(index, repo.root)
    assert str(raised.value) == message and raised.value.__cause__ is failure


def test_absent_group_by_and_times_before_1970(repo, index):
    with pytest.raises(git_history.GitHistoryError) as raised:
        hotspots(index, repo.root, group_by=None)
    assert str(raised.value) == "group_by must be 'file' or 'component'; got None"
    history = git_history._PathHistory("a.py", "a.py", True, commits=1, last_changed=-86401)
    assert git_history._history_row(history)["last_changed"] == "1969-12-30T23:59:59+00:00"
