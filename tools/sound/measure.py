#!/usr/bin/python3
"""Measures how a build sounds, and writes docs/sound.csv, the tables of docs/sound.md and
docs/listening.png.

    tools/sound/measure.py BUILD-DIRECTORY [FIGURE]...

Without a figure, all of them; the others in the file stay as they are.
"""

import csv
import pathlib
import re
import sys
import tempfile

import listening
from figures import FIGURES
from subject import Subject

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
LISTENING = "listening"


def read_rows():
    """The rows of every figure, with columns that are empty left out."""
    try:
        with open(DOCS / "sound.csv", newline="") as file:
            cells = list(csv.DictReader(file))
    except FileNotFoundError:
        return {}
    figures = {}
    for cell in cells:
        rows = figures.setdefault(cell["figure"], [])
        if int(cell["row"]) == len(rows):
            rows.append({})
        rows[-1][cell["column"]] = cell["value"]
    return figures


def write_rows(figures):
    with open(DOCS / "sound.csv", "w", newline="") as file:
        out = csv.writer(file, lineterminator="\n")
        out.writerow(["figure", "row", "column", "value"])
        for name in FIGURES:
            for number, row in enumerate(figures.get(name, [])):
                out.writerows([name, number, *cell] for cell in row.items())


def text_of(value):
    return str(value) if isinstance(value, (str, int)) else f"{value:.4g}"


def shown(row, column):
    value = row[column]
    if column != "wanted" or not value:
        return value
    bound, limit = value.rsplit(" ", 1)
    now = float(row["now"])
    met = now <= float(limit) if bound == "at most" else now >= float(limit)
    return f"{value}: " + ("met" if met else "**missed**")


def table(rows):
    columns = list(rows[0])
    lines = [columns, ["---"] * len(columns)]
    lines += [[shown(row, column) for column in columns] for row in rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def fill(text, mark, content):
    pattern = rf"(<!-- {mark} -->\n).*?(<!-- end -->)"
    if not re.search(pattern, text, re.S):
        sys.exit(f"measure: docs/sound.md has no mark for {mark}")
    return re.sub(pattern, lambda m: m[1] + content + "\n" + m[2], text, flags=re.S)


def main(build, *names):
    unknown = set(names) - {*FIGURES, LISTENING}
    if unknown:
        sys.exit(f"measure: no figure {', '.join(unknown)}; there are "
                 f"{', '.join([*FIGURES, LISTENING])}")
    figures = read_rows()
    with tempfile.TemporaryDirectory() as folder:
        subject = Subject(build, folder)
        for name in [name for name in FIGURES if not names or name in names]:
            rows = FIGURES[name](subject)
            figures[name] = [{c: text_of(v) for c, v in row.items()} for row in rows]
            print(f"{name}\n{table(figures[name])}\n", flush=True)
        if not names or LISTENING in names:
            listening.draw(subject, DOCS / "listening.png")
    write_rows(figures)
    page = DOCS / "sound.md"
    text = page.read_text()
    for name, rows in figures.items():
        text = fill(text, name, table(rows))
    page.write_text(text)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(*sys.argv[1:])
