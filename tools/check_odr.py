#!/usr/bin/env python3
"""check_odr.py COMPILER OBJECT...: no name of the libraries is defined twice with different meanings.

The compiler sees one source at a time and the linker silently keeps one of the definitions. Link-time
optimisation compares the types of all objects; gold compares where inline functions were written. The objects
need `-O0 -g1 -flto -ffat-lto-objects`: not optimised, or inline functions are gone, and fat, for gold.
"""

import pathlib
import subprocess
import sys
import tempfile

# Neither link is meant to give a library: the first stops before code is generated, the second leaves what
# other libraries define undefined.
_LINKS = (["-flto", "-O0", "-r", "-flinker-output=rel", "-Wodr", "-Wlto-type-mismatch"],
          ["-fno-lto", "-fuse-ld=gold", "-shared", "-Wl,--detect-odr-violations"])


def complaints(compiler, options, objects):
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run([compiler, *options, "-nostdlib", "-o", pathlib.Path(folder) / "linked", *objects],
                             capture_output=True, text=True)
    return run.stdout + run.stderr or ("" if run.returncode == 0 else f"{compiler} failed\n")


def main():
    compiler, *objects = sys.argv[1:]
    reports = "".join(complaints(compiler, options, objects) for options in _LINKS)
    print(reports or f"{len(objects)} objects: each name means one thing", end="")
    return 1 if reports or not objects else 0


if __name__ == "__main__":
    sys.exit(main())
