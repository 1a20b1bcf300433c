#!/usr/bin/env python3
"""lint.py BUILD_DIR [FILE...]: clang-tidy over the library and program sources, or over the named files.

A file that passed is not looked at again until it, a project header it includes, its compile command or the rules
change: the build folder keeps a stamp named after the hash of all that.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys

from source_tree import ROOT, includes, resolve


def reachable(path, seen):
    if path in seen:
        return seen
    seen.add(path)
    for _, delimiter, name in includes(path):
        target = resolve(path, name) if delimiter == '"' else None
        if target is not None:
            reachable(target, seen)
    return seen


def stamp(entry, stamps):
    digest = hashlib.sha256(entry["command"].replace(str(ROOT), "").encode())
    for path in [ROOT / ".clang-tidy", *sorted(reachable(pathlib.Path(entry["file"]), set()))]:
        digest.update(path.read_bytes())
    return stamps / digest.hexdigest()


def lint(build, entry, mark):
    """The complaints about one file, empty when it passes."""
    run = subprocess.run(["clang-tidy-14", "--quiet", "-p", str(build), entry["file"]],
                         capture_output=True, text=True)
    if run.returncode == 0:
        mark.touch()
        return ""
    return run.stdout + "".join(line for line in run.stderr.splitlines(True) if "error" in line)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    wanted = {pathlib.Path(name).resolve() for name in sys.argv[2:]}
    stamps = build / "lint"
    stamps.mkdir(exist_ok=True)
    entries = []
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path in wanted or not wanted and path.is_relative_to(ROOT / "src"):
            entries.append((entry, stamp(entry, stamps)))
    todo = [(entry, mark) for entry, mark in entries if not mark.exists()]
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        reports = list(pool.map(lambda work: lint(build, *work), todo))
    complaints = [report for report in reports if report]
    print("\n".join(complaints) or f"{len(entries)} files, {len(todo)} looked at: nothing to say")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
