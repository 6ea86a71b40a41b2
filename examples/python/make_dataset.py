"""Draws random scenes, renders them, and writes down where everything was: a data set.

    make_dataset.py [--count 200] [--seed 1] [--seconds 3] [--jobs N] [--no-picture] [-o DIR]

DIR gets

    sounds/*.wav         what is heard: noise bursts, chirps and tones
    scenes/0001.json     who is where and when, for 'earshot render'
    manifest.jsonl       the list of all scenes, for 'earshot batch'
    audio/0001.wav       what the two ears get, 16 bits
    audio/results.jsonl  digest, peak, loudness and length of each
    truth/0001.csv       time, source, azimuth, elevation, distance, active; 20 times a second
    distribution.png     where the sources were

Truth is what the listener hears: directions are those of the head, turns included, in degrees to
the left and upwards; metres; active is 1 while the source makes a sound. The same seed gives the
same scenes, and the same samples on every machine.
"""

import argparse
import csv
import json
import math
import sys
import time
import wave
from pathlib import Path

import numpy as np

import earshot

RATE = 48000
STEP = 0.05  # seconds from row to row of the truth
SOUNDS = 24  # that the scenes choose from
MOST_SOURCES = 4


# --- Sounds. Their samples are integers from the start, and numpy keeps what RandomState draws from
# a seed as it is, so that they are the same everywhere. ---

SINE = np.array([round(32767 * math.sin(2 * math.pi * k / 4096)) for k in range(4096)])


def tone(phase_steps):
    """A sine from the steps of its phase, each in 2^-32 of a period."""
    return SINE[(np.cumsum(phase_steps) & 0xFFFFFFFF) >> 20]


def hertz(frequency):
    return int(frequency * 2 ** 32 / RATE)


def noise_bursts(random, count):
    """White noise that comes and goes, with pauses in between."""
    noise = random.randint(-32767, 32768, count)
    period = random.randint(RATE // 4, RATE)
    length = period * random.randint(30, 80) // 100
    at = np.arange(count) % period
    ramp = RATE // 100
    envelope = np.minimum(np.minimum(at, length - at), ramp).clip(0)
    return noise * envelope // ramp


def chirp(random, count):
    """A sweep up and down, again and again."""
    low, high = hertz(random.randint(150, 800)), hertz(random.randint(2000, 8000))
    period = random.randint(RATE // 2, 2 * RATE)
    at = np.abs((np.arange(count) * 2) % (2 * period) - period)
    return tone(low + (high - low) * at // period)


def harmonic_tone(random, count):
    """A tone of six partials, which fades and is struck again."""
    fundamental = hertz(random.randint(80, 600))
    period = random.randint(RATE // 3, RATE)
    fading = 32768 - (np.arange(count) % period) * 32768 // period
    partials = sum(tone(np.full(count, k * fundamental)) // k for k in range(1, 7))
    return partials * fading // 32768


def draw_sound(random, number, seconds):
    """Samples of 16 bits with peaks 12 dB below full scale, so that four sources do not clip."""
    kind = (noise_bursts, chirp, harmonic_tone)[number % 3]
    samples = kind(random, round(seconds * RATE))
    return (samples * 8192 // np.max(np.abs(samples))).astype("<i2")


def write_wav(path, samples):
    with wave.open(str(path), "wb") as file:
        file.setparams((1, 2, RATE, len(samples), "NONE", ""))
        file.writeframes(samples.tobytes())


# --- Scenes ---

def rounded(values, decimals=2):
    return [round(float(value), decimals) for value in values]


def draw_place(random):
    """Somewhere at 0.5 to 8 metres, seldom far above or below."""
    distance = 0.5 * 16 ** random.random_sample()  # as many from 0.5 to 1 as from 4 to 8
    azimuth = random.uniform(-math.pi, math.pi)
    elevation = random.triangular(-math.pi / 3, 0, math.pi / 3)
    return distance * np.array([math.cos(elevation) * math.cos(azimuth),
                                math.cos(elevation) * math.sin(azimuth), math.sin(elevation)])


def draw_way(random, seconds):
    """A track: straight past the listener, or on an arc around."""
    begin = draw_place(random)
    if random.randint(2):
        end = draw_place(random)
        return [[0, *rounded(begin)], [seconds, *rounded(end)]]
    angle = random.uniform(-2 * math.pi, 2 * math.pi)
    rows = []
    for k in range(17):
        turn = angle * k / 16
        x = begin[0] * math.cos(turn) - begin[1] * math.sin(turn)
        y = begin[0] * math.sin(turn) + begin[1] * math.cos(turn)
        rows.append([round(seconds * k / 16, 3), *rounded([x, y, begin[2]])])
    return rows


def draw_source(random, seconds, sounds):
    source = {"file": f"../sounds/{sounds[random.randint(len(sounds))]}",
              "start": round(random.uniform(0, seconds / 2), 3),
              "gain": round(random.uniform(-12, 0), 1),
              "rolloff": {"model": "inverse", "minimum": 1, "maximum": 100}}
    if random.randint(2):
        source["track"] = draw_way(random, seconds)
    else:
        source["position"] = rounded(draw_place(random))
    return source


def draw_scene(random, seconds, sounds):
    scene = {"version": 1, "duration": seconds,
             "sources": [draw_source(random, seconds, sounds)
                         for _ in range(random.randint(1, MOST_SOURCES + 1))]}
    if random.randint(2):
        turns = rounded(np.cumsum(random.uniform(-90, 90, 4)), 1)
        scene["listener"] = {"orientation_track": [[round(seconds * k / 3, 3), yaw, 0, 0]
                                                   for k, yaw in enumerate(turns)]}
    return scene


# --- Truth ---

def truth_of(path, scene, sounds):
    """Rows of time, source, azimuth, elevation, distance and active, of a scene's file."""
    times = np.arange(0, scene["duration"], STEP)
    read = earshot.Scene(path)
    rows = []
    for number, source in enumerate(scene["sources"]):
        samples = sounds[Path(source["file"]).name]
        heard = read.heard(number, times)
        for k, moment in enumerate(times):
            begin = round((moment - source["start"]) * RATE)
            part = samples[max(begin, 0):max(begin + round(STEP * RATE), 0)]
            rows.append((f"{moment:.2f}", number, f"{heard.azimuth[k]:.2f}",
                         f"{heard.elevation[k]:.2f}", f"{heard.distance[k]:.3f}", int(part.any())))
    return rows


def write_truth(path, rows):
    with open(path, "w", newline="") as file:
        out = csv.writer(file, lineterminator="\n")
        out.writerow(["time", "source", "azimuth", "elevation", "distance", "active"])
        out.writerows(rows)


# --- The picture ---

def draw_distribution(path, truths):
    """Where the active sources are, and how many there are at a time."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    active = np.array([[float(v) for v in row[2:5]] for rows in truths for row in rows if row[5]])
    at_a_time = []
    for rows in truths:
        sums = {}
        for row in rows:
            sums[row[0]] = sums.get(row[0], 0) + row[5]
        at_a_time += sums.values()

    figure, axes = plt.subplots(2, 2, figsize=(10, 7), layout="constrained")
    (where, wide), (far, many) = axes
    *_, image = where.hist2d(active[:, 0], active[:, 1], bins=[np.arange(-180, 181, 15),
                                                               np.arange(-90, 91, 10)],
                             cmap="cividis")
    where.set(title="Directions for the head", xlabel="azimuth in degrees (90 = left)",
              ylabel="elevation in degrees", xticks=range(-180, 181, 90), yticks=range(-90, 91, 45))
    figure.colorbar(image, ax=where, label="rows")
    wide.hist(active[:, 0], bins=np.arange(-180, 181, 15), color="#0072b2")
    wide.set(title="Azimuth", xlabel="degrees (90 = left)", ylabel="rows",
             xticks=range(-180, 181, 90))
    far.hist(active[:, 2], bins=np.arange(0, 10.1, 0.5), color="#0072b2")
    far.set(title="Distance", xlabel="metres", ylabel="rows")
    many.hist(at_a_time, bins=np.arange(-0.5, MOST_SOURCES + 1), rwidth=0.8, color="#0072b2")
    many.set(title="Sources at a time", xlabel="active sources", ylabel="moments",
             xticks=range(MOST_SOURCES + 1))
    figure.savefig(path, dpi=80)


# --- All of it ---

def arguments():
    parser = argparse.ArgumentParser(description="Draws random scenes, renders them, and writes "
                                                 "down where everything was.")
    parser.add_argument("--count", type=int, default=200, help="scenes (default: 200)")
    parser.add_argument("--seed", type=int, default=1, help="0 to 4294967295 (default: 1)")
    parser.add_argument("--seconds", type=float, default=3, help="of a scene (default: 3)")
    parser.add_argument("--jobs", type=int, help="scenes at a time (default: one per processor)")
    parser.add_argument("--no-picture", action="store_true", help="without distribution.png")
    parser.add_argument("-o", "--output", type=Path, default=Path("dataset"), metavar="DIR",
                        help="folder (default: dataset)")
    chosen = parser.parse_args()
    if chosen.count < 1 or not 0 <= chosen.seed < 2 ** 32 or not 0.5 <= chosen.seconds <= 600:
        parser.error("--count is at least 1, --seed 0 to 4294967295, --seconds 0.5 to 600")
    if chosen.jobs is not None and chosen.jobs < 1:
        parser.error("--jobs is at least 1")
    return chosen


def draw(chosen):
    """Sounds, scenes, truth and the manifest; returns the truth of every scene."""
    for name in ("sounds", "scenes", "truth"):
        (chosen.output / name).mkdir(parents=True, exist_ok=True)
    random = np.random.RandomState(chosen.seed)
    sounds = {}
    for number in range(SOUNDS):
        name = f"{number + 1:02}.wav"
        sounds[name] = draw_sound(random, number, chosen.seconds)
        write_wav(chosen.output / "sounds" / name, sounds[name])
    truths, lines = [], []
    for number in range(1, chosen.count + 1):
        scene = draw_scene(random, chosen.seconds, list(sounds))
        path = chosen.output / "scenes" / f"{number:04}.json"
        path.write_text(json.dumps(scene, indent=1) + "\n")
        truths.append(truth_of(path, scene, sounds))
        write_truth(chosen.output / "truth" / f"{number:04}.csv", truths[-1])
        lines.append(json.dumps({"scene": f"scenes/{path.name}", "output": f"{number:04}.wav",
                                 "bits": 16}) + "\n")
    (chosen.output / "manifest.jsonl").write_text("".join(lines))
    return truths


def main():
    chosen = arguments()
    begin = time.monotonic()
    truths = draw(chosen)
    drawn = time.monotonic()
    records = earshot.batch(chosen.output / "manifest.jsonl", chosen.output / "audio",
                            jobs=chosen.jobs)
    seconds = time.monotonic() - drawn
    failed = [record for record in records if "error" in record]
    for record in failed:
        print(f"make_dataset: {record['output']}: {record['error']}", file=sys.stderr)
    heard = sum(record.get("duration", 0) for record in records)
    print(f"{len(records)} scenes drawn in {drawn - begin:.1f} s, rendered in {seconds:.1f} s: "
          f"{len(records) / seconds:.0f} scenes a second, {heard / seconds:.0f} times real time")
    if not chosen.no_picture:
        draw_distribution(chosen.output / "distribution.png", truths)
    print(f"audio:   {chosen.output}/audio/*.wav, with their digests in results.jsonl\n"
          f"truth:   {chosen.output}/truth/*.csv\n"
          f"scenes:  {chosen.output}/scenes/*.json, sounds in {chosen.output}/sounds\n" +
          ("" if chosen.no_picture else f"picture: {chosen.output}/distribution.png\n"), end="")
    return 2 if failed else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (earshot.Error, OSError) as error:
        print(f"make_dataset: {error}", file=sys.stderr)
        sys.exit(2)
