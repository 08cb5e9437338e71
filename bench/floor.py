#!/usr/bin/env python3
"""Times lomarind's answers against the git commands they stand on.

For each scenario the lomarind command and the bare git commands it runs
for its answer are timed in the same run, alternately (which one goes first
swaps each round), and the medians are compared. The git commands are
exactly the reader's: same options, same order, commits given by id, same
environment. Whatever lomarind adds (its own start, locating the
repository, resolving names, the index, JSON) counts against it.

The report is timed against one period answer instead: it asks several
answers of the same period, and all of them must stand on one read of the log.
So is change coupling: it reads the same log as hotspots and folds it the
same way, then counts the pairs of each commit.

Usage: floor.py LOMARIND_BINARY REPO [--rounds N] [SCENARIO...]
Scenarios: hotspots, recent (both reading every commit from git, with
--no-cache), hotspots-cold (the commit cache deleted before each run),
hotspots-warm (the cache filled), diff, diff-symbols (a page of edited
files, with the symbols on their changed lines), report (the HTML report
against `hotspots --json`), coupling and coupling-warm (`coupling --json`
against `hotspots --json` over the same period, without and with the
commit cache); default: all.
"""
import argparse
import json
import os
import resource
import statistics
import subprocess
import tempfile
import time

SAFE = ["--no-pager", "--literal-pathspecs", "-c", "core.quotePath=false",
        "-c", "core.fsmonitor=false", "-c", "log.showSignature=false",
        "-c", "log.showRoot=true", "-c", "color.ui=never", "-c", "diff.renameLimit=1000",
        "-c", "diff.interHunkContext=0", "-c", "diff.indentHeuristic=true",
        "-c", "protocol.allow=never"]
DIFF = ["--no-ext-diff", "--no-textconv", "--no-color", "--no-relative",
        "--src-prefix=a/", "--dst-prefix=b/", "--diff-algorithm=myers"]
FIXED_ENV = {"GIT_TERMINAL_PROMPT": "0", "GIT_OPTIONAL_LOCKS": "0", "GIT_NO_LAZY_FETCH": "1",
             "GIT_CONFIG_NOSYSTEM": "1", "GIT_FLUSH": "0", "LC_ALL": "C"}
PERIOD = "100 years"  # reaches before 1970, which the reader sends as @0
PERIOD_COMMITS = 5000  # the answers' commit limit
DIFF_DISTANCE = 5000
# The most each scenario may cost against its floor, as a ratio of wall times.
BUDGET = {"hotspots": 1.05, "recent": 1.05, "hotspots-cold": 0.75, "hotspots-warm": 0.10,
          "diff": 1.05, "report": 1.10, "coupling": 1.10, "coupling-warm": 1.10}


def git_env():
    env = {k: v for k, v in os.environ.items() if not k.startswith("GIT_") and k != "LC_ALL"}
    env.update(FIXED_ENV)
    return env


def git(repo, *args):
    return ["git", *SAFE, "-C", repo, *args]


def rev_parse(repo, name):
    return subprocess.run(git(repo, "rev-parse", "--verify", name), capture_output=True,
                          text=True, check=True, env=git_env()).stdout.strip()


def log_floor(repo, head):
    return [git(repo, "log", "-z", "--raw", "--numstat", "-M", *DIFF, "--no-show-signature",
                "--format=%x00%H %ct", "--since=@0 +0000", f"--max-count={PERIOD_COMMITS}",
                "--end-of-options", head, "--")]


def diff_floor(repo, base, head):
    return [git(repo, "diff", "-z", "--raw", "--numstat", "-M", *DIFF,
                "--end-of-options", f"{base}...{head}", "--"),
            git(repo, "rev-list", "--count", "--end-of-options", f"{base}..{head}", "--")]


def spans_floor(repo, base, head, answer):
    """The one diff that reads the changed lines of the answer's page."""
    paths = []
    for row in answer["files"]:
        if row["status"] in ("deleted", "added", "copied"):
            continue
        paths.append(row["path"])
        if "old_path" in row:
            paths.append(row["old_path"])
    if not paths:
        return []
    return [git(repo, "diff", "-U0", "-M", *DIFF, "--end-of-options", f"{base}...{head}",
                "--", *paths)]


def cache_dir(repo):
    return os.path.join(repo, ".git", "lomarind")


def cache_file(repo):
    return os.path.join(cache_dir(repo), "commits.db")


def drop_cache(repo):
    if not os.path.isdir(cache_dir(repo)):
        return
    for name in os.listdir(cache_dir(repo)):
        if name.startswith("commits.db"):
            os.remove(os.path.join(cache_dir(repo), name))


def scenarios(binary, repo, wanted):
    """Each scenario: name, lomarind's command, the git commands it stands
    on, and what to do (untimed) before each of lomarind's runs."""
    head = rev_parse(repo, "HEAD")
    base = rev_parse(repo, f"HEAD~{DIFF_DISTANCE}")
    lom = [binary, "--repo", repo]
    hotspots = lom + ["hotspots", "--since", PERIOD, "--json"]
    diff = lom + ["diff", "--base", base, "--head", head, "--json"]
    # The first pages hold files added or deleted whole; this one holds edits,
    # whose changed lines take a diff of their own.
    symbols_page = ["--symbols", "--offset", "200"]
    page = os.path.join(tempfile.mkdtemp(prefix="lomarind-bench-"), "report.html")
    # (lomarind command, floor commands, the floor's environment, what to do
    # before each of lomarind's runs)
    table = {
        "hotspots": lambda: (lom + ["--no-cache", "hotspots", "--since", PERIOD, "--json"],
                             log_floor(repo, head), git_env(), None),
        "recent": lambda: (lom + ["--no-cache", "recent", "--since", PERIOD, "--json"],
                           log_floor(repo, head), git_env(), None),
        "hotspots-cold": lambda: (hotspots, log_floor(repo, head), git_env(),
                                  lambda: drop_cache(repo)),
        "hotspots-warm": lambda: (hotspots, log_floor(repo, head), git_env(), None),
        "diff": lambda: (diff, diff_floor(repo, base, head), git_env(), None),
        "diff-symbols": lambda: (
            diff + symbols_page,
            diff_floor(repo, base, head) + spans_floor(repo, base, head,
                                                       answer_of(diff + symbols_page)),
            git_env(), None),
        # Both read every commit from git: the report must stand on one read.
        "report": lambda: (lom + ["--no-cache", "report", "--since", PERIOD, "--output", page],
                           [lom + ["--no-cache", "hotspots", "--since", PERIOD, "--json"]],
                           None, None),
        # Both take the commits from a filled cache: what the report adds to
        # one answer's own work (more answers, the symbols' diff, the page).
        "report-warm": lambda: (lom + ["report", "--since", PERIOD, "--output", page],
                                [hotspots], None, None),
        # The same log and fold as hotspots, then every pair of every commit
        # counted: against hotspots itself, reading from git and from the cache.
        "coupling": lambda: (lom + ["--no-cache", "coupling", "--since", PERIOD, "--json"],
                             [lom + ["--no-cache", "hotspots", "--since", PERIOD, "--json"]],
                             None, None),
        "coupling-warm": lambda: (lom + ["coupling", "--since", PERIOD, "--json"], [hotspots],
                                  None, None),
    }
    return [(name, *table[name]()) for name in wanted]


def answer_of(argv):
    return json.loads(subprocess.run(argv, capture_output=True, check=True).stdout)


def children_cpu():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def run(commands, env):
    """Wall time and CPU time (the commands and every process they waited for)."""
    cpu = children_cpu()
    start = time.perf_counter()
    for argv in commands:
        subprocess.run(argv, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True,
                       env=env)
    return time.perf_counter() - start, children_cpu() - cpu


def measure(ours, floor, floor_env, rounds, prepare):
    prepare = prepare or (lambda: None)
    run([ours], None)  # warm the caches
    run(floor, floor_env)
    ours_t, floor_t = [], []
    for i in range(rounds):
        if i % 2 == 0:
            prepare()
            ours_t.append(run([ours], None))
            floor_t.append(run(floor, floor_env))
        else:
            floor_t.append(run(floor, floor_env))
            prepare()
            ours_t.append(run([ours], None))
    return ours_t, floor_t


def own_peak_rss_kib(argv):
    """lomarind's own peak resident set (VmHWM), sampled while it runs: the
    rusage of a child that waited for git would report git's peak when larger."""
    process = subprocess.Popen(argv, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    peak = 0
    while process.poll() is None:
        try:
            with open(f"/proc/{process.pid}/status") as status:
                for line in status:
                    if line.startswith("VmHWM:"):
                        peak = max(peak, int(line.split()[1]))
        except (FileNotFoundError, ProcessLookupError, ValueError):
            pass
        time.sleep(0.001)
    return peak


def ratios(ours, floor):
    """Median times, and three ratios: of the medians, the median of each
    round's ratio, and of the best times (the least disturbed by other work
    on the machine)."""
    mine, theirs = statistics.median(ours), statistics.median(floor)
    paired = statistics.median(o / f for o, f in zip(ours, floor))
    return mine, theirs, mine / theirs, paired, min(ours) / min(floor)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("binary")
    parser.add_argument("repo")
    parser.add_argument("--rounds", type=int, default=25)
    parser.add_argument("scenario", nargs="*",
                        default=["hotspots", "recent", "hotspots-cold", "hotspots-warm",
                                 "diff", "diff-symbols", "report", "report-warm", "coupling",
                                 "coupling-warm"])
    args = parser.parse_intermixed_args()
    binary, repo = os.path.abspath(args.binary), os.path.abspath(args.repo)
    print(f"{args.rounds} rounds. wall: median ms of lomarind and of git alone; ratio of the "
          "medians, median of the rounds' ratios, ratio of the best. cpu: the same ratios. "
          "budget: the most the wall ratio may be")
    for name, ours, floor, floor_env, prepare in scenarios(binary, repo, args.scenario):
        ours_t, floor_t = measure(ours, floor, floor_env, args.rounds, prepare)
        wall = ratios([w for w, _ in ours_t], [w for w, _ in floor_t])
        cpu = ratios([c for _, c in ours_t], [c for _, c in floor_t])
        budget = f"{BUDGET[name]:.2f}" if name in BUDGET else "-"
        print(f"{name:13s} wall {wall[0] * 1000:7.1f} {wall[1] * 1000:7.1f}  "
              f"{wall[2]:.3f} {wall[3]:.3f} {wall[4]:.3f}   cpu {cpu[2]:.3f} {cpu[3]:.3f} "
              f"{cpu[4]:.3f}   budget {budget}", flush=True)
        if name.startswith("hotspots-"):
            (prepare or (lambda: None))()
            rss = own_peak_rss_kib(ours)
            print(f"{'':13s} commit cache {os.path.getsize(cache_file(repo)) / 1e6:.1f} MB, "
                  f"lomarind's own peak RSS {rss / 1024:.1f} MiB", flush=True)


if __name__ == "__main__":
    main()
