"""Ctrl-C in a Python host while git runs: the call ends at once, its git gone."""

import os
import signal
import subprocess
import sys
import time

import lomarind

HOST = """
import sys, time
from lomarind.storage import open_index
from lomarind.storage.repository_changes import Repository
from lomarind.workers import git_history
repo = Repository(open_index(sys.argv[2]))
print("ready", flush=True)
try:
    git_history.hotspots(repo, sys.argv[1], since="1 year", branch=None, group_by="file",
                         limit=5, offset=0, source_only=False)
    print("answered", flush=True)
except KeyboardInterrupt:
    print("interrupted", time.monotonic(), flush=True)
"""

# Stands in for git: a log never answers, everything else is real git.
SLOW_GIT = """#!/bin/sh
for arg in "$@"; do
  if [ "$arg" = log ]; then echo $$ > "{pid_file}"; exec sleep 60; fi
done
exec /usr/bin/git "$@"
"""


def test_ctrl_c_interrupts_a_call_waiting_on_git(repo, tmp_path):
    tools = tmp_path / "tools"
    tools.mkdir()
    pid_file = tmp_path / "git.pid"
    (tools / "git").write_text(SLOW_GIT.format(pid_file=pid_file))
    (tools / "git").chmod(0o755)
    env = dict(os.environ, PATH=f"{tools}:{os.environ['PATH']}", LOMARIND_NO_CACHE="1",
               PYTHONPATH=os.path.dirname(os.path.dirname(lomarind.__file__)))
    host = subprocess.Popen([sys.executable, "-c", HOST, repo.root, str(tmp_path / "none.db")],
                            env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    try:
        assert host.stdout.readline() == "ready\n"
        for _ in range(200):  # until git is waited on
            if pid_file.exists() and pid_file.read_text().strip():
                break
            time.sleep(0.05)
        sent = time.monotonic()
        host.send_signal(signal.SIGINT)
        out, err = host.communicate(timeout=20)
    finally:
        host.kill()
    word, when = out.split()
    assert word == "interrupted", err
    assert float(when) - sent < 2.0  # the call waited on git for a minute otherwise
    git = int(pid_file.read_text())
    assert not os.path.exists(f"/proc/{git}") or "zombie" in open(f"/proc/{git}/status").read()
