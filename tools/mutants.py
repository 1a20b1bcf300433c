#!/usr/bin/env python3
"""Changes the sources a little, again and again, and tells which changes no test notices.

Each mutant is one operator, condition, number, returned value or call of one covered line of src, chosen at random
from a seed. It is compiled beside the working tree, which is never written to, and linked into the test programs that
cover the line; they run until the first failure. A mutant that survives is either equivalent or a row that the tests
lack: look at each.

Work happens in build/mutants, without optimisation, debug information and sanitizers, so that a mutant costs seconds;
one that only a sanitizer would notice survives. The coverage that chooses lines and programs is measured when a source
or a test has changed since. What a file gets only at its inclusion (headers, .def) is left alone.
"""

import argparse
import bisect
import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time

from source_tree import ROOT, source_files

BUILD = ROOT / "build" / "mutants"
SCRATCH = BUILD / "scratch"
LIBRARIES = [f"lib/libtalvo_{name}.so" for name in ("util", "crypto", "xml")]
# What a test program uses besides: built from the same objects, and so mutated with them.
BESIDE = {"cli": [*LIBRARIES, "bin/talvo-xml"], "interface": LIBRARIES}


# --- what can be changed ------------------------------------------------------------------------------------------

def masked(text):
    """The text with blanks for comments, literals and directives, so that offsets stay."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|'
                         r"'(?:\\.|[^'\\\n])+'|^[ \t]*#(?:\\\n|[^\n])*", re.DOTALL | re.MULTILINE)
    return pattern.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


SWAPS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&", "+": "-",
         "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "<<": ">>", ">>": "<<", "+=": "-=", "-=": "+=",
         "|=": "&=", "&=": "|="}
# The formatter puts blanks around binary operators and around nothing else that looks like one.
OPERATOR = re.compile(r"(?<= )(?:%s)(?=[ \n])" % "|".join(map(re.escape, sorted(SWAPS, key=len, reverse=True))))
STEP = re.compile(r"\+\+|--")
NOT = re.compile(r"(?<![\w)])!(?=[\w(:*])")
NUMBER = re.compile(r"(?<![\w.'])\d+(?=[uUlL]*[^\w.'])")
TRUTH = re.compile(r"\b(?:true|false)\b")
CONDITION = re.compile(r"\b(if|while) \(")
RETURN = re.compile(r"\breturn ([^;]+);")
CALL = re.compile(r"(?<=[;{}\n])\s*\n\s*((?:[\w:>.-]|->)+\([^;{}]*\);)(?=\n)")
NOTHING = {"{}", "0", "nullptr", "false", "std::nullopt"}


def closing(text, opening):
    """Where the parenthesis that opens at `opening` is closed."""
    depth = 0
    for at in range(opening, len(text)):
        depth += {"(": 1, ")": -1}.get(text[at], 0)
        if depth == 0:
            return at
    return None


def changes(text):
    """(start, end, replacement, kind) of everything that can be changed, wherever it stands."""
    code = masked(text)
    for match in OPERATOR.finditer(code):
        yield *match.span(), SWAPS[match[0]], "operator"
    for match in STEP.finditer(code):
        yield *match.span(), "--" if match[0] == "++" else "++", "operator"
    for match in NOT.finditer(code):
        yield *match.span(), "", "condition"
    for match in NUMBER.finditer(code):
        yield *match.span(), str(int(match[0], 8 if re.match("0[0-7]", match[0]) else 10) + 1), "number"
    for match in TRUTH.finditer(code):
        yield *match.span(), "false" if match[0] == "true" else "true", "number"
    for match in CONDITION.finditer(code):
        start, end = match.end(), closing(code, match.end() - 1)
        for pattern in ("!({})", "({}) && false", "({}) || true")[:3 if match[1] == "if" else 2]:
            yield start, end, pattern.format(text[start:end]), "condition"
    for match in RETURN.finditer(code):
        if match[1] not in NOTHING:
            yield *match.span(1), "{}", "value"
    for match in CALL.finditer(code):
        yield *match.span(1), ";", "call"


class Mutant:
    def __init__(self, path, text, start, end, replacement, kind):
        self.path, self.kind = path, kind
        self.text = text[:start] + replacement + text[end:]
        self.line = text.count("\n", 0, start) + 1
        first, last = text.rfind("\n", 0, start) + 1, text.find("\n", end)
        self.before = " ".join(text[first:last].split())
        self.after = " ".join((text[first:start] + replacement + text[end:last]).split())
        self.source = f"{path}:{self.line}"

    def key(self):
        """What stays the same when the file or the line moves."""
        return self.path.name, self.kind, self.before, self.after


def mutants_of(coverage):
    """All mutants in covered lines, each with the tests that cover it."""
    for name, functions in sorted(coverage.items()):
        path = pathlib.Path(name)
        text = (ROOT / path).read_text(encoding="utf-8")
        for change in sorted(changes(text)):
            mutant = Mutant(path, text, *change)
            tests = tests_at(functions, mutant.line)
            if tests:
                yield mutant, tests


def tests_at(functions, line):
    """The tests that reach the statement of a line; a line in the middle of a statement counts as its first."""
    for first, last, lines in functions:
        if first <= line <= last:
            known = [number for number, _ in lines]
            at = bisect.bisect_right(known, line) - 1
            return lines[at][1] if at >= 0 else []
    return []


# --- building -----------------------------------------------------------------------------------------------------

def run(*command, **options):
    return subprocess.run(command, cwd=BUILD, capture_output=True, text=True, **options)


def ninja():
    """Builds everything anew that mutants or coverage may have been linked into."""
    targets = [*LIBRARIES, "bin/talvo-xml", *test_programs().values()]
    for target in targets:
        (BUILD / target).resolve().unlink(missing_ok=True)
    if subprocess.run(["ninja", "-C", BUILD, "-j2", *targets], stdout=subprocess.DEVNULL).returncode != 0:
        sys.exit("the sources do not build as they are")


def test_programs():
    """The programs among the tests, by the names of the tests."""
    listing = json.loads(run("ctest", "--show-only=json-v1").stdout)["tests"]
    commands = {test["name"]: pathlib.Path(test["command"][0]) for test in listing}
    return {name: str(path.relative_to(BUILD)) for name, path in commands.items() if path.is_relative_to(BUILD)}


def configure():
    # (lld would take members of the support library for symbols that the C++ library has, and what they need.)
    flags = ["-fuse-ld=gold"] if shutil.which("ld.gold") else []
    launcher = [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ("C", "CXX") if shutil.which("ccache")]
    subprocess.run(["cmake", "--preset", "mutants", *launcher,
                    *(f"-DCMAKE_{kind}_LINKER_FLAGS={' '.join(flags)}" for kind in ("EXE", "SHARED"))],
                   cwd=ROOT, check=True, stdout=subprocess.DEVNULL)


class Build:
    """The commands of the build, to be repeated with another source or other objects."""

    def __init__(self):
        self.tests = test_programs()
        self.compile = {}
        for entry in json.loads((BUILD / "compile_commands.json").read_text()):
            path = pathlib.Path(entry["file"])
            if path.is_relative_to(ROOT / "src"):
                self.compile[str(path.relative_to(ROOT))] = shlex.split(entry["command"])
        self.link = {}
        for target in [*LIBRARIES, "bin/talvo-xml", *self.tests.values()]:
            name = str((BUILD / target).resolve().relative_to(BUILD))
            command = run("ninja", "-t", "commands", name).stdout.strip().splitlines()[-1]
            command = command.removeprefix(": && ").removesuffix(" && :")
            self.link[target] = shlex.split(command)

    def object(self, source):
        command = self.compile[source]
        return command[command.index("-o") + 1]

    def compiled(self, source, to, text=None, options=()):
        """Compiles a source, or another text in its place, into another object; true when that worked."""
        command = list(self.compile[source])
        command[command.index("-o") + 1] = str(to)
        path = command[command.index("-c") + 1]
        pathlib.Path(to).parent.mkdir(parents=True, exist_ok=True)
        if text is not None:
            copy = SCRATCH / "source" / pathlib.Path(path).name
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_text(f'#line 1 "{path}"\n{text}', encoding="utf-8")
            command[command.index("-c") + 1] = str(copy)
            command[-1:-1] = ["-iquote", str(pathlib.Path(path).parent)]
            command.insert(0, "CCACHE_DISABLE=1")  # nobody asks for it again
        return run("env", *command, *options).returncode == 0

    def linked(self, target, replace, options=()):
        done = run(*[str(replace.get(word, word)) for word in self.link[target]], *options)
        if done.returncode != 0:
            sys.exit(f"{target} does not link:\n{done.stderr}")

    def uses(self, target, source):
        return self.object(source) in self.link[target]


# --- running ------------------------------------------------------------------------------------------------------

def limits():
    """Keeps a mutant that runs wild from taking the machine along."""
    resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
    resource.setrlimit(resource.RLIMIT_FSIZE, (4 << 30, 4 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def passes(program, timeout):
    """Whether a test program ends well within the time."""
    folder = SCRATCH / "run"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    environment = {**os.environ, "GTEST_FAIL_FAST": "1", "TMPDIR": str(folder)}
    environment.pop("TALVO_XML_CORPUS", None)  # foreign signatures hold what our own rows do not
    process = subprocess.Popen([BUILD / program], cwd=folder, env=environment, preexec_fn=limits,
                               start_new_session=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    try:
        return process.wait(timeout) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)  # it may have started others
        except ProcessLookupError:
            pass
        process.wait()


# --- coverage -----------------------------------------------------------------------------------------------------

def fingerprint():
    digest = hashlib.sha256(pathlib.Path(__file__).read_bytes())
    for path in source_files("include", "src", "tests"):
        digest.update(str(path).encode() + path.read_bytes())
    return digest.hexdigest()


def covered_lines(folder):
    """(file, function's first and last line, line) of what ran since the counters in `folder` were removed."""
    counters = [str(path) for path in folder.rglob("*.gcda")]
    for report in run("gcov", "--json-format", "--stdout", *counters).stdout.splitlines():
        for file in json.loads(report)["files"]:
            path = pathlib.Path(file["file"])
            if not path.is_relative_to(ROOT / "src") or path.suffix != ".cpp":
                continue
            for function in file["functions"]:
                for line in file["lines"]:
                    if function["start_line"] <= line["line_number"] <= function["end_line"]:
                        yield (str(path.relative_to(ROOT)), function["start_line"], function["end_line"],
                               line["line_number"], line["count"] > 0)
    for path in counters:
        os.unlink(path)


def measure(build):
    """Runs every test once with counters: which lines it reaches, and how long it takes."""
    folder = BUILD / "coverage"
    shutil.rmtree(folder, ignore_errors=True)
    objects = {build.object(source): folder / build.object(source) for source in build.compile}
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        done = list(pool.map(lambda source: build.compiled(source, objects[build.object(source)],
                                                           options=["--coverage"]), build.compile))
    if not all(done):
        sys.exit("the sources do not build with counters")
    for target in build.link:
        build.linked(target, objects, ["--coverage"])
    reached, seconds = collections.defaultdict(lambda: collections.defaultdict(set)), {}
    for test, program in build.tests.items():
        start = time.monotonic()
        if not passes(program, 900):
            sys.exit(f"the test {test} fails as it is")
        seconds[test] = time.monotonic() - start
        for file, first, last, line, hit in covered_lines(folder):
            reached[file, first, last][line].update([test] if hit else [])
    lines = collections.defaultdict(list)
    for (file, first, last), tests in sorted(reached.items()):
        lines[file].append([first, last, [[line, sorted(names)] for line, names in sorted(tests.items())]])
    shutil.rmtree(folder)
    ninja()
    return {"lines": lines, "seconds": seconds, "of": fingerprint()}


def coverage(build):
    store = BUILD / "coverage.json"
    if store.exists():
        known = json.loads(store.read_text())
        if known["of"] == fingerprint():
            return known
    measured = measure(build)
    store.write_text(json.dumps(measured))
    return json.loads(store.read_text())


# --- the trial ----------------------------------------------------------------------------------------------------

class Trial:
    """Tries one mutant after the other; remembers what is linked with a former one."""

    def __init__(self, build, seconds):
        self.build, self.seconds = build, seconds
        self.stale = set()

    def order(self, mutant, tests):
        """The test of the mutated folder first, then the quick ones."""
        own = mutant.path.parts[1]
        return sorted(tests, key=lambda test: (test != own, self.seconds[test]))

    def link(self, source, test, mutated):
        for target in [*BESIDE.get(test, []), self.build.tests[test]]:
            if self.build.uses(target, source):
                self.build.linked(target, {self.build.object(source): mutated})
                self.stale.add(target)
            elif target in self.stale:
                self.build.linked(target, {})
                self.stale.discard(target)

    def verdict(self, mutant, tests):
        """The test that noticed, "" for none, None for what is no mutant: it does not compile or changes nothing."""
        source, mutated = str(mutant.path), SCRATCH / "mutant.o"
        if not self.build.compiled(source, mutated, mutant.text):
            return None
        if mutated.read_bytes() == (BUILD / self.build.object(source)).read_bytes():
            return None
        for test in self.order(mutant, tests):
            self.link(source, test, mutated)
            if not passes(self.build.tests[test], 20 + 3 * self.seconds[test]):
                return test
        return ""


def chosen(candidates, seed, again):
    """The mutants in the order of their trial: at random, or those of a former report."""
    if again is None:
        candidates = list(candidates)
        random.Random(seed).shuffle(candidates)
        return candidates
    wanted = [json.loads(line) for line in again.read_text().splitlines()]
    known = collections.defaultdict(list)
    for mutant, tests in candidates:
        known[mutant.key()].append((mutant, tests))
    found = []
    for row in wanted:
        same = known[pathlib.Path(row["source"].split(":")[0]).name, row["kind"], row["before"], row["after"]]
        if not same:
            print(f"gone: {row['source']}: {row['after']}")
            continue
        line = int(row["source"].split(":")[1])
        found.append(min(same, key=lambda pair: abs(pair[0].line - line)))
    return found


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=100, help="how many mutants to try (100)")
    parser.add_argument("--seed", type=int, default=1, help="chooses them (1)")
    parser.add_argument("--only", default="", help="a regular expression that their files have to match")
    parser.add_argument("--again", type=pathlib.Path, help="the report of a former run: tries its mutants, found by "
                        "file name and text, whatever their lines are now")
    parser.add_argument("--report", type=pathlib.Path, default=BUILD / "mutants.jsonl",
                        help="where one line of JSON for each mutant goes (build/mutants/mutants.jsonl)")
    return parser.parse_args()


def main():
    options = arguments()
    os.nice(10)
    configure()
    ninja()
    build = Build()
    known = coverage(build)
    trial = Trial(build, known["seconds"])
    lines = {file: rows for file, rows in known["lines"].items() if re.search(options.only, file)}
    count, tried, survivors, start = options.count, 0, 0, time.monotonic()
    if options.again:
        count = len(options.again.read_text().splitlines())
    with open(options.report.with_suffix(".part"), "w", encoding="utf-8") as report:
        for mutant, tests in chosen(mutants_of(lines), options.seed, options.again):
            begin = time.monotonic()
            noticed = trial.verdict(mutant, tests)
            if noticed is None:
                continue
            tried += 1
            row = {"source": mutant.source, "kind": mutant.kind, "before": mutant.before, "after": mutant.after,
                   "noticed": noticed, "seconds": round(time.monotonic() - begin, 1)}
            report.write(json.dumps(row, ensure_ascii=False) + "\n")
            report.flush()
            if not noticed:
                survivors += 1
                print(f"{mutant.source}: {mutant.kind}\n  - {mutant.before}\n  + {mutant.after}", flush=True)
            if tried == count:
                break
    os.replace(options.report.with_suffix(".part"), options.report)
    print(f"{tried} mutants, {survivors} survived, {(time.monotonic() - start) / max(tried, 1):.1f} s each")
    return 0


if __name__ == "__main__":
    sys.exit(main())
