"""Test sounds, and what is read off a sound."""

import numpy as np

from subject import RATE, WINDOW


def decibels(power):
    return 10 * np.log10(np.maximum(power, 1e-30))


def power(sound):
    return np.mean(np.square(sound))


def times(seconds):
    return np.arange(int(seconds * RATE)) / RATE


def sine(frequency, level, seconds):
    """Level: of its peak, in decibels below full scale."""
    return 10 ** (level / 20) * np.sin(2 * np.pi * frequency * times(seconds))


def all_but_sine(sound, frequency):
    """Power of what is left of a sound without its sine and its constant part."""
    angle = 2 * np.pi * frequency / RATE * np.arange(len(sound))
    parts = np.stack([np.sin(angle), np.cos(angle), np.ones(len(sound))], 1)
    return power(sound - parts @ np.linalg.lstsq(parts, sound, rcond=None)[0])


def power_spectrum(sound):
    """Frequencies and powers, through a window whose side lobes are below -150 dB."""
    powers = np.abs(np.fft.rfft(sound * np.kaiser(len(sound), 20))) ** 2
    return np.fft.rfftfreq(len(sound), 1 / RATE), powers


def step_energy(sound):
    """Energy above 4 kHz against that from 500 to 2000 Hz, decibels."""
    frequencies, powers = power_spectrum(sound)
    carrier = powers[(frequencies >= 500) & (frequencies <= 2000)].sum()
    return decibels(powers[frequencies > 4000].sum() / carrier)


def strongest_line(sound, carrier):
    """The strongest line more than 100 Hz off the carrier, against the strongest, decibels."""
    frequencies, powers = power_spectrum(sound)
    return decibels(powers[np.abs(frequencies - carrier) > 100].max() / powers.max())


BANDS = 1000 * 2 ** (np.arange(-7, 13) / 3)  # third octaves, 200 Hz to 16 kHz


def third_octaves(spectra):
    """Mean powers of filters in the bands, decibels."""
    size = 4096  # so that the narrowest band has bins
    powers = np.abs(np.fft.rfft(np.fft.irfft(spectra, WINDOW), size)) ** 2
    frequencies = np.fft.rfftfreq(size, 1 / RATE)
    edge = 2 ** (1 / 6)
    return decibels(np.stack([powers[..., (frequencies >= f / edge) & (frequencies < f * edge)]
                              .mean(-1) for f in BANDS], -1))


def time_difference(left, right):
    """By how many microseconds the left ear is later: the lag of the largest cross-correlation from
    200 to 1500 Hz within a millisecond. Spectra are of any size."""
    bins = left.shape[-1]
    frequencies = np.arange(bins) * RATE / 2 / (bins - 1)
    heard = (frequencies >= 200) & (frequencies <= 1500)
    cross = (left * np.conj(right))[..., heard]
    step = 2e-6
    lags = np.arange(-500, 501) * step
    correlation = (cross @ np.exp(2j * np.pi * np.outer(frequencies[heard], lags))).real
    best = np.clip(correlation.argmax(-1), 1, len(lags) - 2)[..., None]
    before, at, after = (np.take_along_axis(correlation, best + k, -1) for k in (-1, 0, 1))
    top = best + (before - after) / 2 / (before - 2 * at + after)  # of the parabola through them
    return (lags[0] + top[..., 0] * step) * 1e6
