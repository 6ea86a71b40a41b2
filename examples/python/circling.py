"""A noise that circles the head: what either ear gets, and how the ears differ."""

# %% [markdown]
# A scene can be a dictionary, and its sounds can be arrays: nothing here touches a file. Noise goes
# round the listener once, counter-clockwise, beginning in front. Angles between the rows of a track
# go the shorter way, so that a whole turn needs a row in its middle.

# %%
import matplotlib.pyplot as plt
import numpy as np

import earshot
from notebook import LEFT, RATE, RIGHT, decibels, level_difference, noise, settings, show, \
    time_difference, windows

options = settings(__doc__, seconds=8.0)
turn = options.seconds

scene = {"version": 1,
         "sources": [{"file": "noise", "track": [[0, 0, 0], [turn / 2, 180, 0], [turn, 360, 0]]}]}
ears = earshot.render(scene, sounds={"noise": noise(turn)})
ears = ears[:round(turn * RATE)]  # without the last echo of the filters
print(f"rendered {len(ears) / RATE:.1f} s, SHA-256 {earshot.digest(ears)}")

# %% [markdown]
# Where the source is at a time need not be reckoned: the scene tells it. The ears' differences are
# measured over windows of a fiftieth of a turn, in the middle of which the source is at `azimuth`.

# %%
length = round(turn * RATE / 50)
blocks = windows(ears, length)
times = (np.arange(len(blocks)) + 0.5) * length / RATE
azimuth, _, _ = earshot.Scene(scene).heard(0, times)
louder = np.array([level_difference(block) for block in blocks])
earlier = np.array([time_difference(block) for block in blocks])

for side in (90, -90):
    k = np.argmin(np.abs(azimuth - side))
    print(f"azimuth {azimuth[k]:.0f}: left louder by {louder[k]:.1f} dB, "
          f"earlier by {earlier[k]:.0f} us")

# %% [markdown]
# The spectrograms show what a level alone does not: the far ear loses treble first, and the notches
# of the outer ear move with the direction. A column is the average over one window.

# %%
def spectra(ear, size=256):
    """Decibels of every window, (windows, frequencies), against the source's."""
    power = [np.mean(np.abs(np.fft.rfft(windows(block[:, [ear]], size)[:, :, 0] * np.hanning(size)))
                     ** 2, axis=0) for block in blocks]
    level = 10 ** (-20 / 10) * 2.0 ** 62 * np.sum(np.hanning(size) ** 2)
    return decibels(np.array(power) / level)


figure, (top, middle, bottom) = plt.subplots(3, 1, figsize=(9, 8), layout="constrained")
frequencies = np.fft.rfftfreq(256, 1 / RATE) / 1000
for ear, axes, name in ((0, top, "left ear"), (1, middle, "right ear")):
    image = axes.pcolormesh((times / turn) * 360, frequencies, spectra(ear).T, cmap="cividis",
                            vmin=-30, vmax=15, shading="nearest", rasterized=True)
    axes.set(title=name, xlabel="azimuth in degrees, over the left", ylabel="kHz", ylim=(0, 20),
             xticks=range(0, 361, 45))
    figure.colorbar(image, ax=axes, label="dB")
order = np.argsort(azimuth)
bottom.plot(azimuth[order], louder[order], color=LEFT, label="left louder by, in dB")
bottom.set(xlabel="azimuth in degrees (90 = left)", ylabel="dB", xticks=range(-180, 181, 45),
           xlim=(-180, 180), ylim=(-25, 25))
beside = bottom.twinx()
beside.plot(azimuth[order], earlier[order], color=RIGHT, linestyle="--",
            label="left earlier by, in us")
beside.set(ylabel="us", ylim=(-1000, 1000))
bottom.grid(alpha=0.4)
lines = bottom.get_lines() + beside.get_lines()
bottom.legend(lines, [line.get_label() for line in lines], loc="upper left")
show(figure, options)
