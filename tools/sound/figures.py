"""The figures of sound: each function measures a subject and gives rows, which map columns to
numbers or texts. "wanted" bounds the column "now".
"""

import json
import os
import re
import statistics
import subprocess

import numpy as np

from head_model import HeadModel
from prediction import prediction
from scenes import signal_to_noise
from signals import (all_but_sine, decibels, power, sine, step_energy, strongest_line,
                     third_octaves, time_difference)
from subject import RATE

BEFORE, NOW = ["--placement", "measured"], ["--placement", "continuous"]


def rms(values):
    return np.sqrt(power(values))


def worst(function, ears, *arguments):
    """Of the two ears."""
    return max(function(ears[:, ear], *arguments) for ear in (0, 1))


# --- Noise ----------------------------------------------------------------------------------------

def noise(subject):
    _, tone = subject.write("tone.wav", sine(1000, -12, 2))
    _, silence = subject.write("silence.wav", np.zeros(2 * RATE))

    def level(count, *options):
        places = [f"{silence}@{360 * k // count},0" for k in range(1, count)]
        sources = [word for place in [f"{tone}@30,0", *places] for word in ("-s", place)]
        sound = subject.render(*sources, *options)[RATE // 4:-RATE // 4]
        return decibels(worst(all_but_sine, sound, 1000))

    wanted = {1: "at most -125", 256: "at most -120"}
    return [{"sources": count, "before, guard 0": level(count, *BEFORE, "--guard", 0),
             "before": level(count, *BEFORE), "now": level(count, *NOW),
             "wanted": wanted.get(count, "")} for count in (1, 16, 64, 256)]


def fifty(subject):
    rows = []
    for name, kind in (("at directions", "still"), ("at positions, with roll-off", "distant"),
                       ("all of them moving", "moving")):
        before = [""] * 2 if kind == "moving" else signal_to_noise(subject, kind, "measured")
        now = signal_to_noise(subject, kind, "continuous")
        for k, exact in enumerate(("the same windows", "whole convolution")):
            rows.append({"50 sources": name, "against": exact, "before": before[k], "now": now[k],
                         "wanted": "at least 110"})
    return rows


# --- Steps ----------------------------------------------------------------------------------------

HEARD = slice(RATE, 7 * RATE // 2)  # of an orbit, seconds 1 to 3.5


def orbit(subject, frequency, seconds, placement):
    _, tone = subject.write("tone.wav", sine(frequency, -12, 4))
    # Where it stands still, between two measured directions.
    where = ["-s", f"{tone}@0,0", "--orbit", seconds] if seconds else ["-s", f"{tone}@33.3,0"]
    return subject.render(*where, *placement)[HEARD]


def exact_orbit(subject, frequency, seconds):
    """With a filter for every sample, in double precision."""
    model = HeadModel(subject.library.head.data())
    time = np.arange(HEARD.start, HEARD.stop) / RATE
    azimuths = 360 * time / seconds if seconds else np.full(len(time), 33.3)
    turning = np.exp(2j * np.pi * frequency * time)
    ears = [model.sweep(frequency, azimuths, 0, ear) * turning for ear in (0, 1)]
    return np.stack(ears, 1).imag


def steps(subject):
    rows = []
    for seconds, wanted in ((0.72, "at most -95"), (2, "at most -100"), (8, ""), (None, "")):
        before, now = (orbit(subject, 1000, seconds, placement) for placement in (BEFORE, NOW))
        exact = exact_orbit(subject, 1000, seconds)
        rows.append({"a turn in": f"{seconds} s" if seconds else "still",
                     "before": worst(step_energy, before), "now": worst(step_energy, now),
                     "wanted": wanted, "a filter for every sample": worst(step_energy, exact)})
    return rows


def lines(subject):
    rows = []
    for frequency in (1000, 3000, 6000):
        before, now = (orbit(subject, frequency, 2, placement) for placement in (BEFORE, NOW))
        exact = worst(strongest_line, exact_orbit(subject, frequency, 2), frequency)
        rows.append({"a turn in 2 s of": f"{frequency} Hz",
                     "before": worst(strongest_line, before, frequency),
                     "now": worst(strongest_line, now, frequency),
                     "wanted": f"at most {max(-70, exact):.4g}",
                     "a filter for every sample": exact})
    return rows


# --- Accuracy -------------------------------------------------------------------------------------

def accuracy(subject):
    library = subject.library
    model = HeadModel(library.head.data())
    directions = model.directions()[:model.measured]
    made = np.stack([library.head.filters(*direction) for direction in directions])
    measured = np.stack([library.nearest(*direction) for direction in directions])
    late = time_difference(made[:, 0], made[:, 1]) - time_difference(measured[:, 0], measured[:, 1])
    bands = third_octaves(made) - third_octaves(measured)
    generator = np.random.default_rng(4)
    errors, all_of_them = [], []
    for azimuth, elevation in generator.uniform((0, -90), (360, 90), (500, 2)):
        exact = np.stack([model.filters([azimuth], elevation, ear)[0] for ear in (0, 1)])
        errors.append(power(np.abs(library.head.filters(azimuth, elevation) - exact)))
        all_of_them.append(power(np.abs(exact)))
    return [{"built-in head": "time difference of the ears, largest error, us",
             "now": np.abs(late).max(), "wanted": "at most 1"},
            {"built-in head": "the same, rms, us", "now": rms(late), "wanted": ""},
            {"built-in head": "third octaves, 200 Hz to 16 kHz, largest error, dB",
             "now": np.abs(bands).max(), "wanted": "at most 0.2"},
            {"built-in head": "the same, rms, dB", "now": rms(bands), "wanted": ""},
            {"built-in head": "whole numbers against double precision, 500 random directions, dB",
             "now": decibels(np.mean(errors) / np.mean(all_of_them)), "wanted": ""}]


# --- Cost -----------------------------------------------------------------------------------------

COST_SOURCES, COST_SECONDS, COST_ROUNDS = 64, 4, 9


def write_cost_scenes(subject):
    generator = np.random.default_rng(6)
    _, sound = subject.write("noise.wav", generator.uniform(-0.25, 0.25, COST_SECONDS * RATE))
    for name in ("still", "moving"):
        sources = []
        for k in range(COST_SOURCES):
            azimuth, elevation = k * 137.5 % 360, k * 2 - 40
            place = {"direction": [azimuth, elevation]}
            if name == "moving":
                place = {"track": [[t, azimuth + 90 * t, elevation]
                                   for t in range(COST_SECONDS + 1)]}
            sources.append({"file": sound, "gain": -40, **place})
        with open(subject.path(f"{name}.json"), "w") as file:
            json.dump({"version": 1, "sources": sources}, file)


def frame_time(subject, scene, placement):
    text = subject.run("bench", scene, *placement, "-q").decode()
    return float(re.search(r"^time +(\S+) us", text, re.M)[1])


def instructions(subject, *arguments):
    """Of "earshot render", in millions, with AVX2, which is the most that valgrind has."""
    counted = subject.path("counted")
    subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={counted}", subject.tool,
                    "render", *map(str, arguments), "-o", "-", "--raw", "-q"], cwd=subject.folder,
                   check=True, capture_output=True)
    with open(counted) as file:
        return int(re.search(r"^(?:summary|totals): (\d+)", file.read(), re.M)[1]) / 1e6


def cost(subject):
    write_cost_scenes(subject)
    cases = [(scene, placement) for scene in ("still.json", "moving.json")
             for placement in (BEFORE, NOW)]
    rounds = [[frame_time(subject, *case) for case in cases] for _ in range(COST_ROUNDS)]
    counts = [instructions(subject, scene, *placement) for scene, placement in cases]

    def row(name, numerator, denominator, wanted):
        ratios = [each[numerator] / each[denominator] for each in rounds]
        return {"64 sources": name, "now": statistics.median(ratios),
                "wanted": wanted, "instructions": counts[numerator] / counts[denominator]}

    return [row("moving over still, before", 2, 0, ""),
            row("moving over still", 3, 1, "at most 1.6"),
            row("moving over still before", 3, 0, ""),
            row("still, over before", 1, 0, ""), row("moving, over before", 3, 2, "")]


def headroom(subject):
    seconds, sources = 4, 16
    noise_of = np.random.default_rng(7).uniform
    _, sound = subject.write("long.wav", noise_of(-0.25, 0.25, seconds * RATE))
    _, start = subject.write("short.wav", noise_of(-0.25, 0.25, 96))

    def count(*options):
        """Without what it takes to start."""
        runs = [instructions(subject, *[word for k in range(sources)
                                        for word in ("-s", f"{file}@{k * 22},0")],
                             "--frame", 96, *options) for file in (sound, start)]
        return (runs[0] - runs[1]) / seconds / sources

    cases = [("before", BEFORE), ("fixed: `--guard 7`", [*NOW, "--guard", 7]), ("follows", NOW)]
    counts = [count(*options) for _, options in cases]
    return [{"headroom": name, "millions of instructions": number,
             "over before": number / counts[0]} for (name, _), number in zip(cases, counts)]


# --- The same bits everywhere ---------------------------------------------------------------------

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PINNED = "tests/scene/render_test.cpp"
TARGETS = {"release": "x86-64", "armhf": "32-bit ARM", "aarch64": "64-bit ARM",
           "riscv64": "64-bit RISC-V"}


def pinned_scenes():
    """(name, digest of measured directions, digest of continuous ones)"""
    with open(os.path.join(ROOT, PINNED)) as file:
        return re.findall(r'\{"(\w+)", (\d+)u?, (\d+)u?,', file.read())


def scene_tests_pass(preset):
    """Builds the scene tests for a target, and runs them there or through its emulator."""
    def run(*command):
        return subprocess.run(command, cwd=ROOT, stdout=subprocess.DEVNULL, check=False).returncode

    if run("cmake", "--preset", preset) or run("cmake", "--build", "--preset", preset, "--target",
                                               "earshot_scene_tests"):
        raise RuntimeError(f"{preset} cannot be built")
    return run("ctest", "--preset", preset, "--no-tests=error", "-R",
               "ScenesHaveTheirDigests|^earshot_scene_tests$") == 0


def digests(_):
    count = len(pinned_scenes())
    return [{"target": name, "scenes": f"{count}, with both placements",
             "digests": "equal" if scene_tests_pass(preset) else "**differ**",
             "command": f"`scripts/test {preset}`"} for preset, name in TARGETS.items()]


def pinned(_):
    return [{"scene": name, "measured": f"{int(measured):016x}",
             "continuous": f"{int(continuous):016x}"}
            for name, measured, continuous in pinned_scenes()]


FIGURES = {"noise": noise, "fifty": fifty, "steps": steps, "lines": lines, "accuracy": accuracy,
           "prediction": prediction, "cost": cost, "headroom": headroom, "digests": digests,
           "scenes": pinned}
