"""Measured heads as SOFA files: of a round head whose responses are known for every direction."""

import h5py
import numpy as np

LATE = 0.5e-3  # seconds until the sound reaches the middle of the head
TURN = 0.3e-3  # seconds by which it reaches an ear on the near side earlier


def vectors(directions):
    azimuth, elevation = np.radians(np.asarray(directions, float)).T
    return np.stack([np.cos(elevation) * np.cos(azimuth), np.cos(elevation) * np.sin(azimuth),
                     np.sin(elevation)], 1)


def ear_response(directions, ear, frequencies):
    """A wave that comes to the ear earlier, louder and brighter from its own side: a delay and a gain
    that are linear in the cosine to the ear's axis, and a shelf above 3 kHz."""
    side = vectors(directions)[:, 1] * (1 if ear == 0 else -1)
    f = np.asarray(frequencies, float)[None, :]
    pole = 1 / (1 + 1j * f / 3000)
    level = 10 ** (0.3 * side[:, None])
    bright = 0.75 + 0.25 * side[:, None]
    delay = (LATE - TURN * side)[:, None]
    return level * (pole + bright * (1 - pole)) * np.exp(-2j * np.pi * f * delay)


def responses(directions, rate, length):
    """As a measurement at that rate has them: direction by ear by sample."""
    f = np.arange(length // 2 + 1) * rate / length
    # No brick wall at half the rate, which would ring through all of a response.
    limit = np.cos(np.pi / 2 * np.clip((f / (rate / 2) - 0.88) / 0.12, 0, 1)) ** 2
    return np.stack([np.fft.irfft(ear_response(directions, ear, f) * limit, length, axis=1)
                     for ear in (0, 1)], 1)


CARTESIAN = {"Type": "cartesian", "Units": "metre"}
SPHERICAL = {"Type": "spherical", "Units": "degree, degree, metre"}


def write(name, directions, samples, rate=48000, distance=1.5, leave_out=(), **changes):
    """`changes` replaces variables, as (values, attributes), or global attributes."""
    directions = np.asarray(directions, float)
    distances = np.broadcast_to(distance, len(directions))
    variables = {
        "Data.IR": (samples, {}),
        "Data.SamplingRate": ([rate], {"Units": "hertz"}),
        "Data.Delay": ([[0, 0]], {}),
        "SourcePosition": (np.column_stack([directions, distances]), SPHERICAL),
        "ListenerPosition": ([[0, 0, 0]], CARTESIAN),
        "ListenerView": ([[1, 0, 0]], CARTESIAN),
        "ListenerUp": ([[0, 0, 1]], CARTESIAN),
        "ReceiverPosition": ([[[0], [0.09], [0]], [[0], [-0.09], [0]]], CARTESIAN),
    }
    attributes = {"Conventions": "SOFA", "SOFAConventions": "SimpleFreeFieldHRIR",
                  "DataType": "FIR", "Title": "a round head"}
    for key, value in changes.items():
        key = key.replace("_", ".")
        (variables if key in variables else attributes)[key] = value
    with h5py.File(name, "w") as file:
        for key, value in attributes.items():
            if key not in leave_out:
                file.attrs[key] = np.bytes_(value)
        for key, (values, described) in variables.items():
            if key in leave_out:
                continue
            data = file.create_dataset(key, data=np.asarray(values))
            for what, text in described.items():
                data.attrs[what] = np.bytes_(text)
    return name


def grid(step, lowest=-90, highest=90):
    """Rings of equally many directions; a pole once."""
    rings = [(azimuth, elevation) for elevation in range(-90, 91, step)
             if abs(elevation) < 90 and lowest <= elevation <= highest
             for azimuth in range(0, 360, step)]
    return rings + [(0, pole) for pole in (-90, 90) if lowest <= pole <= highest]


def scattered(count, seed):
    """Anywhere, but twice as dense on the left."""
    random = np.random.default_rng(seed)
    at = random.standard_normal((count, 3))
    at /= np.linalg.norm(at, axis=1)[:, None]
    at[: count // 3, 1] = np.abs(at[: count // 3, 1])
    return np.stack([np.degrees(np.arctan2(at[:, 1], at[:, 0])),
                     np.degrees(np.arcsin(at[:, 2]))], 1)
