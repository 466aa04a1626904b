#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The manual against the code and the built programs; check_manual.sh is how it is started.

Each check gives lines that say what is wrong and where. Nothing is left out silently: a program or
a page that is missing is an error."""
import glob
import json
import os
import re
import subprocess
import sys
import tempfile

import manual_sources as code

MAN = "docs/man/"
LIBRARY = "routing-sw/libs/varn"
DEVICE = "device/client/varn_device.h"
OPERATIONS = "docs/operations.md"
DIFFERENCES = "docs/differences.md"
ESCAPES = (("\\&", ""), ("\\(aq", "'"), ("\\(ga", "`"), ("\\(ha", "^"), ("\\(ti", "~"),
           ("\\-", "-"), ("\\e", "\\"))


def plain(text):
    for escape, character in ESCAPES:
        text = text.replace(escape, character)
    return text


class Page:
    def __init__(self, path):
        self.path = path
        self.file = os.path.basename(path)
        self.text = code.read(path)

    def section(self, title):
        match = re.search(rf"(?ms)^\.Sh {title}\n(.*?)(?=^\.Sh |\Z)", self.text)
        return match.group(1) if match else ""

    def names(self):
        return re.findall(r"(?m)^\.Nm (\S+)", self.section("NAME"))

    def prototypes(self):
        """As a reader sees them, spelled as a header's declarations are."""
        found, result = {}, ""
        lines = iter(self.section("SYNOPSIS").split("\n"))
        for line in lines:
            words = re.findall(r'"[^"]*"|\S+', line)
            given = [word.strip('"') for word in words[1:]]
            if line.startswith(".Vt "):
                name = re.search(r"(\w+)(\[\w+\])? ;$", line).group(1)
                found[name] = code.spelled(line[4:-1])
            elif line.startswith(".Ft "):
                result = given[0]
            elif line.startswith(".Fn "):
                found[given[0]] = self.spell(result, given[0], given[1:])
            elif line.startswith(".Fo "):
                parts = []
                while not (inner := next(lines)).startswith(".Fc"):
                    parts.append(inner.removeprefix(".Fa ").strip('"'))
                found[given[0]] = self.spell(result, given[0], parts)
        return found

    @staticmethod
    def spell(result, name, parts):
        return code.spelled(f"{result} {name}({', '.join(parts)})")

    def options(self):
        """option -> its paragraph, of the list behind "The options are as follows"."""
        section = self.section("DESCRIPTION")
        match = re.search(r"(?ms)^The options are as follows:\n\.Bl.*?\n(.*?)^\.El", section)
        found = {}
        for item in re.split(r"(?m)^\.It ", match.group(1) if match else "")[1:]:
            head, _, body = item.partition("\n")
            for name in re.findall(r"(?:^Fl |, )(-?[\w-]+)", head):
                found["-" + name] = code.one_line(body)
        return found

    def displays(self):
        display = r"(?ms)^\.Bd -literal -offset indent\n(.*?)^\.Ed"
        return [plain(text) for text in re.findall(display, self.section("EXAMPLES"))]


def run(program, *arguments, **settings):
    return subprocess.run([program, *arguments], capture_output=True, text=True, timeout=60,
                          check=False, **settings)


def differ(what, wanted, given):
    for name in sorted(set(wanted) - set(given)):
        yield f"{what}: {name} is missing"
    for name in sorted(set(given) - set(wanted)):
        yield f"{what}: {name} does not exist"


# ---- Names, prototypes, references


def check_names(pages):
    wanted = {"varn_device.3": list(code.declarations(DEVICE))}
    exported = code.exported(LIBRARY + "/varn.map")
    named = {}
    for page in pages:
        for name in page.names() if page.file.endswith(".3") else []:
            if name in named:
                yield f"{page.file}: {name} is also named by {named[name]}"
            named[name] = page.file
    yield from differ("the pages of varn.h", exported,
                      [name for name, file in named.items() if file not in wanted])
    yield from differ("varn_device.3", wanted["varn_device.3"],
                      [name for name, file in named.items() if file in wanted])


def check_prototypes(pages):
    declared = code.declarations(LIBRARY + "/varn.h") | code.declarations(DEVICE)
    for page in pages:
        if not page.file.endswith(".3"):
            continue
        shown = page.prototypes()
        yield from differ(page.file + " SYNOPSIS", page.names(), shown)
        for name, prototype in shown.items():
            if declared.get(name) != prototype:
                yield f"{page.file}: {prototype} is declared as {declared.get(name)}"


def check_references(pages):
    headers = [LIBRARY + "/varn.h", DEVICE]
    functions, constants = {"VARN_MASK"}, {"VARN_HISTORY_DIR"}
    for header in headers + glob.glob("platform/*.h"):
        functions |= set(code.declarations(header))
    for header in headers:
        constants |= code.constants(header)
    files = {page.file for page in pages}
    for page in pages:
        titles = set(re.findall(r"(?m)^\.Dt (\S+)", page.text))
        for name in re.findall(r"\bFn (\w+)(?![\w*])", page.text):
            if name not in functions:
                yield f"{page.file}: there is no function {name}"
        for name in re.findall(r"\bVARN_\w+", page.text):
            if name not in constants | titles:
                yield f"{page.file}: there is no constant {name}"
        for name, section in re.findall(r"(?:\.|\b)Xr (\S+) (\d)", page.text):
            if f"{name}.{section}" not in files:
                yield f"{page.file}: there is no page {name}({section})"


# ---- Programs


def check_options(page, program):
    told = run(program, "--help").stdout
    shown = page.options()
    options = re.search(r"(?ms)^Options:\n(.*?)(?:^\S|\Z)", told).group(1)
    wanted = {}
    for first, second, value in re.findall(
            r"(?m)^  (-[\w-]+)(?:,(-[\w-]+))?(?: (\S+(?: \S+)*))?", options):
        told_values = re.findall(r"\d+", value) + re.findall(r"=([a-z/]\S*)$", value)
        for name in filter(None, (first, second)):
            wanted[name] = told_values
    yield from differ(page.file + " options", wanted, shown)
    for name, values in wanted.items():
        for value in values:
            words = [word.rstrip(".,") for word in shown.get(name, value).split()]
            if value not in words:
                yield f"{page.file}: {value}, a default or a bound of {name}, is not told"


def check_commands(page, usages):
    """Each command with the words that it is typed with; how an argument is called is free."""
    shown = set(re.findall(r"(?m)^\.It Ic ([a-z]\w*)", page.text))
    yield from differ(page.file + " commands", {usage.split()[0] for usage in usages}, shown)
    for usage in usages:
        command = usage.split()[0]
        items = " ".join(re.findall(rf"(?m)^\.It Ic {command}\b.*", page.text))
        for option in re.findall(r"--?[a-z][\w-]*", usage):
            if f"Fl {option[1:]}" not in page.text:
                yield f"{page.file}: {command} takes {option}"
        for word in re.findall(r"\b[a-z]+(?=\|)|(?<=\|)[a-z]+\b", usage):
            if word not in items:
                yield f"{page.file}: {command} takes the word {word}"


def check_programs(pages, build):
    by_file = {page.file: page for page in pages}
    shell = build + "/shell/varnsh"
    control = build + "/device/control/varnctl"
    service = build + "/device/service/varn-deviced"
    yield from check_options(by_file["varnsh.1"], shell)
    yield from check_options(by_file["varnctl.1"], control)
    yield from check_options(by_file["varn-deviced.8"], service)
    told = run(shell, "--socket", "/nowhere", "-c", "help").stdout
    yield from check_commands(by_file["varnsh.1"],
                              re.findall(r"(?m)^([a-z].*?)  +\S", told.split("\n\n")[0]))
    told = run(control, "--help").stdout.split("Commands:\n")[1]
    yield from check_commands(by_file["varnctl.1"], re.findall(r"(?m)^  (\S.*)", told))
    schema = json.loads(run(service, "--schema").stdout)
    yield from check_inventory(by_file["varn-inventory.5"], schema)


def check_inventory(page, schema):
    sections = re.split(r"(?m)^\.Ss ", page.section("DESCRIPTION"))
    by_title = {part.split("\n")[0]: part for part in sections}
    kinds = {"vrfs": ["vrf"], "vlans": ["vlan"], "interfaces": ["interface", "private"]}
    for title, names in kinds.items():
        wanted = set()
        for name in names:
            wanted |= set(schema["$defs"][name]["properties"])
        yield from differ(f"{page.file} {title}", wanted,
                          re.findall(r"(?m)^\.It Va (\S+)", by_title.get(title, "")))
    types = schema["$defs"]["interface"]["properties"]["type"]["enum"]
    yield from differ(page.file + " types", types,
                      re.findall(r"(?m)^\.It Li (\S+)", by_title.get("interfaces", "")))


# ---- Messages and differences


def cells(path, heading):
    """The rows of the tables under a heading, each a list of cells; code marks taken off."""
    text = code.read(path)
    match = re.search(rf"(?ms)^## {heading}\n(.*?)(?=^## |\Z)", text)
    rows = []
    for line in match.group(1).split("\n") if match else []:
        if line.startswith("|") and not re.match(r"\|[-|]+$", line):
            rows.append([cell.strip() for cell in line.strip("|").split("|")])
    return [row for row in rows if row[0].startswith("`")]


def first_texts(path, heading):
    return [row[0].strip("`").strip() for row in cells(path, heading)]


def check_messages():
    traces, reports = code.library_messages(LIBRARY)
    rows = {row[0].strip("`").strip(): set(re.findall(r"varn_\w+", row[1]))
            for row in cells(OPERATIONS, "Reports")}
    yield from differ(OPERATIONS + " reports", reports, rows)
    for text, functions in rows.items():
        if functions != reports.get(text, functions):
            yield f"{OPERATIONS}: {text!r} is reported by {', '.join(sorted(reports[text]))}"
    yield from differ(OPERATIONS + " traces", traces, first_texts(OPERATIONS, "Traces"))
    yield from differ(OPERATIONS + " rules", code.rules_of_misuse(LIBRARY),
                      first_texts(OPERATIONS, "A debug build that stops"))
    yield from differ(OPERATIONS + " service", code.service_messages("device/service"),
                      first_texts(OPERATIONS, "What the service says"))
    yield from differ(OPERATIONS + " lost", code.reasons_of_loss("device/client"),
                      first_texts(OPERATIONS, "Lost notices"))
    labels = {label for cell in first_texts(OPERATIONS, "Hits, misses and updates")
              for label in re.findall(r"[\w-]+", cell)}
    yield from differ(OPERATIONS + " statistics", code.statistics_labels(LIBRARY), labels)
    words = re.findall(r"[A-Za-z][\w-]*\w", code.read(OPERATIONS))
    for word in sorted(code.printed_words(LIBRARY) - set(words)):
        yield f"{OPERATIONS}: {word}, which a dump prints, is missing"


def numbered_differences():
    for line in code.read(DIFFERENCES).split("\n"):
        match = re.match(r"\| (\d+) \| ([^|]*) \|", line)
        if match:
            yield int(match.group(1)), set(re.findall(r"varn_\w+", match.group(2)))


def listed_differences(page):
    """The functions of each item of the numbered list."""
    items = re.search(r"(?ms)^\.Ss Where a cached.*?^\.Bl -enum\n(.*?)^\.El", page.text).group(1)
    return [set(re.findall(r"Fn (varn_\w+)", item)) for item in re.split(r"(?m)^\.It\n", items)[1:]]


def titled_differences():
    """number -> title: as the table tells them, and as the header's list does."""
    table = re.findall(r"(?m)^\| (\d+) \| [^|]* \| ([^|]*) \|", code.read(DIFFERENCES))
    header = code.read(LIBRARY + "/varn.h")
    items = re.search(r"(?s)\n \* Where a cached answer differs.*?\n \*/", header)
    listed = re.findall(r"(?m)^ \* +(\d+)\. (.*)$", items.group() if items else "")
    return dict(table), dict(listed)


def check_titles():
    table, listed = titled_differences()
    yield from differ("varn.h differences", table, listed)
    for number, title in table.items():
        if listed.get(number, title) != title:
            yield f"varn.h: difference {number} is called {title!r} in {DIFFERENCES}"


def check_differences(pages):
    yield from check_titles()
    numbered = list(numbered_differences())
    if [number for number, _ in numbered] != list(range(1, len(numbered) + 1)):
        yield f"{DIFFERENCES}: the numbers do not count up"
    items = listed_differences(next(page for page in pages if page.file == "varn.3"))
    if len(items) != len(numbered):
        yield f"varn.3 has {len(items)} differences, {DIFFERENCES} {len(numbered)}"
    for item, (number, functions) in zip(items, numbered):
        if item != functions:
            yield f"varn.3 and {DIFFERENCES}: number {number} is about {item} and {functions}"
    tested = re.findall(r'\{ "(varn_\w+)"', code.read("tests/device/coherence/differences.cpp"))
    told = set().union(*(functions for _, functions in numbered))
    for name in sorted(set(tested) - told):
        yield f"{DIFFERENCES}: {name}, which the coherence test lets differ, is missing"
    yield from check_markers()


def check_markers():
    sources = [path for path in glob.glob(LIBRARY + "/**/*", recursive=True)
               if path.endswith((".cpp", ".h"))]
    wanted = {os.path.relpath(path, LIBRARY): count
              for path, count in code.deliberate_markers(sources).items()}
    told, file = {}, ""
    for line in code.read(DIFFERENCES).split("\n"):
        if match := re.match(r"### `([\w/.]+)`$", line):
            file = match.group(1)
        elif line.startswith("- ") and file:
            told[file] = told.get(file, 0) + 1
    for name in sorted(set(wanted) | set(told)):
        if wanted.get(name, 0) != told.get(name, 0):
            yield (f"{DIFFERENCES}: {name} says Deliberate {wanted.get(name, 0)} times and is told "
                   f"{told.get(name, 0)} times")


# ---- Examples


def built_example(source, build, folder):
    path = folder + "/example.c"
    with open(path, "w", encoding="utf-8") as file:
        file.write(source)
    library, device = build + "/" + LIBRARY, build + "/device/client"
    made = run("cc", "-std=c11", "-Wall", "-Wextra", "-Werror", "-D_POSIX_C_SOURCE=200809L",
               "-I" + LIBRARY, "-Iplatform", "-Idevice/client", path, "-o", folder + "/example",
               "-L" + library, "-L" + device, "-lvarn_platform", "-lvarn_device",
               f"-Wl,-rpath,{library}:{device}")
    return made.stderr


def with_service(inventory, build, folder, act):
    """What act(socket) gives while the service serves that inventory; the service must say that it
    does."""
    socket = folder + "/socket"
    service = subprocess.Popen([build + "/device/service/varn-deviced", "--socket", socket,
                                "--source", inventory], stderr=subprocess.PIPE, text=True)
    try:
        told = service.stderr.readline()
        return act(socket) if "serving" in told else told
    finally:
        service.terminate()
        service.wait(10)
        service.stderr.close()


def run_client(folder, socket, *command):
    settings = os.environ | {"VARN_DEVICE_SOCKET": socket, "VARN_HISTORY_DIR": folder}
    return run(*command, env=settings, cwd=folder)


def check_program(page, source, printed, build):
    with tempfile.TemporaryDirectory() as folder:
        complaint = built_example(source, build, folder)
        if complaint:
            yield f"{page.file}: the example does not build: {complaint}"
        elif printed is not None:
            told = with_service(
                "docs/examples/inventory/three-ports.json", build, folder,
                lambda socket: run_client(folder, socket, folder + "/example").stdout)
            if told != printed:
                yield f"{page.file}: the example prints\n{told}"


def check_inventory_example(page, source, build):
    with tempfile.TemporaryDirectory() as folder:
        path = folder + "/inventory.json"
        with open(path, "w", encoding="utf-8") as file:
            file.write(source)
        told = with_service(path, build, folder, lambda socket: "")
        if told:
            yield f"{page.file}: the example is not served: {told}"


def check_commands_example(page, source, build):
    """Each command of varnctl in turn, on a device that has what they name."""
    def act(folder, socket):
        program = build + "/device/control/varnctl"
        for line in re.findall(r"(?m)^\$ varnctl ([^>\n]*)", source):
            done = run_client(folder, socket, program, *line.split())
            if done.returncode != 0 and not line.startswith("history"):
                return f"{line}: {done.stderr}"
        return ""
    with tempfile.TemporaryDirectory() as folder:
        told = with_service("docs/examples/inventory/router.json", build, folder,
                            lambda socket: act(folder, socket))
        if told:
            yield f"{page.file}: an example fails: {told}"


def check_examples(pages, build):
    """Whole programs are built, and run where what they print follows; inventories are served;
    commands of varnctl are carried out."""
    for page in pages:
        shown = page.displays()
        for number, source in enumerate(shown):
            if source.startswith("#include"):
                printed = shown[number + 1] if number + 1 < len(shown) else None
                yield from check_program(page, source, printed, build)
            elif source.startswith("{\n"):
                yield from check_inventory_example(page, source, build)
            elif "$ varnctl" in source:
                yield from check_commands_example(page, source, build)


def check_probes(pages):
    """Each probe with as many arguments as it has, in the guide and in the page of the library."""
    probes = re.findall(r"#define PROBE_\w+\(([^)]*)\)\s+VARN_PROBE\((\w+),",
                        code.read(LIBRARY + "/varn/probes.h"))
    guide = code.read(OPERATIONS)
    page = next(page for page in pages if page.file == "varn.3")
    if len(probes) != 5:
        yield f"probes.h: {len(probes)} probes were found"
    for arguments, name in probes:
        count = arguments.count(",") + 1
        row = re.search(rf"(?m)^\| `{name}` \|(.*)\|$", guide)
        if not row or row.group(1).count("|") != count:
            yield f"{OPERATIONS}: no row for the {count} arguments of the probe {name}"
        row = re.search(rf"(?m)^\.It Sy {name} Ta (.*)$", page.text)
        if not row or row.group(1).count(" Ta ") != count - 1:
            yield f"{page.file}: no row for the {count} arguments of the probe {name}"


def main():
    build = sys.argv[1]
    pages = [Page(path) for path in sorted(glob.glob(MAN + "*"))]
    wrong = [*check_names(pages), *check_prototypes(pages), *check_references(pages),
             *check_programs(pages, build), *check_messages(), *check_differences(pages),
             *check_examples(pages, build), *check_probes(pages)]
    for line in wrong:
        print(line, file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
