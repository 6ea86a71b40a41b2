"""Prints what makes gnuplot draw a scene from above: python3 scene_plot.py SCENE.json OUT.png

The front is up and the left on the left. Tracks have the seconds beside them; arrows tell where the
listener looks.
"""

import csv
import json
import math
import os
import sys

COLOURS = ["#0060ad", "#dd181f", "#2ca02c", "#b8860b", "#7b3294", "#17888f"]
DIRECTION_RADIUS = 2  # metres at which something without a distance is drawn


def rows_of(track, folder):
    if not isinstance(track, str):
        return track
    with open(os.path.join(folder, track)) as file:
        lines = [line for line in file if line.strip() and not line.startswith("#")]
    return [list(map(float, row)) for row in list(csv.reader(lines))[1:]]


def on_floor(row):
    """(time, x, y) of a row with a position or with a direction."""
    if len(row) == 4:
        return row[0], row[1], row[2]
    angle = math.radians(row[1])
    return row[0], DIRECTION_RADIUS * math.cos(angle), DIRECTION_RADIUS * math.sin(angle)


def way_of(source, folder):
    if "track" in source:
        return [on_floor(row) for row in rows_of(source["track"], folder)]
    return [on_floor([0] + source.get("position", source.get("direction")))]


def yaw_of(angles):
    if len(angles) == 3:
        return angles[0]
    w, x, y, z = angles
    return math.degrees(math.atan2(2 * (w * z + x * y), 1 - 2 * (y * y + z * z)))


def looks_of(listener, folder):
    """(time, yaw) of the listener; no time for one who looks one way."""
    if "orientation_track" in listener:
        rows = rows_of(listener["orientation_track"], folder)
        return [(row[0], yaw_of(row[1:])) for row in rows]
    still = listener.get("orientation", {})
    return [(None, yaw_of(still.get("quaternion") or [still.get("yaw", 0), 0, 0]))]


def at(way, time):
    for (t0, x0, y0), (t1, x1, y1) in zip(way, way[1:]):
        if t0 <= time <= t1:
            share = (time - t0) / (t1 - t0)
            return x0 + share * (x1 - x0), y0 + share * (y1 - y0)
    return way[-1][1:]


def draw(scene, folder, picture):
    ways = [way_of(source, folder) for source in scene["sources"]]
    reach = min(max(abs(c) for way in ways for p in way for c in p[1:]) * 1.25, 10)
    print(f'set terminal pngcairo size 460,460 font "sans,9"\nset output "{picture}"')
    print(f"set size ratio -1\nset xrange [{reach}:{-reach}]\nset yrange [{-reach}:{reach}]")
    print('set grid\nset xlabel "y in metres (left is +)"\nset ylabel "x in metres (front is +)"')
    print("set key outside top center horizontal font ',8'\nset clip two")
    seen = {}
    for time, yaw in looks_of(scene.get("listener", {}), folder):
        seen.setdefault(round(yaw) % 360, []).append(time)
    for yaw, times in seen.items():
        x, y = (reach / 4 * f(math.radians(yaw)) for f in (math.cos, math.sin))
        print(f"set arrow from 0,0 to {y},{x} lw 2 lc rgb '#333333'")
        if times != [None]:
            print(f"set label '{times[0]:g} s' at {y * 1.25},{x * 1.25} center font ',8'")
    plots = ["'-' using 2:1 with points pt 7 ps 2 lc rgb '#333333' title 'listener'"]
    blocks = ["0 0\ne"]
    for source, way, colour in zip(scene["sources"], ways, COLOURS):
        style = "linespoints pt 7 ps 0.4 lw 2" if len(way) > 1 else "points pt 7 ps 1.5"
        name = os.path.splitext(os.path.basename(source["file"]))[0].replace("_", " ")
        plots.append(f"'-' using 2:1 with {style} lc rgb '{colour}' title '{name}'")
        blocks.append("\n".join(f"{x} {y}" for _, x, y in way) + "\ne")
        if len(way) > 1:
            step = max(1, round((way[-1][0] - way[0][0]) / 6))
            for time in range(math.ceil(way[0][0]), int(way[-1][0]) + 1, step):
                x, y = at(way, time)
                if max(abs(x), abs(y)) < reach:
                    print(f"set label '{time}' at {y},{x} point pt 7 ps 0.8 lc rgb '{colour}' "
                          f"offset 0.6,0.4 font ',8' tc rgb '{colour}'")
    print("plot " + ", ".join(plots) + "\n" + "\n".join(blocks))


def main():
    path, picture = sys.argv[1:]
    with open(path) as file:
        draw(json.load(file), os.path.dirname(path), picture)


main()
