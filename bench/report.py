#!/usr/bin/env python3
"""Makes the figures of docs/performance.md and of the README's section on speed from the CSV files in
docs: tables between the marks in the texts, two plots, and a verdict per aim on standard output.

    bench/report.py docs README.md
"""
import csv
import pathlib
import re
import subprocess
import sys

# (case, sizes, other, what is compared, {isa: aim}): the aim bounds a ratio of times. Where it is
# "faster", other's time over earshot's must reach it; else earshot's over other's must stay below.
TRANSFORM = {"avx512": 2.5, "avx2": 1.8}
RENDERER = {"avx512": 1.25, "avx2": 1.8}
AIMS = [
    ("real forward", [256], "libavutil", "faster", TRANSFORM),
    ("real inverse", [256], "libavutil", "faster", TRANSFORM),
    ("real forward", [256], "fftw", "time", {"avx512": 1.4, "avx2": 2.0}),
    ("real inverse", [256], "fftw", "time", {"avx512": 1.4, "avx2": 2.0}),
    ("complex forward", [128, 256, 512, 1024], "libavutil", "faster", TRANSFORM),
    ("complex inverse", [128, 256, 512, 1024], "libavutil", "faster", TRANSFORM),
    ("source-second L=96", [16], "yardstick", "time", RENDERER),
    ("source-second L=128", [16], "yardstick", "time", RENDERER),
    ("moving source-second L=96", [16], "yardstick", "time", RENDERER),
    ("ambisonic second L=128", [25], "yardstick", "time", {"avx512": 1.25}),
    ("effect 32 bits steady", [1024], "float", "time", {"avx512": 5}),
    ("effect 32 bits ramp", [1024], "float", "time", {"avx512": 1}),
]
REPORTED_ISAS = ["avx512", "avx2"]
# (what the README calls it, case, size, what it is compared with)
SUMMARY = [
    ("complex transform, 128 points", "complex forward", 128, "libavutil"),
    ("real transform, 256 points, forward", "real forward", 256, "libavutil"),
    ("real transform, 256 points, scaled inverse", "real inverse", 256, "libavutil"),
    ("one of 16 sources for a second, frames of 96", "source-second L=96", 16, "yardstick"),
    ("one of 16 sources for a second, frames of 128", "source-second L=128", 16, "yardstick"),
    ("25 ambisonic channels for a second", "ambisonic second L=128", 25, "yardstick"),
    ("ambisonic effect, 1024 frames of 32 bits, steady", "effect 32 bits steady", 1024, "float"),
    ("ambisonic effect, 1024 frames of 32 bits, ramp", "effect 32 bits ramp", 1024, "float"),
]
# Inner loops that the text about ARM tells of, by the beginnings of their names.
ARM_LOOPS = ["radix4_pass<forward, plain", "recombine_bins<forward, plain, from_halves", "add_filtered",
             "restore_level", "steady_vectors<int", "ramp_vectors<int",
             "ramp<q15_gain"]
# Instruction sets from pale to dark, in the order in which they run; others stand apart.
ISA_COLOURS = ["#a6cee3", "#6baed6", "#2171b5", "#08306b"]
OTHER_COLOURS = {"libavutil": "#dd181f"}
PLOTS = [
    ("performance-transforms.png", "nanoseconds", "points",
     [("complex forward", "Complex transforms, forward"), ("real forward", "Real transforms, forward")]),
    ("performance-sources.png", "microseconds per source and second", "sources",
     [("source-second L=96", "Frames of 96 samples"),
      ("source-second L=128", "Frames of 128 samples")]),
]


class Figures:
    def __init__(self, path):
        with open(path, newline="") as file:
            self.machine = file.readline().lstrip("# ").strip()
            self.rows = list(csv.DictReader(file))
        self.by_key = {(r["case"], int(r["size"]), r["contestant"], r["over"]): r for r in self.rows}
        self.contestants = list(dict.fromkeys(r["contestant"] for r in self.rows))
        self.isas = list(dict.fromkeys(r["contestant"] for r in self.rows if r["over"]))

    def spread(self, case, size, contestant, over=""):
        row = self.by_key.get((case, size, contestant, over))
        return row and [float(row[k]) for k in ("median", "lower", "upper")]


def digits(value):
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def aim_rows(figures):
    """Case, what is compared, then measured and aim for each instruction set."""
    rows = []
    for case, sizes, other, kind, aims in AIMS:
        for size in sizes:
            row = [f"{case}, {size}",
                   f"times as fast as {other}" if kind == "faster" else f"times the time of {other}"]
            for isa in REPORTED_ISAS:
                row += aim_cells(figures, (case, size, isa, other), kind, aims.get(isa))
            rows.append(row)
    return rows


def aim_cells(figures, key, kind, aim):
    if key[2] not in figures.isas:
        return ["not run", ""]
    spread = figures.spread(*key)
    if spread is None:
        sys.exit(f"report: no figure for {key}")
    if kind == "faster":
        spread = [1 / spread[0], 1 / spread[2], 1 / spread[1]]
    measured = f"{digits(spread[0])} ({digits(spread[1])} to {digits(spread[2])})"
    if aim is None:
        return [measured, ""]
    met = spread[0] >= aim if kind == "faster" else spread[0] <= aim
    return [measured, f"{'at least' if kind == 'faster' else 'at most'} {aim}: "
            + ("met" if met else "**missed**")]


def aims_table(figures):
    head = ["what", "figure"]
    for isa in REPORTED_ISAS:
        head += [isa, "aim"]
    return table(head, aim_rows(figures))


def times_table(figures):
    # The yardsticks differ from case to case: they share a column.
    names = figures.isas + ["fftw", "libavutil", "float loops", "float-closed"]
    rows = []
    for case, size, unit in dict.fromkeys(
            (r["case"], int(r["size"]), r["unit"]) for r in figures.rows
            if not r["over"] and r["case"] != "text size"):
        cells = []
        for name in names:
            own = "yardstick" if figures.spread(case, size, "yardstick") else "float"
            spread = figures.spread(case, size, own if name == "float loops" else name)
            cells.append(digits(spread[0]) if spread else "")
        rows.append([f"{case}, {size}", unit] + cells)
    return table(["what", "unit"] + names, rows)


def size_table(figures):
    rows = [[isa, digits(s[0])] for isa in figures.isas
            if (s := figures.spread("text size", 1, isa))]
    return table(["kernels of", "bytes of code and constants"], rows)


def summary_table(figures):
    rows = []
    for name, case, size, other in SUMMARY:
        row, times = [name], lambda contestant: digits(figures.spread(case, size, contestant)[0])
        unit = next(r["unit"] for r in figures.rows if (r["case"], r["over"]) == (case, ""))
        for isa in REPORTED_ISAS:
            row.append(f"{times(isa)} {unit}" if isa in figures.isas else "not run")
        rows.append(row + [f"{other}: {times(other)} {unit}"])
    return table(["what"] + REPORTED_ISAS + ["beside"], rows)


def arm_tables(folder):
    """The calls, and the inner loops that are told of, each as instructions."""
    with open(folder / "performance-arm.csv", newline="") as file:
        calls = table(["call", "instructions"],
                      [[r["case"], r["instructions"]] for r in csv.DictReader(file)])
    with open(folder / "performance-arm-loops.csv", newline="") as file:
        loops = {r["function"]: r for r in csv.DictReader(file)}
    rows = []
    for begin in ARM_LOOPS:
        name = next((n for n in loops if n.startswith(begin)), None)
        if name is None:
            sys.exit(f"report: no inner loop of {begin}")
        rows.append([f"`{name}`", loops[name]["instructions"], loops[name]["vector"]])
    return calls, table(["inner loop", "instructions", "NEON"], rows)


def tool_table(folder):
    """Instructions of the tool's renderings, in millions, and what a DC blocker adds to them."""
    with open(folder / "performance-tool.csv", newline="") as file:
        isa = file.readline().lstrip("# ").strip()
        counts = {}
        for row in csv.DictReader(file):
            counts.setdefault(row["rendering"], {})[row["object"]] = int(row["instructions"])
    rows = []
    for name, objects in counts.items():
        tool, whole = objects["earshot"], sum(objects.values())
        library = sum(n for o, n in objects.items() if o.startswith("libearshot"))
        plain = counts.get(name.removesuffix(" with dc_block"), {})
        blocker = 1 - sum(plain.values()) / whole
        rows.append([name] + [digits(n / 1e6) for n in (library, tool, whole - tool - library)]
                    + [f"{tool / library:.2f}", f"{blocker:.1%}" if blocker else ""])
    head = ["rendering", f"library ({isa})", "tool", "others", "tool / library",
            "dc_block, of all"]
    return table(head, rows)


def fill(text, mark, content):
    pattern = rf"(<!-- {mark} -->\n).*?(<!-- end -->)"
    if not re.search(pattern, text, re.S):
        sys.exit(f"report: no mark for {mark}")
    return re.sub(pattern, lambda m: m[1] + content + "\n" + m[2], text, flags=re.S)


def panel(figures, case, title):
    """A plot command with a curve per contestant, and the data that it reads."""
    curves, data = [], ""
    for name in figures.contestants:
        sizes = sorted(s for c, s, n, over in figures.by_key if (c, n, over) == (case, name, ""))
        if not sizes:
            continue
        if name in figures.isas:
            place = min(figures.isas.index(name), len(ISA_COLOURS) - 1)
            style = f"dt 1 pt 7 lc rgb '{ISA_COLOURS[place]}'"
        else:
            style = f"dt 2 pt 6 lc rgb '{OTHER_COLOURS.get(name, '#333333')}'"
        curves.append(f"'-' using 1:2 with linespoints lw 2 {style} title '{name}'")
        data += "".join(f"{s} {figures.spread(case, s, name)[0]}\n" for s in sizes) + "e\n"
    return f"set title '{title}'\nplot " + ", ".join(curves) + "\n" + data


def plot(figures, folder):
    for name, y_label, x_label, panels in PLOTS:
        script = f"""
set terminal pngcairo size 1000,460 font 'sans,11'
set output '{folder / name}'
set logscale x 2
set logscale y
set grid
set key left top
set xlabel '{x_label}'
set ylabel '{y_label}'
{"set key right top" if x_label == "sources" else ""}
set multiplot layout 1,2
"""
        script += "".join(panel(figures, *p) for p in panels) + "unset multiplot\n"
        subprocess.run(["gnuplot"], input=script, text=True, check=True)


def fill_file(path, contents):
    text = path.read_text()
    for mark, content in contents.items():
        text = fill(text, mark, content)
    path.write_text(text)


def main(folder, readme):
    figures = Figures(folder / "performance.csv")
    calls, loops = arm_tables(folder)
    fill_file(folder / "performance.md",
              {"machine": figures.machine, "aims": aims_table(figures),
               "times": times_table(figures), "sizes": size_table(figures), "arm": calls,
               "arm loops": loops, "tool": tool_table(folder)})
    fill_file(readme, {"speed": figures.machine + ":\n\n" + summary_table(figures)})
    plot(figures, folder)
    for row in aim_rows(figures):
        print("{:<31} {:<32}".format(*row), end="")
        for isa, measured, aim in zip(REPORTED_ISAS, row[2::2], row[3::2]):
            print(f" {isa}: {measured:<24} {aim.replace('*', ''):<20}", end="")
        print()


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*map(pathlib.Path, sys.argv[1:]))
