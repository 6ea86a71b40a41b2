"""What the examples share: their settings, sounds to hear, measures of two ears, pictures."""

import argparse
import sys
from pathlib import Path

import matplotlib
import numpy as np

RATE = 48000
LEFT, RIGHT = "#0072b2", "#d55e00"  # told apart with any eyes


def settings(description, **defaults):
    """Options of the command line, one for each default; in a notebook, the defaults.

    --save PICTURE is one more: with it a picture becomes a file, without it a window.
    """
    parser = argparse.ArgumentParser(description=description)
    for name, value in defaults.items():
        parser.add_argument(f"--{name}", type=type(value), default=value, help=f"default: {value}")
    parser.add_argument("--save", type=Path, metavar="PICTURE", help="write the picture there")
    in_notebook = "ipykernel" in sys.modules
    chosen = parser.parse_args([] if in_notebook else None)
    if chosen.save:
        matplotlib.use("Agg")
    return chosen


def show(figure, chosen):
    """A picture as a file, or in a window."""
    if chosen.save:
        figure.savefig(chosen.save, dpi=80)
        print(f"picture: {chosen.save}")
    else:
        matplotlib.pyplot.show()


def noise(seconds, seed=1, level=-20.0):
    """White noise of so many decibels below full scale, as int32; the same on every machine."""
    amplitude = int(10 ** (level / 20) * 2 ** 31 * 3 ** 0.5)  # of an even distribution
    values = np.random.RandomState(seed).randint(-amplitude, amplitude, round(seconds * RATE),
                                                 dtype=np.int64)
    return values.astype(np.int32)


def decibels(power):
    return 10 * np.log10(np.maximum(power, 1e-30))


def level_difference(ears):
    """By how many decibels the left ear has more than the right; ears: (frames, 2)."""
    left, right = np.mean(np.asarray(ears, float) ** 2, axis=0)
    return float(decibels(left) - decibels(right))


def time_difference(ears, highest=1500.0, longest=1e-3):
    """By how many microseconds the left ear hears earlier; ears: (frames, 2).

    It is where the correlation of the ears is greatest, below `highest` Hz, where hearing goes by
    it, and between minus and plus `longest` seconds.
    """
    fine = 8  # steps of a sample
    size = 2 * len(ears)
    left, right = np.fft.rfft(np.asarray(ears, float), size, axis=0).T
    cross = np.conj(left) * right
    cross[np.fft.rfftfreq(size, 1 / RATE) > highest] = 0
    correlation = np.fft.irfft(cross, size * fine)
    reach = round(longest * RATE * fine)
    near = np.concatenate([correlation[-reach:], correlation[:reach + 1]])
    return float(np.argmax(near) - reach) / fine / RATE * 1e6


def windows(ears, length):
    """Blocks of so many frames, one after the other, without the rest at the end."""
    count = len(ears) // length
    return ears[:count * length].reshape(count, length, -1)
