"""Sounds and the tool, for the tests of the package."""

import os
import subprocess
import sys
import tempfile
import unittest

import numpy as np

TESTS = os.environ["EARSHOT_TESTS"]
EXAMPLES = os.path.join(TESTS, "..", "examples", "scenes")
sys.path.insert(0, os.path.join(TESTS, "tool"))

from harness import EARSHOT, wav, write_sound  # noqa: E402, F401


def noise(length, seed, lowered=2):
    """Words whose upper bits are random, `lowered` bits below full scale."""
    words, state = [], seed
    for _ in range(length):
        state = (state * 6364136223846793005 + 1442695040888963407) % 2 ** 64
        words.append(state >> 32)
    return np.array(words, np.uint32).view(np.int32) >> lowered


class FolderTest(unittest.TestCase):
    """Runs in an empty folder."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def write(self, name, samples, rate=48000, bits=32):
        """A WAV file of words; of fewer bits, their upper ones."""
        samples = np.asarray(samples)
        channels = 1 if samples.ndim == 1 else samples.shape[1]
        words = (samples.reshape(-1) >> (32 - bits)).tolist()
        with open(name, "wb") as file:
            file.write(wav(words, channels, bits, rate))

    def tool(self, *args):
        """Words of what the tool makes of a command without its output."""
        made = subprocess.run([EARSHOT, *args, "-o", "-", "--raw", "--bits", "32"],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        self.assertEqual(made.returncode, 0, (args, made.stderr))
        return np.frombuffer(made.stdout, "<i4")

    def digest(self, *args):
        """The digest that the tool prints."""
        made = subprocess.run([EARSHOT, *args, "-o", "digested.wav", "--bits", "32", "--digest"],
                              stdout=subprocess.PIPE, check=True, stderr=subprocess.DEVNULL)
        return made.stdout.decode().split()[0]
