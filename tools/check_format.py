#!/usr/bin/env python3
"""Checks that clang-format 14 would change no C or C++ file of the project. `--fix` lets it."""

import subprocess
import sys

from source_tree import ROOT, source_files


def main():
    files = [str(path.relative_to(ROOT))
             for path in source_files("include", "src", "tests", "fuzz", "bench", "examples")
             if path.suffix != ".def"]
    mode = ["-i"] if "--fix" in sys.argv[1:] else ["--dry-run", "-Werror"]
    return subprocess.run(["clang-format-14", *mode, *files], cwd=ROOT).returncode if files else 0


if __name__ == "__main__":
    sys.exit(main())
