"""A scene of fifty sources, as a file for the tool and in double precision."""

import json
import os
import wave

import numpy as np

from signals import decibels, power, sine, times
from subject import LEAD, RATE, WINDOW

SOURCES = 50
SECONDS = 3
LEVEL = -31  # of the output, dB below full scale, rms
FRAME = 96
SPEECH = "/usr/share/sounds/alsa"
ROLLOFF = {"model": "inverse", "minimum": 1, "maximum": 60}


def sounds(subject):
    """(samples, file) of noise, tones and speech."""
    generator = np.random.default_rng(50)
    count = RATE * SECONDS
    made = [generator.uniform(-0.5, 0.5, count) for _ in range(3)]
    made += [np.convolve(generator.normal(0, 0.02, count), np.exp(-np.arange(200) / 40))[:count]]
    made += [sum(sine(f * n, -12 - 6 * n, SECONDS) for n in (1, 2, 3)) for f in (110, 440, 1760)]
    made += [sine(5000, -12, SECONDS) * (times(SECONDS) % 0.25 < 0.1)]
    written = [subject.write(f"sound{k}.wav", sound) for k, sound in enumerate(made)]
    return written + [read_speech(name) for name in sorted(os.listdir(SPEECH))
                      if name.endswith(".wav") and name != "Noise.wav"]


def read_speech(name):
    path = os.path.join(SPEECH, name)
    with wave.open(path) as file:
        if (file.getframerate(), file.getnchannels(), file.getsampwidth()) != (RATE, 1, 2):
            raise RuntimeError(f"{path} is not a mono file of 16 bits at 48 kHz")
        return np.frombuffer(file.readframes(file.getnframes()), "<i2") / 2 ** 15, path


class Source:
    """Where one of them is, in numbers that the tool's whole ones hold exactly."""

    def __init__(self, k, sound, kind):
        self.samples, self.file = sound
        self.kind = kind
        self.gain = -0.37 * (k % 13)  # dB
        self.azimuth, self.elevation = k * 137.5 % 360, -35 + k * 2.5
        self.position = np.array([k % 7 - 2.75, k * 3 % 11 - 5.25, k % 3 - 1.125])
        self.turn = (0.25, -0.125, 0.0625)[k % 3]  # degrees a frame

    def entry(self, more_gain):
        place = {
            "still": {"direction": [self.azimuth, self.elevation]},
            "moving": {"track": [[t, *self.direction(t * RATE // FRAME)]
                                 for t in range(SECONDS + 1)]},
            "distant": {"position": list(self.position), "rolloff": ROLLOFF}}[self.kind]
        return {"file": self.file, "loop": True, "gain": round(self.gain + more_gain, 3), **place}

    def direction(self, frame):
        """At the beginning of a frame."""
        if self.kind == "distant":
            x, y, z = self.position
            return np.degrees(np.arctan2(y, x)), np.degrees(np.arctan2(z, np.hypot(x, y)))
        return self.azimuth + (self.turn * frame if self.kind == "moving" else 0), self.elevation

    def heard(self, count):
        """Its first samples at the listener, before the gain that all sources share."""
        return np.resize(self.samples, count) * 10 ** (self.gain / 20) * self.rolled_off()

    def rolled_off(self):
        if self.kind != "distant":
            return 1
        nearest, end = ROLLOFF["minimum"], ROLLOFF["maximum"]
        distance = max(np.sqrt((self.position ** 2).sum()), nearest)
        return (nearest / distance - nearest / end) / (1 - nearest / end)


def whole_convolution(spectra):
    """Filters for windows of twice the length, in which no tap lands in a wrong place."""
    taps = np.fft.irfft(spectra, WINDOW)
    apart = np.zeros(taps.shape[:-1] + (WINDOW,))
    return np.fft.rfft(np.concatenate([taps[..., :LEAD], apart, taps[..., LEAD:]], -1))


def rendered(source, filters):
    """A source at the ears: frames fade from the filters of their beginning to those of their end,
    which filters(azimuth, elevation) gives."""
    count = SECONDS * RATE // FRAME
    ends = range(1, count + 1) if source.kind == "moving" else [1]
    spectra = np.stack([filters(*source.direction(end)) for end in ends], 1)
    window = 2 * (spectra.shape[-1] - 1)
    padded = np.concatenate([np.zeros(LEAD), source.heard(SECONDS * RATE + window)])
    windows = np.lib.stride_tricks.sliding_window_view(padded, window)[:count * FRAME:FRAME]
    sound = np.fft.rfft(windows)
    fade = np.arange(1, FRAME + 1) / FRAME
    ears = []
    for new in np.broadcast_to(spectra, (2, *sound.shape)):
        old = np.concatenate([new[:1], new[:-1]])
        before, after = (np.fft.irfft(sound * each)[:, LEAD:LEAD + FRAME] for each in (old, new))
        ears.append((before + (after - before) * fade).ravel())
    return np.stack(ears, 1)


def signal_to_noise(subject, kind, placement):
    """Of the tool's rendering against two in double precision, decibels: with the same windows, and
    by convolution with the whole response."""
    found = sounds(subject)
    sources = [Source(k, found[k % len(found)], kind) for k in range(SOURCES)]
    library = subject.library
    filters = library.head.filters if placement == "continuous" else library.nearest
    windowed, whole = (sum(rendered(source, each) for source in sources)
                       for each in (filters, lambda *at: whole_convolution(filters(*at))))
    gain = round(LEVEL - decibels(power(whole)), 3)
    with open(subject.path("fifty.json"), "w") as file:
        json.dump({"version": 1, "duration": SECONDS,
                   "sources": [source.entry(gain) for source in sources]}, file)
    made = subject.render("fifty.json", "--placement", placement) / 10 ** (gain / 20)
    return [decibels(power(exact) / power(made - exact)) for exact in (windowed, whole)]
