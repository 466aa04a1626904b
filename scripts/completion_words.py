# SPDX-License-Identifier: Apache-2.0
"""What can be typed behind the name of each program, read off what the programs print: --help, varnsh's help,
the schema of inventories, and what is said to a wrong word. There is no second list of any of it."""
import json
import os
import re
import subprocess
from dataclasses import dataclass, field

# Where each is in a build folder.
PROGRAMS = {"varnsh": "shell", "varnctl": "device/control", "varn-deviced": "device/service"}
MOST_PLACES = 12  # words behind a command that are thought of


@dataclass
class Value:
    """What an option or a place takes: some of these words, a file, or what nobody can guess."""
    words: list = field(default_factory=list)
    files: bool = False


@dataclass
class Option:
    flags: list
    value: Value  # None: it takes nothing
    meaning: str


@dataclass
class Program:
    name: str
    options: list
    commands: list  # (word, meaning)
    places: dict    # (command, which word, the command's own is 1) -> Value


def said(build, name, *arguments):
    """Both outputs: a refusal is read as well."""
    path = os.path.join(build, PROGRAMS[name], name)
    run = subprocess.run([path, *arguments], capture_output=True, text=True, check=False)
    return run.stdout + run.stderr


def options(text, values):
    """The lines below `Options:`; the meaning of a long one stands on the next line."""
    block = re.search(r"(?ms)^Options:\n(.*?)(?=^\n|\Z)", text).group(1)
    found = []
    for line in re.sub(r"\n {20,}", "  ", block).splitlines():
        flags, takes, meaning = re.match(
            r" +(-[\w,-]+) *((?:TEXT|U?INT)\S*(?: in \[[^]]*\]\S*)?)? *(.*)", line).groups()
        names = flags.split(",")
        found.append(Option(names, values.get(names[-1], Value()) if takes else None, meaning))
    return found


def value_of(token, lists):
    if token in lists:
        return Value(words=lists[token])
    if token == "FILE":
        return Value(files=True)
    return Value(words=[word for word in token.split("|") if word.islower()])


def tokens_of(usage):
    """The places of a usage behind its command, options taken out. What may be repeated is, often."""
    plain = re.sub(r"\[--?[^]]*\]", "", usage).split()[1:]
    if plain and plain[-1].endswith("..."):
        plain = plain[:-2] + plain[-2:] * MOST_PLACES
    return [token.rstrip(".") for token in plain[:MOST_PLACES - 1]]


def places(command, usage, lists):
    found = {}
    for alternative in usage.split(" | "):
        for at, token in enumerate(tokens_of(alternative), start=2):
            value = value_of(token.strip("[]"), lists)
            if value.words or value.files:
                known = found.setdefault((command, at), Value())
                known.words += [word for word in value.words if word not in known.words]
                known.files = known.files or value.files
    return found


def control(build):
    help_text = said(build, "varnctl", "--help")
    schema = json.loads(said(build, "varn-deviced", "--schema"))["$defs"]
    fields = {kind: [name for name in schema[kind]["properties"] if name not in ("id", "range", "private")]
              for kind in ("interface", "vlan")}
    types = schema["interface"]["properties"]["type"]["enum"]
    refused = said(build, "varnctl", "history", "--level", "?")
    levels = re.search(r"must be one of ([^\"]*), and is", refused).group(1).split(", ")
    values = {"--socket": Value(files=True), "--level": Value(words=levels)}
    commands, all_places = [], {}
    block = help_text[help_text.index("Commands:\n"):]
    for usage, meaning in re.findall(r"(?m)^  (\S.*)\n {6}(.*)", block):
        word = usage.split()[0]
        commands.append((word, meaning))
        kind = "vlan" if word == "vlan" else "interface"
        all_places |= places(word, usage, {"TYPE": types, "FIELD": fields[kind]})
    return Program("varnctl", options(help_text, values), commands, all_places)


def phrases(text):
    """Commands of varnsh as -c takes them: alone, and with each word that may stand first behind them."""
    lists = {name: re.search(rf"{name} is one of:\n(.*)", text).group(1).split()
             for name in ("WHAT", "ATTRIBUTE")}
    found = []
    for line in text[:text.index("\n\n")].splitlines():
        usage = line[:re.search(r"  +", line).start()]
        name = usage.split()[0]
        if name.startswith("!"):
            continue
        found.append(name)
        for token in tokens_of(usage):
            found += [f"{name} {word}" for word in value_of(token.strip("[]"), lists).words]
            if not token.startswith("["):
                break
    return found


def shell(build):
    values = {"-c": Value(words=phrases(said(build, "varnsh", "-c", "help"))), "--socket": Value(files=True)}
    return Program("varnsh", options(said(build, "varnsh", "--help"), values), [], {})


def service(build):
    values = {"--socket": Value(files=True), "--source": Value(words=["kernel"], files=True)}
    return Program("varn-deviced", options(said(build, "varn-deviced", "--help"), values), [], {})


def programs(build):
    return [shell(build), control(build), service(build)]
