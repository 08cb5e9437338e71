#!/usr/bin/env python3
"""Generates a benchmark repository with git fast-import.

The history has COMMITS commits over about FILES files: each commit edits a
few files, and every so often a file is renamed, deleted or added, so the log
carries renames and deletions like a real one. Committer times advance one
hour per commit. Usage: make_repo.py DIR [COMMITS] [FILES]
"""
import os
import random
import subprocess
import sys


def stream(commits, files, out):
    rng = random.Random(7)
    paths = [f"src/mod{i % 50:02d}/file{i:05d}.py" for i in range(files)]
    contents = {p: [f"line {j} of {p}\n" for j in range(40)] for p in paths}
    next_file = files
    start = 1_600_000_000

    def data(text):
        raw = text.encode()
        out.write(b"data %d\n" % len(raw))
        out.write(raw)
        out.write(b"\n")

    for n in range(commits):
        out.write(b"commit refs/heads/main\n")
        when = start + n * 3600
        out.write(b"committer Bench <bench@example.com> %d +0000\n" % when)
        data(f"commit {n}")
        if n == 0:
            for p in paths:
                out.write(f"M 100644 inline {p}\n".encode())
                data("".join(contents[p]))
            continue
        for _ in range(3):
            p = rng.choice(paths)
            lines = contents[p]
            k = rng.randrange(len(lines))
            lines[k] = f"changed {n} {k}\n"
            if rng.random() < 0.3:
                lines.append(f"appended {n}\n")
            out.write(f"M 100644 inline {p}\n".encode())
            data("".join(lines))
        if n % 40 == 0:
            i = rng.randrange(len(paths))
            old = paths[i]
            new = old.replace(".py", f"_r{n}.py")
            out.write(f"R {old} {new}\n".encode())
            contents[new] = contents.pop(old)
            paths[i] = new
        if n % 97 == 0:
            i = rng.randrange(len(paths))
            old = paths.pop(i)
            contents.pop(old)
            out.write(f"D {old}\n".encode())
            new = f"src/new/file{next_file:05d}.py"
            next_file += 1
            paths.append(new)
            contents[new] = [f"new {n} {j}\n" for j in range(30)]
            out.write(f"M 100644 inline {new}\n".encode())
            data("".join(contents[new]))


def main():
    target = sys.argv[1]
    commits = int(sys.argv[2]) if len(sys.argv) > 2 else 20000
    files = int(sys.argv[3]) if len(sys.argv) > 3 else 5000
    os.makedirs(target, exist_ok=True)
    env = {k: v for k, v in os.environ.items() if not k.startswith("GIT_")}
    subprocess.run(["git", "init", "-q", "-b", "main", target], check=True, env=env)
    proc = subprocess.Popen(["git", "-C", target, "fast-import", "--quiet"],
                            stdin=subprocess.PIPE, env=env)
    stream(commits, files, proc.stdin)
    proc.stdin.close()
    if proc.wait() != 0:
        sys.exit("git fast-import failed")
    subprocess.run(["git", "-C", target, "checkout", "-q", "main"], check=True, env=env)


if __name__ == "__main__":
    main()
