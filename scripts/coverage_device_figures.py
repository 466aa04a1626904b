#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints line and branch coverage of the device and the shell from an export of llvm-cov; fails below the goals.

A template counts by its best covered instantiation, which is how llvm-cov sums it up. Headers of others are
not in the export.

usage: coverage_device_figures.py EXPORT.json ROOT [--show]
"""
import json
import pathlib
import sys

GOALS = {"line": 95.0, "branch": 85.0}


def folder_of(name):
    parts = pathlib.PurePath(name).parts
    return "/".join(parts[:2]) if parts[0] == "device" else parts[0]


def sums(files):
    """{"line": (covered, of), "branch": (covered, of)}"""
    return {kind: tuple(sum(file["summary"][part][what] for file in files.values())
                        for what in ("covered", "count"))
            for kind, part in (("line", "lines"), ("branch", "branches"))}


def share(covered, count):
    return 100 * covered / count if count else 100.0


def in_words(figures):
    return "  ".join(f"{kind} {share(*figure):5.1f} % ({figure[0]} of {figure[1]})"
                     for kind, figure in figures.items())


def unrun_lines(file):
    """Lines whose segments say that code stands there and never ran."""
    for line, _, count, has_count, is_entry, is_gap in file["segments"]:
        if has_count and is_entry and not is_gap and count == 0:
            yield line


def one_way_conditions(file):
    """(line, column, the way that it never goes), all instantiations taken together."""
    ways = {}
    for line, column, _, _, taken, passed, *_ in file["branches"]:
        known = ways.setdefault((line, column), [0, 0])
        known[0] += taken
        known[1] += passed
    for (line, column), counts in sorted(ways.items()):
        for count, way in zip(counts, ("true", "false")):
            if count == 0:
                yield line, column, way


def show(files):
    for folder in sorted({folder_of(name) for name in files}):
        print(f"{folder:20} "
              + in_words(sums({name: file for name, file in files.items() if folder_of(name) == folder})))
    for name, file in sorted(files.items()):
        print(f"{name}: {in_words(sums({name: file}))}")
        for line in sorted(set(unrun_lines(file))):
            print(f"  {name}:{line}: code that no test runs")
        for line, column, way in one_way_conditions(file):
            print(f"  {name}:{line}:{column}: a condition that is never {way}")


def main():
    root = pathlib.Path(sys.argv[2])
    data = json.loads(pathlib.Path(sys.argv[1]).read_text())["data"][0]
    files = {str(pathlib.Path(file["filename"]).relative_to(root)): file for file in data["files"]}
    if "--show" in sys.argv:
        show(files)
    figures = sums(files)
    for kind, figure in figures.items():
        print(f"{kind} coverage of device and shell: {share(*figure):.1f} %")
    return 0 if files and all(share(*figures[kind]) >= goal for kind, goal in GOALS.items()) else 1


if __name__ == "__main__":
    sys.exit(main())
