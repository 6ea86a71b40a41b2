"""Runs the tool in an empty directory and makes and reads the samples for it."""

import array
import ctypes
import hashlib
import os
import random
import struct
import subprocess
import sys
import tempfile
import unittest

EARSHOT = os.environ["EARSHOT"]

NOT_AUDIO = ("not audio in a format that is read: WAV, RF64, W64, AIFF, AU, CAF, FLAC, Ogg or MP3; "
             "'ffmpeg -i FILE OUT.wav' converts most others")
AGAIN = "; copy or export it again"


def pack(samples, bits):
    """Little-endian bytes of integer samples."""
    if bits == 24:
        return b"".join(struct.pack("<i", s)[:3] for s in samples)
    words = array.array("h" if bits == 16 else "i", samples)
    if sys.byteorder == "big":
        words.byteswap()
    return words.tobytes()


def unpack(data, bits):
    if bits == 24:
        data = b"".join(b"\0" + data[i:i + 3] for i in range(0, len(data), 3))
        return [w >> 8 for w in unpack(data, 32)]
    words = array.array("h" if bits == 16 else "i", data)
    if sys.byteorder == "big":
        words.byteswap()
    return list(words)


def wav(samples, channels, bits=16, rate=48000, claimed=None):
    """A WAV file; `samples` are interleaved integers, or floating point for bits = "float"."""
    if bits == "float":
        data, tag, bits = struct.pack("<%df" % len(samples), *samples), 3, 32
    else:
        data, tag = pack(samples, bits), 1
    size = len(data) if claimed is None else claimed
    frame = channels * bits // 8
    return (b"RIFF" + struct.pack("<I", min(36 + size, 0xFFFFFFFF)) + b"WAVEfmt " +
            struct.pack("<IHHIIHH", 16, tag, channels, rate, rate * frame, frame, bits) +
            b"data" + struct.pack("<I", size) + data)


def au(samples, channels, rate=48000, claimed=0xFFFFFFFF):
    """A 16-bit AU stream."""
    header = struct.pack(">4s5I", b".snd", 24, claimed, 3, rate, channels)
    return header + struct.pack(">%dh" % len(samples), *samples)


# Formats that libsndfile writes, by the name of a file.
SOUND_FORMATS = {
    "a.wav": 0x130002, "ima.wav": 0x010012, "a.rf64": 0x220002, "a.w64": 0x0B0002,
    "a.aiff": 0x020002, "a.caf": 0x180002, "alac.caf": 0x180070, "a.au": 0x030002,
    "g721.au": 0x030030, "a.flac": 0x170002, "vorbis.ogg": 0x200060, "opus.ogg": 0x200064,
    "a.mp3": 0x230082}


def write_sound(name, samples, channels=1, rate=48000):
    """Writes 32-bit samples in the format of SOUND_FORMATS through libsndfile."""
    class Info(ctypes.Structure):
        _fields_ = [("frames", ctypes.c_int64)] + [
            (field, ctypes.c_int) for field in ("rate", "channels", "format", "parts", "seekable")]

    library = ctypes.CDLL("libsndfile.so.1")
    library.sf_open.restype = ctypes.c_void_p
    library.sf_writef_int.restype = ctypes.c_int64
    info = Info(0, rate, channels, SOUND_FORMATS[name], 0, 0)
    write_mode = 0x20
    file = ctypes.c_void_p(library.sf_open(name.encode(), write_mode, ctypes.byref(info)))
    assert file, name
    words = (ctypes.c_int * len(samples))(*samples)
    frames = len(samples) // channels
    assert library.sf_writef_int(file, words, ctypes.c_int64(frames)) == frames, name
    library.sf_close(file)


def noise(count, bits, seed, level=0.5):
    """Random samples; at half scale a rotation cannot saturate."""
    generator = random.Random(seed)
    bound = int(level * 2 ** (bits - 1))
    return [generator.randint(-bound, bound) for _ in range(count)]


def channels_of(samples, count):
    return [samples[k::count] for k in range(count)]


def digest(samples, bits):
    return hashlib.sha256(pack([s << (32 - bits) for s in samples], 32)).hexdigest()


class ToolTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(directory.name)

    def write(self, name, data):
        with open(name, "wb") as file:
            file.write(data)
        return name

    def read(self, name):
        with open(name, "rb") as file:
            return file.read()

    def run_tool(self, *args, data=b"", limit=120, **kwargs):
        return subprocess.run([EARSHOT, *args], input=data, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=limit, **kwargs)

    def tool(self, *args, data=b"", says=b""):
        """Output of a run that must succeed and say exactly this on stderr."""
        result = self.run_tool(*args, data=data)
        self.assertEqual((result.returncode, result.stderr), (0, says), args)
        return result.stdout

    def samples(self, command, source, *args, bits, says=b""):
        """Samples that a command makes of a file or, for bytes, of standard input."""
        data, name = (source, "-") if isinstance(source, bytes) else (b"", source)
        out = self.tool(command, name, "-o", "-", "--raw", "--bits", str(bits), *args, data=data,
                        says=says)
        return unpack(out, bits)

    def fails(self, code, message, *args, data=b"", **kwargs):
        """A run must fail with this line and leave no file that was not there before."""
        before = sorted(os.listdir())
        result = self.run_tool(*args, data=data, **kwargs)
        self.assertEqual((result.returncode, result.stderr.decode()),
                         (code, "earshot: " + message + "\n"), args)
        self.assertEqual(sorted(os.listdir()), before, args)
        return result

    def info(self, name, *args, data=b""):
        """The lines of `info` as a dictionary."""
        lines = self.tool("info", name, *args, data=data).decode().splitlines()
        return {line[:14].strip(): line[14:] for line in lines}

    def direction(self, name, *args, data=b""):
        words = self.info(name, *args, data=data)["direction"].replace(",", "").split()
        return float(words[1]), float(words[3])


def main():
    unittest.main(verbosity=1)
