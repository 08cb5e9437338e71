#!/usr/bin/env python3
"""Times the hotspots answer through the Python module against the same
answer through the program, alternately in one run.

The module is called in this process, as a host calls it; the program runs
as its own process, start included. A second row replaces
git_utils.log_commit_changes by a pass-through wrapper, which sends the
period's commits through Python records: the cost of a replaced reader.

Usage: python_row.py LOMARIND_BINARY PACKAGE_DIR REPO [--rounds N]
PACKAGE_DIR is the folder that holds the built lomarind package.
"""
import argparse
import json
import os
import statistics
import subprocess
import sys
import time

from floor import PERIOD


def timed(call):
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def alternate(module_call, program_call, rounds):
    module_call(), program_call()  # warm the caches
    ours, theirs = [], []
    for i in range(rounds):
        pair = [(ours, module_call), (theirs, program_call)]
        for times, call in pair if i % 2 == 0 else reversed(pair):
            times.append(timed(call))
    return ours, theirs


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("binary")
    parser.add_argument("package_dir")
    parser.add_argument("repo")
    parser.add_argument("--rounds", type=int, default=25)
    parser.add_argument("scenario", nargs="*", help="ignored: floor.py's scenarios")
    args = parser.parse_intermixed_args()
    sys.path.insert(0, os.path.abspath(args.package_dir))
    from lomarind.storage import open_index
    from lomarind.storage.repository_changes import Repository
    from lomarind.utils import git_utils
    from lomarind.workers import git_history

    repo = os.path.abspath(args.repo)
    repository = Repository(open_index(os.path.join(repo, ".git", "lomarind", "index.db")))
    argv = [os.path.abspath(args.binary), "--repo", repo, "hotspots", "--since", PERIOD,
            "--json"]

    def module_call():
        return git_history.hotspots(repository, repo, since=PERIOD, branch=None,
                                    group_by="file", limit=50, offset=0, source_only=False)

    def program_call():
        return json.loads(subprocess.run(argv, capture_output=True, check=True).stdout)

    if module_call() != program_call():
        sys.exit("the module and the program answer differently")
    print(f"{args.rounds} rounds. median ms of the module and of the program; ratio of the "
          "medians, median of the rounds' ratios, ratio of the best")
    own_log = git_utils.log_commit_changes
    for name, log in [("python", own_log),
                      ("python-slow", lambda *a, **kw: own_log(*a, **kw))]:
        git_utils.log_commit_changes = log
        ours, theirs = alternate(module_call, program_call, args.rounds)
        mine, program = statistics.median(ours), statistics.median(theirs)
        paired = statistics.median(o / t for o, t in zip(ours, theirs))
        print(f"{name:13s} {mine * 1000:7.1f} {program * 1000:7.1f}  {mine / program:.3f} "
              f"{paired:.3f} {min(ours) / min(theirs):.3f}", flush=True)
    git_utils.log_commit_changes = own_log


if __name__ == "__main__":
    main()
