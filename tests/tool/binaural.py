"""What both binaural commands are compared with: convolution with the library's filters."""

import os
import subprocess


def rounding(guard):
    """What rounding may make of an output sample: six steps of the arithmetic inside, which drops
    9 bits and those of the guard."""
    return 6 << (9 + guard)


ROUNDING = rounding(3)  # of one source


def reference_lines(*args):
    out = subprocess.run([os.environ["FILTER_REFERENCE"], *map(str, args)],
                         stdout=subprocess.PIPE, check=True).stdout.decode()
    return [list(map(float, line.split())) for line in out.splitlines()]


def filters(selector, directions):
    """Pairs of impulse responses, 128 taps for each ear; directions are in Q16."""
    lines = reference_lines(selector, *(angle for pair in directions for angle in pair))
    for taps in lines:  # a filter of more taps would wrap around in the frame
        assert max(map(abs, taps[128:])) < 1e-6, max(map(abs, taps[128:]))
    return [(left[:128], right[:128]) for left, right in zip(lines[::2], lines[1::2])]


def convolve(samples, taps, begin=0, end=None):
    """Output samples begin to end - 1 of the convolution."""
    end = len(samples) + 127 if end is None else end
    padded = [0] * 127 + list(samples) + [0] * 127
    backward = taps[::-1]
    return [sum(map(float.__mul__, map(float, padded[n:n + 128]), backward))
            for n in range(begin, end)]


def mixed(*signals):
    length = max(map(len, signals))
    return [sum(values) for values in zip(*(s + [0] * (length - len(s)) for s in signals))]


def clipped(samples):
    return [min(max(s, -2 ** 31), 2 ** 31 - 1) for s in samples]


def distance(found, expected):
    assert len(found) == len(expected), (len(found), len(expected))
    return max(abs(a - b) for a, b in zip(found, expected))
