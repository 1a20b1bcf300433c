#!/usr/bin/env python3
"""Checks every include of include/ and src/ against tools/layers.txt."""

import pathlib
import sys

from source_tree import ROOT, includes, resolve, source_files


def covers(place, stem):
    return stem == place or stem.startswith(place + "/")


class Rules:
    def __init__(self, path):
        self.layer_of_place = {}
        self.fences = []
        self.sees = []
        level = 0
        for line in path.read_text(encoding="utf-8").splitlines():
            kind, *words = line.split("#")[0].split() or [""]
            if kind == "layer":
                self.layer_of_place.update(dict.fromkeys(words, level))
                level += 1
            elif kind == "fence":
                self.fences.append((words[0], words[1:]))
            elif kind == "sees":
                self.sees.append((words[0], words[1:]))
            elif kind:
                sys.exit(f"{path}: unknown line: {line}")

    def layer(self, stem):
        places = [place for place in self.layer_of_place if covers(place, stem)]
        return self.layer_of_place[max(places, key=len)] if places else None

    def complaints(self, stem, name, target):
        """Why the file `stem` may not include `name`, which is the project file `target` or None."""
        for header, places in self.fences:
            is_fenced = name.startswith(header) if header.endswith("/") else name == header
            if is_fenced and not any(covers(place, stem) for place in places):
                yield f"includes {name}, which only {', '.join(places)} may"
        if target is None:
            return
        own, other = self.layer(stem), self.layer(target)
        if own is not None and other is not None and other > own:
            yield f"includes {name} of a higher layer"
        for place, allowed in self.sees:
            if covers(place, stem) and not any(covers(each, target) for each in allowed):
                yield f"includes {name}, but {place} sees only {', '.join(allowed)}"


def stem_of(path):
    return path.relative_to(ROOT).with_suffix("").as_posix()


def main():
    rules = Rules(pathlib.Path(__file__).with_name("layers.txt"))
    bad = 0
    for path in source_files("include", "src"):
        stem = stem_of(path)
        reports = [] if rules.layer(stem) is not None else [(1, "belongs to no layer")]
        for line, delimiter, name in includes(path):
            target = resolve(path, name) if delimiter == '"' else None
            if delimiter == '"' and target is None:
                reports.append((line, f"includes {name}, which does not exist"))
                continue
            target_stem = stem_of(target) if target else None
            reports += [(line, text) for text in rules.complaints(stem, name, target_stem)]
        for line, text in reports:
            print(f"{path.relative_to(ROOT)}:{line}: {text}")
            bad += 1
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
