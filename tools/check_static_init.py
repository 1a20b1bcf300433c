#!/usr/bin/env python3
"""check_static_init.py OBJECT...: no object of the libraries runs code when it is loaded."""

import re
import subprocess
import sys

# The compilers name the start-up function of a source file after its first symbol; AddressSanitizer's own
# registration carries a priority instead.
_INITIALISER = re.compile(r"\b_GLOBAL__(?:sub_)?I_(?!\d{5}_)\S*|\b_ZL?\d*__cxx_global_var_init\S*|\b__cxx_global_var_init\S*")


def main():
    bad = 0
    for path in sys.argv[1:]:
        listing = subprocess.run(["nm", path], check=True, capture_output=True, text=True).stdout
        for name in sorted(set(_INITIALISER.findall(listing))):
            print(f"{path}: static initialiser {name}")
            bad += 1
    return 1 if bad or len(sys.argv) < 2 else 0


if __name__ == "__main__":
    sys.exit(main())
