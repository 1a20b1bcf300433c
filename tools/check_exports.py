#!/usr/bin/env python3
"""check_exports.py LIBRARY HEADER: the library exports what the header declares with TALVO_API, no more, no less."""

import pathlib
import re
import subprocess
import sys


def declared(header):
    text = pathlib.Path(header).read_text(encoding="utf-8")
    text = re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)
    text = re.sub(r"^\s*#(?:[^\n\\]|\\.)*", "", text, flags=re.MULTILINE | re.DOTALL)
    names = set()
    for declaration in re.findall(r"\bTALVO_API\b([^;{]*)", text):
        # A function's name stands before its first parenthesis, a variable's at the end.
        function = re.search(r"(\w+)\s*\(", declaration)
        names.add(function[1] if function else re.findall(r"\w+", declaration)[-1])
    return names


def exported(library):
    listing = subprocess.run(["nm", "--dynamic", "--defined-only", library],
                             check=True, capture_output=True, text=True).stdout
    symbols = (line.split() for line in listing.splitlines())
    # Absolute symbols are the version names of the linker map.
    return {name.split("@")[0] for _, kind, name in symbols if kind != "A"}


def main():
    library, header = sys.argv[1:]
    want, have = declared(header), exported(library)
    if not want:
        print(f"{header} declares nothing")
        return 1
    for name in sorted(want - have):
        print(f"{library}: {name} is declared but not exported")
    for name in sorted(have - want):
        print(f"{library}: {name} is exported but not declared")
    return 0 if want == have else 1


if __name__ == "__main__":
    sys.exit(main())
