#!/usr/bin/env python3
"""Writes a lomarind index of SYMBOLS symbols over a repository's files.

Every path the history ever named is indexed (renamed and deleted ones
too), so that the answers find facts and symbols for each file they list.
The symbols are spread evenly over the files; each file gets a few nested
classes with methods and functions inside them, over its first lines.
The file is written directly in the index's schema, far quicker than
running ctags. Usage: make_index.py REPO INDEX_FILE [SYMBOLS]
"""
import os
import sqlite3
import subprocess
import sys

SCHEMA = """
CREATE TABLE files   (path TEXT PRIMARY KEY, language TEXT, component TEXT);
CREATE TABLE symbols (path TEXT NOT NULL, name TEXT NOT NULL, kind TEXT NOT NULL,
                      fqn TEXT NOT NULL, start_line INTEGER NOT NULL, end_line INTEGER NOT NULL);
CREATE INDEX symbols_by_path ON symbols(path, start_line);
CREATE TABLE meta    (key TEXT PRIMARY KEY, value TEXT);
PRAGMA user_version = 1;
"""
KINDS = ["function", "method", "class", "variable", "function", "method", "struct", "enum"]


def git(repo, *args):
    env = {k: v for k, v in os.environ.items() if not k.startswith("GIT_")}
    return subprocess.run(["git", "-C", repo, *args], check=True, capture_output=True,
                          env=env).stdout


def history_paths(repo):
    out = git(repo, "log", "--format=", "--name-only", "-z", "--no-renames", "HEAD")
    return sorted({p.decode() for p in out.split(b"\0") if p.strip(b"\n")}
                  | {p.decode() for p in git(repo, "ls-files", "-z").split(b"\0") if p})


def component(path):
    parts = path.split("/")
    return "/".join(parts[:2]) if len(parts) > 2 else (parts[0] if len(parts) > 1 else None)


def symbol_rows(path, count):
    stem = path.rsplit("/", 1)[-1].split(".")[0]
    for k in range(count):
        kind = KINDS[k % len(KINDS)]
        start = 1 + (k * 7) % 60
        end = start + (30 if kind in ("class", "struct") else 4)
        name = f"{kind}_{k}"
        yield (path, name, kind, f"{stem}.{name}", start, end)


def main():
    repo, target = sys.argv[1], sys.argv[2]
    total = int(sys.argv[3]) if len(sys.argv) > 3 else 500_000
    paths = history_paths(repo)
    if os.path.exists(target):
        os.remove(target)
    os.makedirs(os.path.dirname(os.path.abspath(target)), exist_ok=True)
    db = sqlite3.connect(target)
    db.executescript(SCHEMA)
    db.executemany("INSERT INTO files VALUES (?, ?, ?)",
                   ((p, "python", component(p)) for p in paths))
    for i, path in enumerate(paths):
        share = total // len(paths) + (1 if i < total % len(paths) else 0)
        db.executemany("INSERT INTO symbols VALUES (?, ?, ?, ?, ?, ?)", symbol_rows(path, share))
    head = git(repo, "rev-parse", "HEAD").decode().strip()
    db.execute("INSERT INTO meta VALUES ('indexed_commit', ?)", (head,))
    db.commit()
    db.close()
    print(f"indexed {len(paths)} files, {total} symbols into {target}")


if __name__ == "__main__":
    main()
