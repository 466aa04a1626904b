#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Gives Doxygen a header whose comments it understands; docs/Doxyfile names it as the input filter.

The headers are written for a reader of the header. This is how their comments are taken:

  - the comment at the top is the file's; "Parameters" in it heads a list of what a parameter of that
    name is, wherever a function's own comment has no such line
  - /* ---- Title ---- */ begins a group, and a comment of nobody's behind it describes the group
  - a comment belongs to all declarations below it up to a blank line or the next comment; one
    behind a declaration belongs to that one and comes first
  - inside a record a comment above several members heads them; its lines of a name and a text
    belong to the members of those names
  - "  name  text" is a parameter, a member or an item; "  1. text" an item
  - a sentence that begins with a number, Gives, Returns, Whether, Null or Always says what a function
    returns; without one, the first sentence does

What has no text is handed on without a comment, so that Doxygen complains.
usage: doxygen_filter.py HEADER    to standard output; --missing: fails for members without a text"""
import copy
import glob
import re
import sys

HEADERS = ["routing-sw/libs/varn/varn.h", "device/client/varn_device.h", *glob.glob("platform/*.h")]
ITEM = re.compile(r"^  +(\w+(?:, \w+)*,?)  +(\S.*)$")
NEXT_NAMES = re.compile(r"^  +(\w+(?:, \w+)*,?)(?:  +(\S.*))?$")
NUMBERED = re.compile(r"^ +\d+\. +(\S.*)$")
RESULT = re.compile(r"^(?:-?\d|0x|Gives |Returns |Whether |Null\b|Always |VARN_)|\b(?:the result is|returns \d)")


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def known_names():
    """What a text may be linked to: functions, types and macros of all headers."""
    text = "".join(map(read, HEADERS))
    names = set(re.findall(r"(?m)^[\w* ]*?\b(\w+)\((?!\*)[^;{]*\);", text))
    for pattern in (r"^#define (\w+)[ (]", r"^    (\w+) =", r"^} (\w+);"):
        names |= set(re.findall("(?m)" + pattern, text))
    return {name for name in names if "_" in name and not name.endswith("_H")}


KNOWN = known_names()


def marked_up(text):
    text = re.sub(r"([\\@<>#%&])", r"\\\1", text)
    text = re.sub(r"`([^`]+)`", r"<tt>\1</tt>", text)
    text = re.sub(r"(?<![\w*])\*([a-z]+)\*", r"<em>\1</em>", text)
    return re.sub(r"(?<![\w\"#.])(\w+)\b(\(?)(?!\*)", link, text)


def link(match):
    name, bracket = match.groups()
    if name not in KNOWN:
        return match.group()
    return f'\\ref {name} "{name}"{bracket}' if bracket else "#" + name


def sentences(paragraph):
    return [part for part in re.split(r"(?<=\.) (?=[A-Z0-9*-])", paragraph) if part]


class Text:
    """A comment: paragraphs of prose, and its items by name."""

    def __init__(self, lines):
        self.blocks, self.items, self.parameters = [], {}, {}
        self.parse(lines)
        self.sort_items()

    def parse(self, lines):
        block = None
        for line in [*lines, ""]:
            item, numbered = ITEM.match(line), NUMBERED.match(line)
            if not line.strip():
                block = None
            elif block and block[-1].endswith(",") and block[0] == "item" and (
                    names := NEXT_NAMES.match(line)):
                block[2] += " " + names.group(1)
                block[1] += " " + names.group(2) if names.group(2) else ""
            elif item:
                block = ["item", item.group(2), item.group(1)]
                self.blocks.append(block)
            elif numbered:
                block = ["number", numbered.group(1)]
                self.blocks.append(block)
            elif block and (block[0] == "prose" or line.startswith("   ")):
                block[1] += " " + line.strip()
            else:
                block = ["prose", line.strip()]
                self.blocks.append(block)

    def sort_items(self):
        to = self.items
        for kind, text, *names in self.blocks:
            if kind == "prose":
                to = self.parameters if text.startswith("Parameters") else self.items
            elif kind == "item":
                to |= {name: text for name in names[0].split(", ")}

    def leave_out(self, sentence):
        """Out of the prose, where something stays behind."""
        for block in self.blocks:
            if block[0] == "prose" and sentence in block[1]:
                block[1] = block[1].replace(sentence, "").strip()
        self.blocks = [block for block in self.blocks if block[1]]

    def prose(self):
        return [block[1] for block in self.blocks if block[0] == "prose"]

    def rendered(self, without=(), headings=False):
        """Lines for Doxygen, but for the items of these names."""
        out, inside = [], ""
        for kind, text, *name in self.blocks:
            if kind == "item" and set(name[0].split(", ")) & set(without):
                continue
            if inside == "item" and kind != "item":
                out.append("</dl>")
            if kind == "item" and inside != "item":
                out.append("<dl>")
            if kind == "item":
                out.append(f"<dt><tt>{marked_up(name[0])}</tt></dt><dd>{marked_up(text)}</dd>")
            elif kind == "number":
                out.append(f"-# {marked_up(text)}")
            else:
                out += ["", headings and heading(text) or marked_up(text)]
            inside = kind
        return out + (["</dl>"] if inside == "item" else [])


def heading(text):
    """A short line without a full stop divides an essay."""
    return f"@par {marked_up(text)}" if len(text) < 60 and not re.search(r"[.:;,]$", text) else ""


def comment(lines):
    return ["/**", *[" * " + line for line in lines], " */"]


def parameters(declaration):
    """name -> whether the function writes there."""
    inside = re.search(r"\w+\(([^()]*)\)", declaration).group(1)
    parts = [] if inside in ("void", "") else inside.split(", ")
    output = re.compile(r"(?:u?int|vlan_key|varn_vlan_info)\w* \*")
    return {re.search(r"\w+$", part).group(): bool(output.match(part)) for part in parts}


def parameter_line(name, about, is_output):
    if is_output and not re.match(r"place for|takes", about):
        about = "place for the " + about
    return f"@param{'[out]' if is_output else ''} {name} {marked_up(about)}"


def is_function(declaration):
    return bool(re.match(r"^(?!typedef|#)[\w* ]+?\w+\([^()*]*(?:\*+[^()]*)?\)", declaration) and
                declaration.endswith(";"))


def result_of(text):
    """(the sentence that tells the result, or "", and the first one). It leaves the text, unless it is
    the first: that one says in short what the function is."""
    told = [each for paragraph in text.prose() for each in sentences(paragraph)]
    telling = next((each for each in told if RESULT.search(each)), "")
    if telling and telling != told[0]:
        text.leave_out(telling)
    return telling, told[0] if told else ""


def function_lines(declaration, texts, glossary):
    names, own, texts = parameters(declaration), {}, copy.deepcopy(texts)
    for text in reversed(texts):
        own |= text.items
    result = []
    if not re.match(r"void \w", declaration):
        results = [result_of(text) for text in texts]
        told = next((telling for telling, _ in results if telling), results[0][1])
        result = ["@return " + marked_up(re.sub(r"^(?:Gives|Returns) ", "", told))]
    lines = [line for text in texts for line in ["", *text.rendered(names)]]
    for name, is_output in names.items():
        about = own.get(name) or glossary.get(name)
        lines += [parameter_line(name, about, is_output)] if about else []
    return lines + result


def parameters_of_macro(declaration, texts):
    inside = re.match(r"#define \w+\(([\w, ]+)\)", declaration)
    own = {}
    for text in texts:
        own |= text.items
    names = inside.group(1).split(", ") if inside else []
    return [f"@param {name} {marked_up(own[name])}" for name in names if name in own]


def documented(declaration, texts, glossary):
    texts = [text for text in texts if text]
    if not texts:
        return [declaration]
    if is_function(declaration):
        return comment(function_lines(declaration, texts, glossary)) + [declaration]
    lines = [line for text in texts for line in ["", *text.rendered()]]
    return comment(lines + parameters_of_macro(declaration, texts)) + [declaration]


# ---- The lines of a header


def without_layout(text):
    """What is there for the compiler alone."""
    text = re.sub(r"(?s)/\* ---- The layout, pinned.*?#undef VARN_ASSERT\n", "", text)
    text = re.sub(r"(?m)^(?:_S|s)tatic_assert\(.*\n", "", text)
    text = re.sub(r"(?m)^struct \w+;\n", "", text)
    text = re.sub(r" ?__attribute__\(\([^()]*(?:\([^()]*\))?\)\)", "", text)
    return re.sub(r"(?m)^#pragma .*\n|^/\* SPDX.*\n", "", text)


class Reader:
    """Gives the pieces of a header in turn: ("comment", lines), ("code", statement, trailing lines),
    ("blank",)."""

    def __init__(self, text):
        self.lines = text.split("\n")
        self.at = 0

    def rest_of_comment(self, first):
        lines = [first]
        while "*/" not in lines[-1]:
            self.at += 1
            lines.append(self.lines[self.at])
        stripped = [re.sub(r"^\s*\*(?!/) ?", "", line) for line in lines[1:]]
        whole = [lines[0], *stripped]
        whole[-1] = re.sub(r"\s*\*?\*/.*$", "", whole[-1])
        return [line.rstrip() for line in whole]

    def statement(self):
        code, trailing = "", []
        while True:
            line = self.lines[self.at].strip()
            found = re.match(r"(.*?)\s*/\*\s?(.*)$", line)
            if found:
                line = found.group(1)
                trailing += [part.strip() for part in self.rest_of_comment(found.group(2))]
            code = f"{code} {line}".strip()
            self.at += 1
            if code.startswith("#") and not code.endswith("\\") or code[-1:] in ";{},":
                if code[-1] != "," or code.count("(") == code.count(")"):
                    return code, trailing
            elif re.match(r"\w+ = \w+$", code) or code in ("}", ""):
                return code, trailing

    def pieces(self):
        while self.at < len(self.lines):
            line = self.lines[self.at].strip()
            if not line:
                self.at += 1
                yield ("blank",)
            elif line.startswith("/*"):
                lines = self.rest_of_comment(line[2:].lstrip("*").lstrip(" "))
                self.at += 1
                yield "comment", lines
            else:
                yield "code", *self.statement()


class Writer:
    def __init__(self, path):
        self.path, self.out, self.missing = path, [], []
        self.glossary = {}      # parameter -> what it is
        self.group = None       # the title of the group that is open
        self.waiting = None     # that of one which has not been written
        self.above = None       # the comment over what follows
        self.is_behind_code = False
        self.is_inside = False  # of a record or an enumeration
        self.members = []       # of it, since the last blank line or comment

    def essay(self, lines):
        name = self.path.rsplit("/", 1)[-1]
        text = Text([line.removeprefix(name + ": ") for line in lines])
        self.glossary = text.parameters
        self.out += comment([f"@file {name}", *text.rendered(headings=True)])

    def open_group(self, title, text=None):
        self.close_group()
        self.group = title
        self.out += comment([f"@name {title}", *(text.rendered() if text else [])]) + ["/** @{ */"]

    def close_group(self):
        if self.group is not None:
            self.out += ["/** @} */"]
        self.group = None

    def settle(self, text=None):
        if self.waiting is not None:
            self.open_group(self.waiting, text)
        self.waiting = None

    def file_level(self, piece):
        if piece[0] == "comment":
            title = re.match(r"---- (.*?) -+$", piece[1][0])
            if title:
                self.settle()
                self.waiting = title.group(1)
            else:
                self.above = Text(piece[1])
        elif piece[0] == "blank":
            if self.above and self.waiting and not self.is_behind_code:
                self.settle(self.above)
            self.above = None
        else:
            self.settle()
            self.code(piece[1], piece[2])
        self.is_behind_code = piece[0] == "code"

    def code(self, statement, trailing):
        if statement.startswith("#") and not re.match(r"#define \w+(\([\w, ]*\))? +\S", statement):
            self.out.append(statement)
            return
        texts = [Text(trailing) if trailing else None, self.above]
        if statement.startswith("extern \"C\"") or statement == "}":
            self.out.append(statement)
        else:
            self.out += documented(statement, texts, self.glossary)
            if statement.endswith("{"):
                self.is_inside, self.members, self.above = True, [], None

    # ---- Inside a record or an enumeration

    def inside(self, piece):
        if piece[0] == "code" and piece[1].startswith("}"):
            self.write_members()
            self.out.append(piece[1])
            self.is_inside, self.above = False, None
        elif piece[0] == "code":
            self.members.append(piece[1:])
        elif piece[0] == "comment":
            self.write_members()
            self.above = Text(piece[1])
        else:
            self.write_members()
            self.above = None

    def write_members(self):
        above, members, self.members = self.above, self.members, []
        declared = [member for member in members if not member[0].startswith("#")]
        if above and not members:
            self.out += comment([f"@name {above.prose()[0]}"]) if above.prose() else []
        elif above and len(declared) > 1:
            named = [re.search(r"(\w+)(?:\[\w+\])?;$", each[0]) for each in declared]
            names = [found.group(1) for found in named if found] + list(above.items)
            first, *rest = sentences(above.prose()[0]) if above.prose() else ["", ""]
            self.out += comment([f"@name {marked_up(first.rstrip('.:'))}", "",
                                 marked_up(" ".join(rest)), *above.rendered(names)[2:]])
            self.out += ["/** @{ */"]
        for statement, trailing in members:
            self.member(statement, trailing, above, alone=len(declared) == 1)
        if above and len(declared) > 1:
            self.out += ["/** @} */"]

    def member(self, statement, trailing, above, alone):
        if statement.startswith("#"):
            self.out.append(statement)
            return
        kind, flags = re.match(r"(?:(\w+) )?(.*)$", statement).groups()
        parts = [statement]
        if re.match(r"\w+ : \d", flags):
            parts = [f"{kind} {part.strip()};" for part in flags.rstrip(";").split(",")]
        for part in parts:
            name = re.search(r"\(\*(\w+)\)|^(\w+) =|(\w+)(?: : \d+|\[[^\]]*\])?;$", part)
            name = next(filter(None, name.groups()))
            texts = [Text(trailing)] if trailing else []
            if above and name in above.items:
                texts.append(Text([above.items[name]]))
            elif above and alone:
                texts.append(above)
            elif re.match(r"reserved_?\d*$|unused_", name):
                texts.append(Text(["Not read."]))
            if not texts:
                self.missing.append(f"{self.path}: {name} has no text")
            self.out += documented(part, texts, {})

    def write(self):
        reader = Reader(without_layout(read(self.path)))
        pieces = reader.pieces()
        for piece in pieces:
            if piece[0] == "comment":
                self.essay(piece[1])
                break
        for piece in pieces:
            (self.inside if self.is_inside else self.file_level)(piece)
        self.close_group()
        return "\n".join(self.out) + "\n"


def missing_members():
    """Doxygen does not look at the values of an enumeration."""
    for path in HEADERS:
        writer = Writer(path)
        writer.write()
        yield from writer.missing


if __name__ == "__main__":
    if sys.argv[1] == "--missing":
        wrong = list(missing_members())
        print(*wrong, sep="\n", end="\n" if wrong else "", file=sys.stderr)
        sys.exit(1 if wrong else 0)
    sys.stdout.write(Writer(sys.argv[1]).write())
