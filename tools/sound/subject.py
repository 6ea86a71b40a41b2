"""What is measured: the tool and the library of a build, as numpy sees them.

Sound is float64 with 1.0 for full scale, of shape (frames,) or (frames, ears). Filters are complex
spectra of 129 bins, 0 to 24 kHz. Angles are degrees.
"""

import ctypes
import os
import subprocess
import wave

import numpy as np

RATE = 48000
WINDOW = 256  # samples of a transform
LEAD = 140    # of them before the frame: taps from there on stand for times before the sound
FULL_SCALE = 2.0 ** 31
DEGREE = 65536  # angles of the library are Q16


class FilterPair(ctypes.Structure):
    """earshot_filter_pair"""
    _fields_ = [("ear", ctypes.c_int32 * WINDOW * 2), ("gain", ctypes.c_uint32),
                ("reserved", ctypes.c_uint32)]


class SelectedPair(ctypes.Structure):
    """hrtf_filter_pair"""
    _fields_ = [("ear", ctypes.POINTER(ctypes.c_int32 * WINDOW) * 2)]


def spectra_of(words):
    """Filters in the order of the tables, Q29: DC, Nyquist, then bins 1 to 127."""
    words = np.asarray(words, float) / 2 ** 29
    spectra = np.zeros(words.shape[:-1] + (129,), complex)
    spectra[..., 0] = words[..., 0]
    spectra[..., 128] = words[..., 1]
    spectra[..., 1:128] = words[..., 2::2] + 1j * words[..., 3::2]
    return spectra


class Head:
    """Words of a head, which have to stay where they are, and their address as the library has it."""

    def __init__(self, library, words, address):
        self._library, self._words, self._address = library, words, address

    def data(self):
        return bytes(self._words)

    def filters(self, azimuth, elevation):
        """Of both ears: (2, 129)."""
        pair = FilterPair()
        self._library.call("earshot_head_filter", self._address, round(azimuth * DEGREE),
                           round(elevation * DEGREE), ctypes.byref(pair))
        return spectra_of(np.array(pair.ear))


class Library:
    def __init__(self, path):
        self.calls = ctypes.CDLL(path)
        self.calls.earshot_head_builtin_size.restype = ctypes.c_size_t
        size = self.calls.earshot_head_builtin_size()
        self.head = self._head("earshot_head_builtin", (ctypes.c_uint32 * (size // 4))())
        self._tables = self._open_tables()

    def _head(self, maker, words):
        address = ctypes.c_void_p()
        self.call(maker, words, ctypes.c_size_t(ctypes.sizeof(words)), ctypes.byref(address))
        return Head(self, words, address)

    def open_head(self, data):
        words = (ctypes.c_uint32 * (len(data) // 4)).from_buffer_copy(data)
        return self._head("earshot_head_open", words)

    def call(self, name, *arguments):
        status = self.calls[name](*arguments)
        if status:
            raise RuntimeError(f"{name} gave {status}")

    def _open_tables(self):
        memory = (ctypes.c_uint64 * 16)()
        instance = ctypes.c_void_p()
        diffuse = ctypes.c_uint32(0)
        self.call("hrtf_init", ctypes.byref(instance), 1, ctypes.byref(diffuse), memory,
                  ctypes.sizeof(memory))
        self._tables_memory = memory
        return instance

    def nearest(self, azimuth, elevation):
        """The filters of the measured direction nearest to it."""
        position = (ctypes.c_int32 * 3)(65536, round(azimuth % 360 * DEGREE),
                                        round(elevation * DEGREE))
        pair = SelectedPair()
        self.call("hrtf_selection", self._tables, position, ctypes.byref(pair))
        return spectra_of([np.array(ear.contents) for ear in pair.ear])


class Subject:
    """A build, and a folder of its own for the files that its tool reads."""

    def __init__(self, build, folder):
        self.build = os.path.abspath(build)
        self.tool = os.path.join(self.build, "earshot")
        self.folder = folder
        self._library = None

    @property
    def library(self):
        if self._library is None:
            self._library = Library(os.path.join(self.build, "libearshot.so"))
        return self._library

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, sound):
        """A mono file of 32 bits; returns the samples as they are in it, and its path."""
        words = np.clip(np.rint(np.asarray(sound) * FULL_SCALE), -FULL_SCALE, FULL_SCALE - 1)
        with wave.open(self.path(name), "wb") as file:
            file.setparams((1, 4, RATE, 0, "NONE", ""))
            file.writeframes(words.astype("<i4").tobytes())
        return words / FULL_SCALE, self.path(name)

    def run(self, *arguments):
        return subprocess.run([self.tool, *map(str, arguments)], cwd=self.folder, check=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE).stdout

    def render(self, *arguments):
        """What "earshot render" makes: (frames, 2)."""
        raw = self.run("render", *arguments, "--bits", 32, "--raw", "-o", "-", "-q")
        return np.frombuffer(raw, "<i4").reshape(-1, 2) / FULL_SCALE
