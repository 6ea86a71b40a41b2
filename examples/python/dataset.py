"""A made data set: how the level difference of the ears goes with the true azimuth."""

# %% [markdown]
# scripts/make-dataset has written what the ears get and, for every twentieth of a second, where
# each source was. Wherever one source alone was active, the difference of the ears is its own, and
# can be held against where it was. A model would be trained on the same two files.

# %%
import csv
import wave
from pathlib import Path

import matplotlib.pyplot as plt
import numpy as np

from notebook import LEFT, RATE, RIGHT, decibels, level_difference, settings, show, \
    time_difference

options = settings(__doc__, data="dataset", step=0.05)
data = Path(options.data)
length = round(options.step * RATE)


def ears_of(path):
    with wave.open(str(path)) as file:
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2")
    return samples.reshape(-1, 2) / 32768


def lone_moments(path):
    """Time, azimuth and elevation of what was heard alone."""
    moments = {}
    with open(path, newline="") as file:
        for row in csv.DictReader(file):
            if int(row["active"]):
                moments.setdefault(float(row["time"]), []).append(row)
    return [(time, float(rows[0]["azimuth"]), float(rows[0]["elevation"]))
            for time, rows in moments.items() if len(rows) == 1]


# %% [markdown]
# Directions above and below say less: what counts for the two ears is the angle to their axis.
# Tones and chirps repeat themselves: within a twentieth of a second their time difference can be
# taken for another one, a period away. Those are the points far off the curve.

# %%
rows = []
for truth in sorted((data / "truth").glob("*.csv")):
    ears = ears_of(data / "audio" / (truth.stem + ".wav"))
    for moment, azimuth, elevation in lone_moments(truth):
        begin = round(moment * RATE)
        block = ears[begin:begin + length]
        if len(block) == length and decibels(np.mean(block ** 2)) > -60:
            rows.append((azimuth, elevation, level_difference(block), time_difference(block)))
azimuth, elevation, louder, earlier = np.array(rows).T
side = np.sin(np.radians(azimuth)) * np.cos(np.radians(elevation))  # 1: straight left
print(f"{len(rows)} windows with one source")
print(f"level difference and the side: correlation {np.corrcoef(side, louder)[0, 1]:.2f}")
print(f"time difference and the side: correlation {np.corrcoef(side, earlier)[0, 1]:.2f}")

# %%
figure, (top, bottom) = plt.subplots(2, 1, figsize=(10, 8), layout="constrained", sharex=True)
lateral = np.degrees(np.arcsin(np.clip(side, -1, 1)))
for axes, values, colour, text in ((top, louder, LEFT, "left louder by, in dB"),
                                   (bottom, earlier, RIGHT, "left earlier by, in us")):
    axes.plot(lateral, values, ".", color=colour, alpha=0.25, markersize=4)
    axes.set(ylabel=text)
    axes.grid(alpha=0.4)
top.set(title=f"{len(rows)} windows with one source")
bottom.set(xlabel="true angle to the middle in degrees (90 = straight left)", xlim=(-90, 90),
           xticks=range(-90, 91, 30), ylim=(-1000, 1000))
show(figure, options)
