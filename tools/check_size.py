#!/usr/bin/env python3
"""Checks that no source or test file grows over 500 lines. (How long a function may be is the lint's business.)"""

import sys

from source_tree import ROOT, source_files

LIMIT = 500


def main():
    bad = 0
    for path in source_files("src", "tests", "fuzz", "bench", "examples"):
        lines = path.read_text(encoding="utf-8").count("\n")
        if lines > LIMIT:
            print(f"{path.relative_to(ROOT)}: {lines} lines, the limit is {LIMIT}")
            bad += 1
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
