"""What the checkers share: the files of the project and the includes that a file names."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent
_INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def source_files(*folders):
    """The C and C++ files below the named folders of the project."""
    return sorted(path for folder in folders for path in (ROOT / folder).rglob("*")
                  if path.suffix in (".h", ".c", ".cpp", ".def"))


def includes(path):
    """(line number, delimiter, name) of each include of a file."""
    text = path.read_text(encoding="utf-8")
    return [(text.count("\n", 0, match.start(1)) + 1, match[1], match[2])
            for match in _INCLUDE.finditer(text)]


def resolve(path, name):
    """The project file that a quoted include of `path` means, or None."""
    for folder in (path.parent, ROOT / "include", ROOT / "src", ROOT / "tests"):
        candidate = folder / name
        if candidate.is_file():
            return candidate.resolve()
    return None
