"""Fixtures: real temporary git repositories with fixed identities and dates."""

import os
import subprocess

import pytest

DAY = 86400
START = 1700000000  # 2023-11-14


class Repo:
    def __init__(self, root):
        self.root = root
        os.makedirs(root)
        self.git("init", "-q", "-b", "main")

    def git(self, *args, date=START):
        env = {k: v for k, v in os.environ.items() if not k.startswith("GIT_")}
        env.update(GIT_CONFIG_NOSYSTEM="1", GIT_CONFIG_GLOBAL=os.devnull,
                   GIT_AUTHOR_NAME="A", GIT_AUTHOR_EMAIL="a@example.com",
                   GIT_COMMITTER_NAME="A", GIT_COMMITTER_EMAIL="a@example.com",
                   GIT_AUTHOR_DATE=f"@{date} +0000", GIT_COMMITTER_DATE=f"@{date} +0000")
        return subprocess.run(["git", "-C", self.root, *args], env=env, check=True,
                              capture_output=True).stdout

    def commit(self, message, date, files):
        """Writes `files` (path: text; a path may be str or bytes) and commits them."""
        for path, text in files.items():
            full = os.path.join(os.fsencode(self.root), os.fsencode(path))
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w") as f:
                f.write(text)
        self.git("add", "-A")
        self.git("commit", "-q", "-m", message, date=date)


@pytest.fixture
def repo(tmp_path):
    """main.py changed three times, util.py once, a test once."""
    r = Repo(str(tmp_path / "repo"))
    r.commit("first", START, {"app/main.py": "print(1)\n", "README.md": "hi\n"})
    r.commit("second", START + DAY, {"app/main.py": "print(2)\n", "app/util.py": "x = 1\n"})
    r.commit("third", START + 2 * DAY,
             {"app/main.py": "print(3)\n", "tests/test_main.py": "assert True\n"})
    return r


@pytest.fixture
def index(tmp_path):
    """An empty index: its file does not exist."""
    from lomarind.storage import open_index
    from lomarind.storage.repository_changes import Repository
    return Repository(open_index(str(tmp_path / "missing.db")))
