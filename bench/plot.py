#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws hits.svg and growth.svg from results.json. usage: plot.py FOLDER"""
import json
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams["svg.hashsalt"] = "varn"
import matplotlib.pyplot as plot  # noqa: E402

import tables  # noqa: E402

BARS = ("#4c78a8", "#f58518")
LINES = (tables.LIBRARY, "bare_array", "boost_intrusive", "absl_flat_hash_map", "std_unordered_map", "callback_table")


def draw_hits(run, folder):
    sizes = (1024, run.sizes[-1])
    subjects = list(reversed(run.subjects()))
    figure, axes = plot.subplots(figsize=(9, 5.2), constrained_layout=True)
    for at, size in enumerate(sizes):
        values = [run.ns(size, f"random/{subject}") for subject in subjects]
        places = [index + 0.2 - 0.4 * at for index in range(len(subjects))]
        bars = axes.barh(places, values, height=0.38, color=BARS[at], label=f"{size} interfaces")
        axes.bar_label(bars, [tables.time_of(value) for value in values], padding=3, fontsize=8)
    axes.set_xscale("log")
    axes.set_xlim(right=axes.get_xlim()[1] * 3)
    axes.set_yticks(range(len(subjects)), [tables.SUBJECTS[subject] for subject in subjects])
    axes.set_xlabel("one question about a random interface, ns (logarithmic)")
    axes.legend(loc="upper right")
    axes.spines[["top", "right"]].set_visible(False)
    figure.savefig(folder / "hits.svg", metadata={"Date": None})


def draw_growth(run, folder):
    figure, sides = plot.subplots(1, 2, figsize=(10, 4.4), constrained_layout=True)
    for axes, pattern in zip(sides, ("random", "dependent")):
        for subject in LINES:
            values = [run.ns(size, f"{pattern}/{subject}") for size in run.sizes]
            if None in values:
                continue
            width = 2.6 if subject == tables.LIBRARY else 1.3
            axes.plot(run.sizes, values, marker="o", markersize=4, linewidth=width, label=tables.SUBJECTS[subject])
        axes.set_xscale("log", base=2)
        axes.set_xticks(run.sizes, [str(size) for size in run.sizes], fontsize=8, rotation=45)
        axes.set_ylim(bottom=0)
        axes.set_xlabel("interfaces")
        axes.set_ylabel("ns a question")
        axes.set_title(tables.PATTERNS[pattern])
        axes.spines[["top", "right"]].set_visible(False)
    sides[0].legend(fontsize=8)
    figure.savefig(folder / "growth.svg", metadata={"Date": None})


def main():
    folder = pathlib.Path(sys.argv[1])
    run = tables.Run(json.loads((folder / "results.json").read_text(encoding="utf-8")))
    draw_hits(run, folder)
    draw_growth(run, folder)


if __name__ == "__main__":
    main()
