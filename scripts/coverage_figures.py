#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints line, branch and MC/DC coverage from an export of llvm-cov and fails below 100 %.

A template counts by its best covered instantiation, which is how llvm-cov sums it up. A file of places
left out has one a line: "file:line kind reason", kind being line or branch; at most five.

usage: coverage_figures.py EXPORT.json LEFT_OUT [--show]
"""
import json
import pathlib
import sys

MOST_LEFT_OUT = 5


def left_out(path):
    if not path.exists():
        return []
    rows = [row.split(None, 2) for row in path.read_text().splitlines()
            if row.strip() and not row.startswith("#")]
    if any(len(row) < 3 or row[1] not in ("line", "branch") for row in rows):
        sys.exit(f"{path}: a row is 'file:line kind reason'")
    if len(rows) > MOST_LEFT_OUT:
        sys.exit(f"{path}: {len(rows)} places left out, {MOST_LEFT_OUT} are allowed")
    return rows


def uncovered_lines(file):
    """Lines whose segments say that code stands there and never ran."""
    for line, _, count, has_count, is_entry, is_gap in file["segments"]:
        if has_count and is_entry and not is_gap and count == 0:
            yield line


def main():
    data = json.loads(pathlib.Path(sys.argv[1]).read_text())["data"][0]
    rows = left_out(pathlib.Path(sys.argv[2]))
    allowed = {"lines": 0, "branches": 0}
    for _, kind, _ in rows:
        allowed["lines" if kind == "line" else "branches"] += 1
    ok = True
    for kind, name in (("lines", "line"), ("branches", "branch"), ("mcdc", "MC/DC")):
        total = data["totals"][kind]
        missing = total["count"] - total["covered"] - allowed.get(kind, 0)
        share = 100 * (total["count"] - max(missing, 0)) / total["count"]
        ok &= missing <= 0 and total["count"] > 0
        print(f"{name} coverage: {share:.2f} %  ({total['covered']} of {total['count']})")
    print(f"places left out: {len(rows)}")
    if not ok or "--show" in sys.argv:
        for file in data["files"]:
            for line in sorted(set(uncovered_lines(file))):
                print(f"  {file['filename']}:{line}: code that no test runs")
            for kind in ("lines", "branches", "mcdc"):
                part = file["summary"][kind]
                if part["covered"] != part["count"]:
                    print(f"  {file['filename']}: {kind} {part['covered']} of {part['count']}")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
