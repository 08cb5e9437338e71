#!/usr/bin/env python3
"""Times lomarind's answers against the git commands they stand on.

For each scenario the lomarind command and the bare git command(s) it runs
are timed alternately in the same run, and the ratio of the median wall times
is printed. Usage: floor.py LOMARIND_BINARY REPO [ROUNDS] [SCENARIO...]
"""
import os
import statistics
import subprocess
import sys
import time

SAFE = ["--no-pager", "--literal-pathspecs", "-c", "core.quotePath=false",
        "-c", "core.fsmonitor=false", "-c", "log.showSignature=false",
        "-c", "log.showRoot=true", "-c", "color.ui=never", "-c", "diff.renameLimit=1000",
        "-c", "diff.interHunkContext=0", "-c", "diff.indentHeuristic=true"]
DIFF = ["--no-ext-diff", "--no-textconv", "--no-color", "--no-relative",
        "--src-prefix=a/", "--dst-prefix=b/", "--diff-algorithm=myers"]


def git(repo, *args):
    return ["git"] + SAFE + ["-C", repo] + list(args)


def log_floor(repo):
    return [git(repo, "log", "-z", "--raw", "--numstat", "-M", *DIFF, "--no-show-signature",
                "--format=%x00%x00%H %ct", "--since=@0 +0000", "--max-count=5000",
                "--end-of-options", "HEAD")]


def scenarios(binary, repo, base):
    lom = [binary, "--repo", repo]
    return {
        "hotspots": (lom + ["hotspots", "--since", "100 years", "--json"], log_floor(repo)),
        "recent": (lom + ["recent", "--since", "100 years", "--json"], log_floor(repo)),
        "diff": (lom + ["diff", "--base", base, "--head", "main", "--json"],
                 [git(repo, "diff", "-z", "--raw", "--numstat", "-M", *DIFF,
                      "--end-of-options", f"{base}...main"),
                  git(repo, "rev-list", "--count", "--end-of-options", f"{base}..main")]),
        "diff-symbols": (lom + ["diff", "--base", base, "--head", "main", "--symbols", "--json"],
                         None),
    }


def run(commands):
    start = time.perf_counter()
    for argv in commands:
        subprocess.run(argv, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return time.perf_counter() - start


def main():
    binary, repo = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 15
    wanted = sys.argv[4:] or ["hotspots", "recent", "diff"]
    base = subprocess.run(["git", "-C", repo, "rev-parse", "main~5000"], capture_output=True,
                          text=True, check=True).stdout.strip()
    table = scenarios(binary, repo, base)
    for name in wanted:
        ours, floor = table[name]
        run([ours])  # warm the caches
        ours_t, floor_t = [], []
        for _ in range(rounds):
            ours_t.append(run([ours]))
            if floor:
                floor_t.append(run(floor))
        mine = statistics.median(ours_t)
        if floor:
            theirs = statistics.median(floor_t)
            print(f"{name:14s} lomarind {mine*1000:8.1f} ms   git alone {theirs*1000:8.1f} ms"
                  f"   ratio {mine/theirs:.3f}")
        else:
            print(f"{name:14s} lomarind {mine*1000:8.1f} ms")


if __name__ == "__main__":
    main()
