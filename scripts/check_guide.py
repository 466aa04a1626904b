#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""docs/guide.md does what it says: its listings are written, its commands are run in their order, and
what they print is compared with what is shown.

How the guide is read:
  ```c NAME        a listing (also cpp, cmake): written as NAME where the reader stands. The text before
                   it has the name. One that is a file of examples/ or shell/ must equal it.
  ```console       a line with "$ " is a command, ended by a line without a backslash at its end; what
                   follows is what it prints, errors too. Its status must be 0.
  ```sh            not run, because it builds or installs what the check is given: only commands of
                   SAID are allowed, and what they name must exist.
In what is shown, "…" stands for any text of one line, and a line of it alone for any lines.

The reader starts at the top of the sources, in an empty home directory. The sources are this tree, and
build/release is the build that was given.
usage: check_guide.py BUILD"""
import glob
import os
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

GUIDE = "docs/guide.md"
SAID = re.compile(r"\./run (\w+)$|sudo apt install \./build/deb/\*\.deb$|"
                  r"sudo adduser \"\$USER\" varn$")
PATIENCE = 60  # seconds for one command


class Wrong(Exception):
    pass


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def blocks(lines):
    """(line number, words behind the fence, lines) of each fenced block."""
    number = 0
    while number < len(lines):
        if lines[number].startswith("```"):
            end = lines.index("```", number + 1)
            yield number + 1, lines[number][3:].split(), lines[number + 1:end]
            number = end
        number += 1


def commands(first, lines):
    """(line number, command, what it prints) of a console block that begins at that line."""
    found, number = [], 0
    while number < len(lines):
        line = lines[number]
        if line.startswith("$ "):
            at, command = number, line[2:]
            while command.endswith("\\"):
                number += 1
                command = command[:-1] + lines[number].strip()
            found.append((first + 1 + at, command, []))
        elif not found:
            raise Wrong(f"{GUIDE}:{first + 1 + number}: output without a command")
        else:
            found[-1][2].append(line)
        number += 1
    return found


class Shell:
    """A shell that is there from the first command to the last."""

    def __init__(self, home):
        environment = {"HOME": home, "PATH": "/usr/local/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
        self.process = subprocess.Popen(
            ["bash", "--norc", "--noprofile"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, cwd=home + "/libvarn_platform", env=environment,
            start_new_session=True)
        self.run("ulimit -c 0; umask 077")

    def run(self, command):
        """(what it printed, its status, where the shell stands then)."""
        mark = "-end-of-command-"
        text = f"{command}\nprintf '\\n{mark} %s %s\\n' \"$?\" \"$PWD\"\n"
        self.process.stdin.write(text.encode())
        self.process.stdin.flush()
        printed, deadline = b"", time.monotonic() + PATIENCE
        while not (end := re.search(rf"\n{mark} (\d+) (.*)\n".encode(), printed)):
            ready, _, _ = select.select([self.process.stdout], [], [], deadline - time.monotonic())
            more = os.read(self.process.stdout.fileno(), 65536) if ready else b""
            if not more:
                said = printed.decode(errors="replace")
                raise Wrong(f"it {'ended the shell' if ready else 'does not end'}: {said}")
            printed += more
        lines = printed[:end.start()].decode(errors="replace").rstrip("\n")
        return lines.split("\n") if lines else [], int(end.group(1)), end.group(2).decode()

    def end(self):
        try:
            os.killpg(self.process.pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
        self.process.communicate(timeout=PATIENCE)


def pattern(shown):
    """The regular expression that printed text must match."""
    lines = ["(?:.*\n)*?" if line == "…" else ".*?".join(map(re.escape, line.split("…"))) + "\n"
             for line in shown]
    return "".join(lines)


def without_blank_end(lines):
    while lines and not lines[-1].strip():
        lines = lines[:-1]
    return lines


def check_command(shell, command, shown):
    printed, status, folder = shell.run(command)
    printed, shown = without_blank_end(printed), without_blank_end(shown)
    if not re.fullmatch(pattern(shown), "".join(line + "\n" for line in printed)):
        raise Wrong("it prints\n" + "\n".join(printed) + "\nand not\n" + "\n".join(shown))
    if status != 0:
        raise Wrong(f"its status is {status}")
    return folder


def check_listing(folder, name, lines, before):
    source = "\n".join(lines) + "\n"
    if f"`{name}`" not in before:
        raise Wrong(f"the text before it does not have `{name}`")
    for path in glob.glob(f"examples/{name}") + glob.glob(f"shell/{name}"):
        if name != "CMakeLists.txt" and read(path) != source:
            raise Wrong(f"it is not {path}")
    with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
        file.write(source)


def check_said(lines):
    targets = re.findall(r"(?m)^  ([\w-]+) ", re.search(r"(?s)<<'END'\n(.*?)\nEND", read("run")).group(1))
    for line in lines:
        said = SAID.match(line)
        if not said:
            raise Wrong(f"{line!r} is shown and not run")
        if said.group(1) and said.group(1) not in targets:
            raise Wrong(f"there is no ./run {said.group(1)}")


def check_links(text):
    prose = re.sub(r"(?ms)^```.*?^```$", "", text)
    for link in re.findall(r"\]\(([^)#]+)", prose):
        if not os.path.exists(os.path.join("docs", link)):
            raise Wrong(f"{GUIDE}: {link} is not there")


def furnish(home, build):
    """The sources as the reader has them, and the build in its place."""
    tree = home + "/libvarn_platform"
    os.makedirs(tree + "/build")
    for name in os.listdir("."):
        if name not in ("build", ".git"):
            os.symlink(os.path.abspath(name), tree + "/" + name)
    os.symlink(build, tree + "/build/release")


def check(shell, home, lines):
    folder, run = home + "/libvarn_platform", 0
    for number, words, inside in blocks(lines):
        where = f"{GUIDE}:{number}: {' '.join(words)}"
        try:
            if words[:1] == ["console"]:
                for at, command, shown in commands(number, inside):
                    where = f"{GUIDE}:{at}: {command}"
                    folder = check_command(shell, command, shown)
                    run += 1
            elif words[:1] == ["sh"]:
                check_said(inside)
            elif len(words) == 2 and words[0] in ("c", "cpp", "cmake"):
                check_listing(folder, words[1], inside, "\n".join(lines[max(0, number - 8):number]))
            else:
                raise Wrong("what kind of block is it?")
        except Wrong as wrong:
            raise Wrong(f"{where}\n{wrong}") from wrong
    return run


def main():
    build = os.path.abspath(sys.argv[1])
    os.chdir(os.path.dirname(os.path.abspath(__file__)) + "/..")
    home = tempfile.mkdtemp(prefix="guide-")
    shell = None
    try:
        text = read(GUIDE)
        check_links(text)
        furnish(home, build)
        shell = Shell(home)
        run = check(shell, home, text.split("\n"))
        print(f"guide: {run} commands, {text.count('…')} places that may differ")
    except Wrong as wrong:
        print(wrong, file=sys.stderr)
        return 1
    finally:
        if shell:
            shell.end()
        shutil.rmtree(home)
    return 0


if __name__ == "__main__":
    sys.exit(main())
