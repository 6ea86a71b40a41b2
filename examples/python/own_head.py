"""One's own head: a SOFA file becomes a head, and a sound is heard through it."""

# %% [markdown]
# Here the measurement is made up, of a ball with two ears (round_head.py), so that it is known what
# has to come out. With a measurement of your own, name your file instead.

# %%
import tempfile
from pathlib import Path

import matplotlib.pyplot as plt
import numpy as np

import earshot
import round_head
from notebook import LEFT, RATE, RIGHT, decibels, level_difference, noise, settings, show, \
    time_difference

options = settings(__doc__, radius=0.0875, step=10)
with tempfile.TemporaryDirectory() as folder:
    head = earshot.Head(round_head.write(Path(folder) / "round.sofa", options.radius,
                                         options.step))
print(f"{head.name}: {head.directions} directions")

# %% [markdown]
# A head has filters for any direction, measured or between: `impulse_response` shows them. What the
# measurement has for the same directions stands beside: the head keeps its time differences.

# %%
azimuths = np.arange(-180, 181, 5)
kept = np.array([time_difference(head.impulse_response(a, 0)) for a in azimuths])
at = np.column_stack([azimuths, np.zeros(len(azimuths))])
measured = np.array([time_difference(response.T)
                     for response in round_head.responses(at, options.radius)])
print(f"time differences: {np.max(np.abs(kept - measured)):.0f} us at most from the measurement")

# %% [markdown]
# And heard: a noise on the left, through the ball and through the built-in head.

# %%
scene = {"version": 1, "sources": [{"file": "noise", "direction": [90, 0]}]}
for name, whose in (("round head", head), ("built-in head", None)):
    ears = earshot.render(scene, sounds={"noise": noise(1)}, head=whose)
    print(f"{name}, azimuth 90: left louder by {level_difference(ears):.1f} dB, "
          f"earlier by {time_difference(ears):.0f} us")

# %%
figure, (top, bottom) = plt.subplots(2, 1, figsize=(10, 7), layout="constrained")
top.plot(azimuths, measured, color="0.6", linewidth=5, label="the measurement")
top.plot(azimuths, kept, color=LEFT, label="the head's filters")
top.set(title="Time difference of a round head", xlabel="azimuth in degrees (90 = left)",
        ylabel="left earlier by, in us", xlim=(-180, 180), xticks=range(-180, 181, 45))
response = head.impulse_response(90, 0)
frequencies = np.fft.rfftfreq(len(response), 1 / RATE)
for ear, colour, name in ((0, LEFT, "left ear"), (1, RIGHT, "right ear")):
    bottom.semilogx(frequencies, decibels(np.abs(np.fft.rfft(response[:, ear])) ** 2),
                    color=colour, label=name)
bottom.set(title="Filters for azimuth 90", xlabel="Hz", ylabel="dB", xlim=(200, 20000),
           ylim=(-30, 20))
for axes in (top, bottom):
    axes.grid(alpha=0.4)
    axes.legend()
show(figure, options)
