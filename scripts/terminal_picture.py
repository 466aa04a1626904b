#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws what stands on a terminal as an SVG: text in, picture out.

    tmux capture-pane -e -p | scripts/terminal_picture.py --title 'varnsh top' > top.svg

Of the terminal's sequences it knows colours and bold (those that varnsh prints); all others are
left out.
"""
import argparse
import html
import re
import sys

CHARACTER_WIDTH, LINE_HEIGHT, MARGIN, TITLE_HEIGHT = 8.4, 18, 14, 28
BACKGROUND, TITLE_BACKGROUND, PLAIN = "#16181d", "#23262e", "#d7dae0"
COLOURS = {31: "#f2777a", 32: "#99cc99", 33: "#ffcc66"}


def pieces(line):
    """The stretches of a line that look alike: column, text, colour, bold."""
    colour, bold, column = PLAIN, False, 0
    for part in re.split(r"(\x1b\[[0-9;?]*[A-Za-z])", line):
        if not part.startswith("\x1b"):
            if part:
                yield column, part, colour, bold
            column += len(part)
            continue
        if not part.endswith("m"):
            continue
        for code in [int(number or 0) for number in part[2:-1].split(";")]:
            if code == 0:
                colour, bold = PLAIN, False
            elif code == 1:
                bold = True
            elif code == 22:
                bold = False
            elif code == 39:
                colour = PLAIN
            elif code in COLOURS:
                colour = COLOURS[code]


def words(text):
    """The words of a stretch, each at its own column: no viewer's idea of a blank moves them."""
    return [(match.start(), match.group()) for match in re.finditer(r"\S+", text)]


def carried(lines):
    """A capture says a colour once, also where it goes on in the next line."""
    state = ""
    for line in lines:
        yield state + line
        codes = re.findall(r"\x1b\[[0-9;]*m", line)
        state = "".join([state, *codes])
        state = state[state.rfind("\x1b[0m"):] if "\x1b[0m" in state else state


def picture(lines, title):
    shown = [re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", line) for line in lines]
    width = round(max(map(len, shown)) * CHARACTER_WIDTH + 2 * MARGIN)
    height = len(lines) * LINE_HEIGHT + 2 * MARGIN + TITLE_HEIGHT
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
           f'viewBox="0 0 {width} {height}" role="img" aria-label="{html.escape(title)}">')
    yield f'<rect width="{width}" height="{height}" rx="8" fill="{BACKGROUND}"/>'
    yield f'<path d="M0 {TITLE_HEIGHT}V8a8 8 0 0 1 8-8H{width - 8}a8 8 0 0 1 8 8V{TITLE_HEIGHT}z" ' \
          f'fill="{TITLE_BACKGROUND}"/>'
    yield ('<g font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="14" '
           'xml:space="preserve">')
    yield f'<text x="{MARGIN}" y="19" fill="{PLAIN}" opacity="0.7">{html.escape(title)}</text>'
    for row, line in enumerate(carried(lines)):
        baseline = TITLE_HEIGHT + MARGIN + (row + 1) * LINE_HEIGHT - 5
        for column, text, colour, bold in pieces(line):
            for offset, word in words(text):
                x = MARGIN + (column + offset) * CHARACTER_WIDTH
                length = len(word) * CHARACTER_WIDTH
                weight = ' font-weight="bold"' if bold else ""
                yield (f'<text x="{x:.1f}" y="{baseline}" fill="{colour}"{weight} '
                       f'textLength="{length:.1f}" lengthAdjust="spacingAndGlyphs">'
                       f'{html.escape(word)}</text>')
    yield "</g>"
    yield "</svg>"


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--title", default="varnsh")
    chosen = options.parse_args()
    lines = sys.stdin.read().rstrip("\n").split("\n")
    while lines and not lines[-1].strip():
        lines.pop()
    if not lines:
        sys.exit("terminal_picture.py: nothing to draw on standard input")
    print("\n".join(picture(lines, chosen.title)))


main()
