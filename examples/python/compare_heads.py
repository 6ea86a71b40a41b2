"""Two heads: how the differences of their ears, and their spectra, go with the azimuth."""

# %% [markdown]
# The built-in head, measured on a dummy with pinnae, beside a ball without them (round_head.py), or
# beside any head that `--other` names: a .sofa or .head file.

# %%
import tempfile
from pathlib import Path

import matplotlib.pyplot as plt
import numpy as np

import earshot
import round_head
from notebook import LEFT, RATE, RIGHT, decibels, level_difference, settings, show, time_difference

options = settings(__doc__, other="", step=5)
with tempfile.TemporaryDirectory() as folder:
    other = earshot.Head(options.other or round_head.write(Path(folder) / "round.sofa"))
heads = [("built-in head", earshot.Head.builtin()), (other.name, other)]

# %%
azimuths = np.arange(-180, 181, options.step)
responses = [np.stack([head.impulse_response(a, 0) for a in azimuths]) for _, head in heads]
louder = [np.array([level_difference(r) for r in of_head]) for of_head in responses]
earlier = [np.array([time_difference(r) for r in of_head]) for of_head in responses]
for (name, _), levels, times in zip(heads, louder, earlier):
    print(f"{name}: up to {np.max(levels):.1f} dB and {np.max(times):.0f} us, "
          f"at azimuth 90 {np.interp(90, azimuths, levels):.1f} dB and "
          f"{np.interp(90, azimuths, times):.0f} us")
apart = np.sqrt(np.mean((earlier[0] - earlier[1]) ** 2))
print(f"time differences apart: {apart:.0f} us rms")

# %% [markdown]
# The left ear's spectra, against its average over all azimuths: pinnae draw notches that move, a
# ball has only its shadow and, right behind it, the bright spot where all ways are equally long.

# %%
figure, axes = plt.subplots(2, 2, figsize=(11, 8), layout="constrained")
styles = ((LEFT, "-"), (RIGHT, "--"))
for (name, _), levels, times, (colour, line) in zip(heads, louder, earlier, styles):
    axes[0, 0].plot(azimuths, levels, line, color=colour, label=name)
    axes[0, 1].plot(azimuths, times, line, color=colour, label=name)
axes[0, 0].set(title="Level difference", ylabel="left louder by, in dB")
axes[0, 1].set(title="Time difference", ylabel="left earlier by, in us")
for one in axes[0]:
    one.grid(alpha=0.4)
    one.legend()
for one, (name, _), of_head in zip(axes[1], heads, responses):
    power = np.abs(np.fft.rfft(of_head[:, :, 0].astype(float), 512, axis=1)) ** 2
    relative = decibels(power) - decibels(power.mean(axis=0))
    frequencies = np.fft.rfftfreq(512, 1 / RATE) / 1000
    image = one.pcolormesh(azimuths, frequencies, relative.T, cmap="cividis", vmin=-25, vmax=10,
                           shading="nearest", rasterized=True)
    one.set(title=f"Left ear: {name}", ylabel="kHz", ylim=(0.2, 18))
figure.colorbar(image, ax=axes[1], label="dB")
for one in axes.flat:
    one.set(xlabel="azimuth in degrees (90 = left)", xticks=range(-180, 181, 90))
show(figure, options)
