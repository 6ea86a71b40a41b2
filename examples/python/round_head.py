"""A SOFA file of a round head: what one's own measurement would be.

The ears sit at azimuth 90 and -90 of a ball. A wave reaches an ear straight or, on the far side,
round the ball, and its treble is in the ball's shadow: a delay and a filter of one pole and one
zero, after C. P. Brown and R. O. Duda, "A structural model for binaural sound synthesis", IEEE
Transactions on Speech and Audio Processing 6 (1998).
"""

import h5py
import numpy as np

SOUND_SPEED = 343.0  # metres per second
RATE = 48000
LENGTH = 512  # samples of a response
BEFORE = 1e-3  # seconds until a wave reaches the middle of the ball


def directions(step=10):
    """Azimuths and elevations around the ball, a pole once, as (count, 2) degrees."""
    rings = [(azimuth, elevation) for elevation in range(-90 + step, 90, step)
             for azimuth in range(0, 360, step)]
    return np.array(rings + [(0, -90), (0, 90)], float)


def incidence(at, ear):
    """The angle between a direction and an ear's axis, radians."""
    azimuth, elevation = np.radians(at).T
    to_the_left = np.cos(elevation) * np.sin(azimuth)
    return np.arccos(np.clip(to_the_left if ear == 0 else -to_the_left, -1, 1))


def delay(angle, radius):
    """Seconds by which a wave reaches the ear later than the middle of the ball."""
    straight = -np.cos(angle)
    around = angle - np.pi / 2
    return radius / SOUND_SPEED * np.where(angle < np.pi / 2, straight, around)


def responses(at, radius):
    """Impulse responses: (directions, 2 ears, samples)."""
    frequency = np.fft.rfftfreq(LENGTH, 1 / RATE)
    # Nothing rings that has no edge: the last octave fades out.
    band = np.cos(np.pi / 2 * np.clip((frequency - 20000) / 4000, 0, 1)) ** 2
    ears = []
    for ear in (0, 1):
        angle = incidence(at, ear)[:, None]
        treble = 1.05 + 0.95 * np.cos(angle / np.radians(150) * np.pi)  # of the bass
        s = 1j * np.pi * frequency * radius / SOUND_SPEED
        shadow = (1 + treble * s) / (1 + s)
        late = np.exp(-2j * np.pi * frequency * (BEFORE + delay(angle, radius)))
        ears.append(np.fft.irfft(shadow * late * band, LENGTH, axis=1))
    return np.stack(ears, axis=1)


def write(path, radius=0.0875, step=10):
    """Writes the ball's SOFA file; radius in metres."""
    at = directions(step)
    metres = {"Type": "cartesian", "Units": "metre"}
    degrees = {"Type": "spherical", "Units": "degree, degree, metre"}
    variables = {
        "Data.IR": (responses(at, radius), {}),
        "Data.SamplingRate": ([RATE], {"Units": "hertz"}),
        "Data.Delay": ([[0, 0]], {}),
        "SourcePosition": (np.column_stack([at, np.full(len(at), 1.5)]), degrees),
        "ListenerPosition": ([[0, 0, 0]], metres),
        "ListenerView": ([[1, 0, 0]], metres),
        "ListenerUp": ([[0, 0, 1]], metres),
        "ReceiverPosition": ([[[0], [radius], [0]], [[0], [-radius], [0]]], metres)}
    with h5py.File(path, "w") as file:
        for name, value in {"Conventions": "SOFA", "SOFAConventions": "SimpleFreeFieldHRIR",
                            "DataType": "FIR",
                            "Title": f"a round head of {1000 * radius:.1f} mm"}.items():
            file.attrs[name] = np.bytes_(value)
        for name, (values, attributes) in variables.items():
            data = file.create_dataset(name, data=np.asarray(values, float))
            for key, value in attributes.items():
                data.attrs[key] = np.bytes_(value)
    return path
