# SPDX-License-Identifier: Apache-2.0
"""What the manual is held against: declarations from headers, names from a version script, and the
texts that the code speaks. Read with the eyes of a reader, not of a compiler: comments and
preprocessor lines are taken out, literals that stand side by side are joined."""
import glob
import re

LITERAL = r'"(?:[^"\\]|\\.)*"'


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def without_comments(text):
    """A literal may hold what looks like a comment."""
    character = r"'(?:[^'\\\n]|\\.)'"
    return re.sub(rf"{LITERAL}|{character}|/\*.*?\*/|//[^\n]*",
                  lambda m: " " if m.group().startswith("/") else m.group(), text, flags=re.S)


def one_line(text):
    return re.sub(r"\s+", " ", text).strip()


def spelled(declaration):
    """Blanks where they mean nothing are taken out."""
    return re.sub(r" ?([*(),;\[\]]) ?", r"\1", one_line(declaration))


def declarations(header):
    """name -> declaration, of the functions and objects that a header declares."""
    text = without_comments(read(header))
    lines = [line for line in text.split("\n") if not line.lstrip().startswith("#")]
    text = one_line("\n".join(lines))
    found = {}
    function = r'(?:^|[;{}"]) ?((?:const )?\w+[ *]+((?:__)?[a-z]\w+)\([^()]*\)) ?;'
    while True:
        rest = re.sub(r"typedef [^;{}]*;", "", text)
        if rest == text:
            break
        text = rest
    position = 0
    while match := re.compile(function).search(text, position):
        found[match.group(2)] = spelled(match.group(1))
        position = match.end() - 1
    for match in re.finditer(r"(extern \w+ (\w+)(?:\[\w+\])?) ?;", text):
        found[match.group(2)] = spelled(match.group(1))
    return found


def exported(version_script):
    return re.findall(r"(?m)^ +(\w+);", read(version_script))


def constants(header):
    return set(re.findall(r"\bVARN\w+", read(header)))


def joined(literals):
    return "".join(literal[1:-1] for literal in re.findall(LITERAL, literals))


def arguments(text, start):
    """The arguments of the call whose opening parenthesis stands at `start`."""
    parts, depth, at = [""], 0, start
    while True:
        quoted = re.compile(LITERAL).match(text, at)
        if quoted:
            parts[-1] += quoted.group()
            at = quoted.end()
            continue
        c = text[at]
        depth += (c in "([{") - (c in ")]}")
        if depth == 0:
            return [part.strip() for part in parts]
        if c == "," and depth == 1:
            parts.append("")
        elif not (c == "(" and depth == 1):
            parts[-1] += c
        at += 1


def calls(path, name):
    text = re.sub(r"(?m)^#.*(\\\n.*)*$", "", without_comments(read(path)))
    for match in re.finditer(r"\b" + name + r"(?=\()", text):
        yield text, arguments(text, match.end())


def text_of(literal):
    """A message as a reader sees it: no line end, no blanks around it."""
    return joined(literal).replace("\\n", "").replace("\\t", " ").strip()


def library_messages(folder):
    """(traces, reports): traces is a set of texts, reports maps a text to the functions that report
    it. A report whose function is handed on by a helper counts for each caller of the helper."""
    traces, reports = set(), {}
    for path in sorted(glob.glob(folder + "/**/*.cpp", recursive=True)):
        for _, given in calls(path, "TRACE"):
            traces.add(text_of(given[0]))
        for text, given in calls(path, "REPORT"):
            named = [joined(given[0])]
            if not given[0].startswith('"'):
                named = re.findall(r'\w+\("(varn_\w+)", arg', text)
            reports.setdefault(text_of(given[1]), set()).update(named)
    return traces, reports


def rules_of_misuse(folder):
    text = read(folder + "/varn/misuse.h") + read(folder + "/varn/misuse.cpp")
    return set(re.findall(r'"(rule \d: [^"]*)"', text))


def service_messages(folder):
    """What the service says on standard error: formats, and its reasons for ending."""
    found = set()
    for path in sorted(glob.glob(folder + "/*.cpp")):
        text = without_comments(read(path))
        for _, given in calls(path, "std::fprintf"):
            if given[0] == "stderr" and text_of(given[1]) != "varn-deviced: %s":
                found.add(text_of(given[1]).removeprefix("varn-deviced: "))
        if path.endswith(("listener.cpp", "main.cpp", "kernel_source.cpp")):
            for pattern in (r'because\(("[^"]*")', r'reason = (?:path_ \+ )?("[^"]*")',
                            r'fail\(cannot_run, ("[^"]*")', r'return ("cannot [^"]*")',
                            r'return std::string\(("[^"]*")\)'):
                found.update(text_of(each) for each in re.findall(pattern, text))
    return found


def reasons_of_loss(folder):
    found = set()
    for path in sorted(glob.glob(folder + "/*.cpp")):
        for match in re.finditer(r'\blose\(("[^"]*")', read(path)):
            found.add(text_of(match.group(1)))
    return found


def printed_words(folder):
    """The words between the values of the dumps."""
    found = set()
    for path in sorted(glob.glob(folder + "/**/*.cpp", recursive=True)):
        for _, given in calls(path, "PRINT"):
            text = re.sub(r"0x|%[0-9]*l*[a-z]|\\[nt]", " ", joined(given[1]))
            found.update(re.findall(r"[A-Za-z][\w-]*\w", text))
    return found


def statistics_labels(folder):
    text = read(folder + "/varn/statistics.cpp")
    return {label.split(":")[0].strip()
            for label in re.findall(r'(?:of_slot\(|of_vlan\(|\{)"([^"]*:)\\t%llu\\t"', text)}


def deliberate_markers(paths):
    """file -> how many lines say Deliberate."""
    counts = {path: read(path).count("Deliberate:") for path in paths}
    return {path: count for path, count in counts.items() if count}
