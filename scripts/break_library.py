#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Breaks the library on purpose, one small break at a time, and sees whether a test falls.

Works on a copy of the library; the tree is never touched. A break changes one place: a constant, a
condition, a comparison, a bit, slot or counter, an attribute, a letter of a message, a call that is
dropped or that changes places with its neighbour. What includes the changed file is compiled again
without optimisation and linked, and the unit tests of DEBUG_BUILD run with that library in place of
their own until the first of them fails. A break that they do not see is compiled as a release has it,
and the unit tests and the model of RELEASE_BUILD run with it.

  killed        a test failed, crashed, or ran out of time
  equivalent    survived, and stands in tests/mutation/equivalent.txt with the reason
  survived      no test saw it: a test is missing
  no build      the compiler (or one of the library's own static assertions) refused it

The breaks follow from --seed alone. The result is 1 when more than --allowed percent survived.

usage: break_library.py DEBUG_BUILD RELEASE_BUILD [--breaks N] [--seed N] [--jobs N] [--report FILE]
"""
import argparse
import concurrent.futures
import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import threading

TREE = pathlib.Path(__file__).resolve().parent.parent
PRODUCT = TREE / "routing-sw/libs/varn"
EQUIVALENT = TREE / "tests/mutation/equivalent.txt"
FLAGS = ["-std=c++20", "-O0", "-w", "-fPIC", "-fno-exceptions", "-fno-rtti",
         "-fno-threadsafe-statics", "-fvisibility=hidden", "-fno-semantic-interposition",
         "-fsanitize=bounds", "-fsanitize-undefined-trap-on-error", # an index too large is a crash
         "-I", str(TREE / "platform")]
TIME_LIMIT = 120
LONG_TESTS = "OfEveryType*:*Misuse*" # three quarters of the time; they run last
MODEL_STEPS = 20000
KINDS_OF_BUILD = {"debug": [], "release": ["-DNDEBUG"]}
MEMORY_LIMIT = 4 << 30


# ---- Places to break. A finder yields (column, length, replacement) for a line of code.

def blanked(line):
    """The line with comments and the insides of literals blanked, columns kept."""
    def blank(match):
        text = match.group(0)
        return text[0] + " " * (len(text) - 2) + text[-1] if text[0] in "\"'" else " " * len(text)
    return re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|//.*', blank, line)


def constants(line, _code):
    for match in re.finditer(r"(?<![\w.\"])(0[xX][0-9A-Fa-f]+|\d+)(?![\w.])", _code):
        value = int(match.group(1), 0)
        for other in {value + 1, max(value - 1, 0)} - {value}:
            yield match.start(), len(match.group(1)), str(other)


def conditions(line, code):
    match = re.match(r"\s*(?:if|while) \((?!const |varn_\w+ \*|void \*|u32 )(.*)\)(?: \{)?$", code)
    if match:
        start, end = match.span(1)
        yield start, end - start, "!(" + line[start:end] + ")"
    match = re.match(r"\s*if \(((?:const u32 code = |varn_if_entry_t \*\w+ = ))(.*)\)(?: \{)?$", code)
    if match:
        start, end = match.span(2)
        yield start, end - start, "0 && " + line[start:end] if "*" not in match.group(1) else "nullptr"
    match = re.match(r"\s*return ([^;]*) \? ([^;]*) : ([^;]*);$", code)
    if match:
        start, end = match.span(1)
        yield start, end - start, "!(" + line[start:end] + ")"


SWAPS = {"==": "!=", "!=": "==", "<": "<=", ">": ">=", "<=": "<", ">=": ">", "&&": "||",
         "||": "&&", "+": "-", "-": "+", "|": "&", "&": "|", "<<": ">>", ">>": "<<", "%": "/",
         "/": "%", "|=": "=", "&=": "="}


def operators(line, code):
    for match in re.finditer(r" (==|!=|<=|>=|&&|\|\||<<|>>|\|=|&=|[<>+\-|&%/]) ", code):
        if code.lstrip().startswith(("#", "template", "using")):
            continue
        yield match.start(1), len(match.group(1)), SWAPS[match.group(1)]
    for match in re.finditer(r"(?<!\w)(\+\+|--)(?=\(?\w)", code):
        yield match.start(), 2, "--" if match.group() == "++" else "++"
    for match in re.finditer(r"(?<=[(\s])!(?=\w)", code):
        yield match.start(), 1, ""


NAMES = {
    r"\bVARN_BIT_[A-Z0-9_]+\b":
        "IF_INDEX IOD PI LIF ENCAP EXTN MAC VLAN CONTEXT MTU NAME LINKUP PVLAN BD FINDEX PC".split(),
    r"\bVARN_SLOT_[A-Z0-9_]+\b":
        "IF_INDEX IOD PI LIF MAC ENCAP EXTN CONTEXT MTU LINKUP PROTOUP VLAN NULL NAME P2P".split(),
    r"\bIF_INDEX_TYPE_[A-Z0-9_]+\b": "PHYSICAL SVI PC GRE CBUS MGMT".split(),
    r"\b(?:iod|pi|lif|mac|vlan|name|ips|if_type|aggsvc_if|subif)_attribute\b":
        "iod pi lif mac vlan name ips if_type aggsvc_if subif".split(),
    r"\b(?:switchport|switching|linkup|protoup|ethernet|is_vlan|null0|p2p|loopback|mtu|encap)\b"
    r"(?=[,>.])":
        "switchport switching linkup protoup ethernet null0 p2p loopback mtu encap".split(),
    r"(?<=\+\+)varn\.(?:if_allocs|if_frees|\w+_updates|\w+_refreshes|\w+_remaps|\w+_allocs|"
    r"\w+_frees|pc_hits|pc_misses|create_fail|if_destroys)\b":
        "if_allocs if_frees phy_updates l2_updates l3_updates if_refreshes iod_remaps pi_remaps "
        "lif_remaps pc_hits pc_misses pc_updates pc_allocs vlan_allocs vlan_frees create_fail".split(),
    r"\bvarn\.(?:if|iod|pi|lif|vlan|pc)_table\b": "if iod pi lif vlan pc".split(),
    r"\bvarn\.vlan_(?:hits|misses|updates)\.\w+\b": [],
    r"\bcount_(?:hit|miss|update)\b": "hit miss update".split(),
    r"\bmark_(?:dirty|clean)\b": "dirty clean".split(),
    r"\bnullptr(?=;)": [],
}


def renamed(text, pattern, words):
    if pattern.startswith(r"\bVARN_") or pattern.startswith(r"\bIF_"):
        stem = re.match(r"VARN_BIT_|VARN_SLOT_|IF_INDEX_TYPE_", text).group()
        return [stem + word for word in words]
    if "_attribute" in pattern:
        return [word + "_attribute" for word in words]
    if "_table" in pattern:
        return [f"varn.{word}_table" for word in words]
    if "(?<=" in pattern:
        return ["varn." + word for word in words]
    if text.startswith("varn.vlan_"):
        return [f"varn.vlan_{kind}.{field}" for kind in ("hits", "misses", "updates")
                for field in ("bd", "findex", "pvlan")]
    if text.startswith(("count_", "mark_")):
        return [text.split("_")[0] + "_" + word for word in words]
    return words


def names(line, code):
    for pattern, words in NAMES.items():
        for match in re.finditer(pattern, code):
            others = [each for each in renamed(match.group(), pattern, words)
                      if each != match.group()]
            for other in others:
                yield match.start(), len(match.group()), other


def message_letters(line, code):
    """A letter or blank of a literal that is no part of a conversion or an escape."""
    if code.lstrip().startswith("#"):
        return
    for literal in re.finditer(r'"((?:\\.|[^"\\])+)"', line):
        if code[literal.start()] != '"':
            continue
        text = literal.group(1)
        taken = set()
        for part in re.finditer(r"%[\d#]*(?:ll|l)?[a-z%]|\\.", text):
            taken.update(range(*part.span()))
        for at, letter in enumerate(text):
            if at not in taken and (letter.isalpha() or letter in " .:,-"):
                other = "_" if letter == " " else "#"
                yield literal.start(1) + at, 1, other


def dropped(line, code):
    match = re.match(r"\s+(?=\S)(?!return|using|const |constexpr|break|case|u32 |uint\w+ |void \*|auto |"
                     r"static|template|varn_\w+_t |vlan_key_t |va_)([^{}]*;)$", code)
    if match and code.count("(") == code.count(")") and not re.match(r"\s+[A-Z_]+ =", code):
        yield match.start(1), len(match.group(1)), ";"


def results(line, code):
    match = re.match(r"\s*return (0|1|true|false|-1|code|entry|nullptr|VARN_\w+);$", code)
    if match:
        other = {"0": "1", "1": "0", "true": "false", "false": "true", "-1": "0"}.get(
            match.group(1), None)
        if match.group(1).startswith("VARN_") or match.group(1) == "code":
            other = "0"
        if match.group(1) == "entry":
            other = "nullptr"
        if other is not None:
            yield match.start(1), len(match.group(1)), other


KINDS = {"constant": constants, "condition": conditions, "operator": operators, "name": names,
         "letter": message_letters, "dropped": dropped, "result": results}


def is_code(code):
    """What probes tell is no part of the behaviour: tests/field looks at it."""
    return code.strip() and not code.lstrip().startswith(("#", "//", "/*", "*", "PROBE_"))


class Break:
    def __init__(self, file, kind, row, old, new):
        self.file, self.kind, self.row, self.old, self.new = file, kind, row, old, new

    def key(self):
        return self.file, self.old_text(), self.new_text()

    def old_text(self):
        return " / ".join(each.strip() for each in self.old)

    def new_text(self):
        return " / ".join(each.strip() for each in self.new)

    def apply(self, lines):
        return lines[:self.row] + self.new + lines[self.row + len(self.old):]

    def tell(self):
        return (f"{self.file}:{self.row + 1} ({self.kind})\n"
                f"  - {self.old_text()}\n  + {self.new_text()}")


def is_plain_statement(code):
    return re.match(r"\s+(?=\S)(?!return|using|const |break|case|u32 |uint8_t |void \*|static|"
                    r"template|va_).*;$", code) and code.count("(") == code.count(")")


# Counting, marking and what looks at the caller change places unseen by anybody.
CALL = re.compile(r"\s+(?=\S)(?!\+\+|--|count_|mark_|constexpr|const |~|VISIT|ENTER|MUST|PROBE_|WORK_ON|CALL_|CLEANED_)"
                  r"[^(]*\w\(.*\);$")


def change_places(first, second):
    return (is_plain_statement(first) and is_plain_statement(second) and first != second
            and len(first) - len(first.lstrip()) == len(second) - len(second.lstrip())
            and bool(CALL.match(first)) and bool(CALL.match(second)))


def breaks_of(file, lines):
    codes = [blanked(line) for line in lines]
    in_comment = False
    for row, (line, code) in enumerate(zip(lines, codes)):
        in_comment = in_comment or code.lstrip().startswith("/*")
        if not in_comment and is_code(code):
            for kind, finder in KINDS.items():
                for column, length, text in finder(line, code):
                    changed = line[:column] + text + line[column + length:]
                    if changed != line:
                        yield Break(file, kind, row, [line], [changed])
            if row + 1 < len(lines) and change_places(code, codes[row + 1]):
                yield Break(file, "swapped", row, [line, lines[row + 1]], [lines[row + 1], line])
        in_comment = in_comment and "*/" not in code


def chosen_breaks(sources, count, seed):
    """Draws a kind, then a line that has one, then one of its breaks: no line weighs more for
    being long. The public header is left out: the tests are compiled against it."""
    by_kind = {}
    for file, lines in sources.items():
        if file in ("varn.h", "varn/probes.h"):
            continue
        for each in breaks_of(file, lines):
            by_kind.setdefault(each.kind, {}).setdefault((file, each.row), []).append(each)
    weights = {"constant": 10, "condition": 20, "operator": 15, "name": 20, "letter": 8,
               "dropped": 15, "swapped": 12, "result": 10}
    chance = random.Random(seed)
    kinds = sorted(by_kind)
    taken, drawn = set(), []
    while len(drawn) < count:
        kind = chance.choices(kinds, [weights[each] for each in kinds])[0]
        place = chance.choice(sorted(by_kind[kind]))
        each = chance.choice(by_kind[kind][place])
        if (place, each.new_text()) not in taken:
            taken.add((place, each.new_text()))
            drawn.append(each)
    return drawn


# ---- Building and testing one

class Workshop:
    """The unbroken objects of both kinds, and a folder for each worker with a copy of the sources."""

    def __init__(self, builds, root):
        self.root = root
        self.builds = builds
        self.clean = root.resolve() / "clean"
        shutil.copytree(PRODUCT, self.clean)
        self.sources = sorted(str(each.relative_to(self.clean))
                              for each in self.clean.rglob("*.cpp"))
        self.needs = {}
        for kind in KINDS_OF_BUILD:
            for source in self.sources:
                made = self.compile(self.clean, source, root / kind, kind)
                if made.returncode:
                    sys.exit(made.stderr)
        for source in self.sources:
            self.needs[source] = self.read_by(source)
        self.local = threading.local()

    def read_by(self, source):
        depends = self.object_of(self.root / "debug", source).with_suffix(".d").read_text()
        read = [(self.clean / name).resolve() for name in depends.replace("\\\n", " ").split()[1:]]
        return {str(each.relative_to(self.clean)) for each in read
                if each.is_relative_to(self.clean)}

    @staticmethod
    def object_of(folder, source):
        return folder / (source.replace("/", "_") + ".o")

    def compile(self, where, source, objects, kind):
        objects.mkdir(exist_ok=True)
        return subprocess.run(["g++", *FLAGS, *KINDS_OF_BUILD[kind], "-MMD", "-c", source, "-o",
                               str(self.object_of(objects, source))],
                              cwd=where, capture_output=True, text=True)

    def build(self, each, lines, kind):
        if not hasattr(self.local, "folder"):
            self.local.folder = pathlib.Path(tempfile.mkdtemp(dir=self.root))
            shutil.copytree(self.clean, self.local.folder / "src")
        folder = self.local.folder
        file = folder / "src" / each.file
        file.write_text("\n".join(each.apply(lines)) + "\n")
        try:
            objects = []
            for source in self.sources:
                if each.file in self.needs[source]:
                    if self.compile(folder / "src", source, folder / kind, kind).returncode:
                        return None
                    objects.append(self.object_of(folder / kind, source))
                else:
                    objects.append(self.object_of(self.root / kind, source))
        finally:
            file.write_text("\n".join(lines) + "\n")
        library = folder / "libvarn_platform.so.1"
        linked = subprocess.run(["gcc", "-shared", "-Wl,-soname,libvarn_platform.so.1",
                                 f"-Wl,--version-script={PRODUCT / 'varn.map'}", "-o", str(library),
                                 *map(str, objects)], capture_output=True)
        return library if linked.returncode == 0 else None

    # What runs with a library of this kind, in this order.
    def runs(self, kind):
        unit = str(next(self.builds[kind].rglob("unit_tests")))
        for tests in (f"-{LONG_TESTS}", LONG_TESTS):
            yield [unit, "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={tests}"]
        if kind == "release":
            yield [str(next(self.builds[kind].rglob("model_tests")))]

    def verdict(self, library, kind):
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        for command in self.runs(kind):
            try:
                run = subprocess.run(command,
                                     env={"LD_LIBRARY_PATH": str(library.parent),
                                          "VARN_STEPS": str(MODEL_STEPS)},
                                     preexec_fn=limit, stdout=subprocess.PIPE,
                                     stderr=subprocess.DEVNULL, timeout=TIME_LIMIT)
            except subprocess.TimeoutExpired:
                return "killed", "ran out of time"
            if run.returncode:
                failed = re.findall(rb"^\[  FAILED  \] (\S+)|^( *difference: .*)", run.stdout, re.M)
                by = b"".join(failed[0]).decode() if failed else f"crashed ({run.returncode})"
                return "killed", f"{kind}: {by}"
        return "survived", ""


def equivalents():
    """Blocks of 'file', '- old', '+ new' and 'why:' lines, parted by blank lines."""
    known = {}
    if EQUIVALENT.exists():
        text = "\n".join(line for line in EQUIVALENT.read_text().split("\n")
                         if not line.startswith("#"))
        for block in re.split(r"\n\s*\n", text.strip()):
            rows = [row.strip() for row in block.strip().split("\n")]
            if len(rows) < 4 or not rows[3].startswith("why: "):
                sys.exit(f"{EQUIVALENT}: a block needs file, '- old', '+ new', 'why: ...':\n{block}")
            known[rows[0], rows[1][2:], rows[2][2:]] = " ".join(rows[3:])[5:]
    return known


def judged(workshop, each, lines, known):
    for kind in KINDS_OF_BUILD:
        library = workshop.build(each, lines, kind)
        if library is None:
            return each, "no build", ""
        verdict, why = workshop.verdict(library, kind)
        if verdict == "killed":
            return each, verdict, why
    if each.key() in known:
        return each, "equivalent", known[each.key()]
    return each, "survived", ""


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("debug", type=pathlib.Path)
    parser.add_argument("release", type=pathlib.Path)
    parser.add_argument("--breaks", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--allowed", type=float, default=2.0)
    parser.add_argument("--report", type=pathlib.Path)
    parser.add_argument("--only", default="", help="a part of the names of the files to break")
    options = parser.parse_args()

    files = {str(each.relative_to(PRODUCT)): each.read_text().split("\n")[:-1]
             for each in sorted(PRODUCT.rglob("*")) if each.suffix in (".cpp", ".h")}
    report = options.report.open("w") if options.report else None
    counted = {"killed": 0, "survived": 0, "equivalent": 0, "no build": 0}
    with tempfile.TemporaryDirectory(prefix="varn_breaks") as root:
        workshop = Workshop({"debug": options.debug.resolve(), "release": options.release.resolve()},
                            pathlib.Path(root))
        known = equivalents()
        chosen = chosen_breaks({file: lines for file, lines in files.items()
                                if options.only in file}, options.breaks, options.seed)
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for each, verdict, why in pool.map(
                    lambda one: judged(workshop, one, files[one.file], known), chosen):
                counted[verdict] += 1
                line = f"{verdict}: {each.tell()}" + (f"\n  {why}" if why else "")
                if report:
                    print(line, file=report, flush=True)
                if verdict == "survived":
                    print(line, flush=True)
    built = counted["killed"] + counted["survived"]
    share = 100 * counted["survived"] / built if built else 100
    print(f"breaks: {options.breaks}  killed: {counted['killed']}  survived: {counted['survived']}"
          f"  equivalent: {counted['equivalent']}  no build: {counted['no build']}"
          f"  seed: {options.seed}\nsurvivors: {share:.1f} %")
    return 1 if share > options.allowed else 0


if __name__ == "__main__":
    sys.exit(main())
