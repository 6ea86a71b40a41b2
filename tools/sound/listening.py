"""Draws docs/listening.png: what the ears get of a source that circles them in 8 seconds."""

import subprocess

import numpy as np

from head_model import HeadModel
from signals import decibels, time_difference
from subject import RATE, WINDOW

TURN = 8       # seconds
PERIOD = 1024  # of the source's sound, samples: a degree
REACH = 120    # degrees of azimuth that are drawn


def differences(left, right):
    """(time in us by which the left ear is earlier, level in dB by which it is louder)"""
    size = left.shape[-1]
    heard = slice(size * 200 // 24000, size * 16000 // 24000)
    loud = [(np.abs(ear[..., heard]) ** 2).sum(-1) for ear in (left, right)]
    return -time_difference(left, right), decibels(loud[0] / loud[1])


def periodic(seconds):
    """A sound whose spectrum is flat over every one of its periods."""
    generator = np.random.default_rng(8)
    phases = np.exp(2j * np.pi * generator.random(PERIOD // 2 + 1))
    phases[0] = phases[-1] = 0
    period = np.fft.irfft(phases, PERIOD)
    return np.resize(0.1 * period / np.abs(period).max(), int(seconds * RATE))


def heard(subject, placement):
    """(azimuth, time, level) of every period of an orbit."""
    _, file = subject.write("periodic.wav", periodic(TURN))
    ears = subject.render("-s", f"{file}@0,0", "--orbit", TURN, "--placement", placement)
    periods = np.arange(1, REACH * TURN * RATE // 360 // PERIOD)
    blocks = np.stack([ears[k * PERIOD:(k + 1) * PERIOD] for k in periods])
    azimuths = (periods + 0.5) * PERIOD / RATE * 360 / TURN
    left, right = np.moveaxis(np.fft.rfft(blocks, axis=1), 2, 0)
    return azimuths, *differences(left, right)


def truth(subject):
    """The same of the measured directions in the horizontal plane."""
    model = HeadModel(subject.library.head.data())
    azimuths = np.array(sorted(azimuth for azimuth, elevation in model.directions()[:model.measured]
                               if abs(elevation) < 0.01 and azimuth < REACH + 0.01))
    taps = np.fft.irfft([subject.library.nearest(azimuth, 0) for azimuth in azimuths], WINDOW)
    left, right = np.moveaxis(np.fft.rfft(taps, PERIOD), 1, 0)
    return azimuths, *differences(left, right)


def draw(subject, picture):
    curves = [("lines lw 1.5 lc rgb '#dd181f'", "nearest", heard(subject, "measured")),
              ("lines lw 2 lc rgb '#0060ad'", "continuous", heard(subject, "continuous")),
              ("points pt 7 ps 0.7 lc rgb '#222222'", "measured", truth(subject))]
    script = f"""
set terminal pngcairo size 1000,420 font 'sans,11'
set output '{picture}'
set multiplot layout 1,2
set grid
set xrange [0:{REACH}]
set xtics 30
set xlabel 'azimuth in degrees (90 = left)'
set key bottom right
"""
    for column, label in ((2, "left ear earlier by, in us"), (3, "left ear louder by, in dB")):
        script += f"set ylabel '{label}'\nplot " + ", ".join(
            f"'-' using 1:{column} with {style} title '{title}'"
            for style, title, _ in curves) + "\n"
        for _, _, rows in curves:
            script += "".join(f"{a} {t} {l}\n" for a, t, l in zip(*rows)) + "e\n"
    subprocess.run(["gnuplot"], input=script + "unset multiplot\n", text=True, check=True)
