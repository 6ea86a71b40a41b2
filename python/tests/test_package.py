"""The package as others get it: typed, documented, in a wheel."""

import glob
import os
import re
import subprocess
import sys
import unittest

from support import TESTS, FolderTest, noise

SOURCES = os.path.abspath(os.path.join(TESTS, ".."))
BUILD = os.environ["EARSHOT_BUILD"]


def run(*command, **changes):
    made = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          env={**os.environ, **changes}, check=False)
    if made.returncode != 0:
        raise AssertionError(f"{command}:\n{made.stdout}")
    return made.stdout


class Package(FolderTest):
    def test_types(self):
        """Those of the package itself, and those that its users get."""
        with open("user.py", "w", encoding="utf-8") as file:
            file.write("import earshot\n"
                       "rate: str = earshot.Field(1).channels\n"
                       "earshot.render({}, fields=1)\n"
                       "ears = earshot.Binaural(2).process([[0.0, 1.0]])\n"
                       "ears.shape\n")
        package = os.path.join(BUILD, "python")
        mypy = [sys.executable, "-m", "mypy", "--strict", "--cache-dir=cache"]
        run(*mypy, os.path.join(package, "earshot"))
        made = subprocess.run([*mypy, "user.py"], stdout=subprocess.PIPE, text=True, check=False,
                              env={**os.environ, "MYPYPATH": package})
        self.assertEqual(re.findall(r"user.py:(\d): error", made.stdout), ["2", "3"], made.stdout)

    def test_documentation(self):
        """Its blocks of code run as they stand there."""
        self.write("voice.wav", noise(48000, 1, 4), bits=16)
        with open(os.path.join(SOURCES, "docs", "python.md"), encoding="utf-8") as file:
            blocks = re.findall(r"^```python\n(.*?)^```", file.read(), re.M | re.S)
        self.assertGreater(len(blocks), 4)
        output = run(sys.executable, "-B", "-W", "error", "-c", "\n".join(blocks)).splitlines()
        self.assertTrue(output[0].startswith("(48127, 2) "), output[0])
        self.assertIn("sources[0].direction: elevation 91 is outside -90 to 90", output[-1])

    def test_wheel(self):
        """Made of this build, installed into an environment of its own, it needs nothing else."""
        run("cp", "-r", os.path.join(SOURCES, "python"), "python")
        run(sys.executable, "-m", "build", "--wheel", "--no-isolation", "-o", "wheels", "python",
            EARSHOT_BUILD=BUILD)
        wheel, = glob.glob("wheels/*.whl")
        self.assertRegex(wheel, r"/earshot-[0-9.]+-cp39-abi3-linux_\w+\.whl$")
        run(sys.executable, "-m", "venv", "--system-site-packages", "own")
        python = os.path.abspath("own/bin/python")
        run(python, "-m", "pip", "install", "--no-index", "--no-deps", wheel)
        self.write("a.wav", noise(4410, 2, 4), 44100)
        program = """
import earshot, os, re
ears = earshot.render({"version": 1, "sources": [{"file": "a.wav", "direction": [30, 0]}]})
here = os.path.dirname(earshot.__file__)
loaded = set(re.findall(r"\\S*/(?:libearshot|_library|_files)\\S*", open("/proc/self/maps").read()))
assert len(loaded) == 4 and all(os.path.dirname(path) == here for path in loaded), loaded
print(earshot.digest(ears), os.path.basename(os.path.dirname(here)))
"""
        made = run(python, "-c", program, PYTHONPATH="", LD_LIBRARY_PATH="").split()
        import earshot
        scene = {"version": 1, "sources": [{"file": "a.wav", "direction": [30, 0]}]}
        self.assertEqual(made, [earshot.digest(earshot.render(scene)), "site-packages"])

    def test_a_source_distribution_is_refused(self):
        run("cp", "-r", os.path.join(SOURCES, "python"), "python")
        with self.assertRaisesRegex(AssertionError, "earshot: a source distribution would lack"):
            run(sys.executable, "-m", "build", "--sdist", "--no-isolation", "python",
                EARSHOT_BUILD=BUILD)

    def test_versions(self):
        import earshot
        self.assertIn(earshot.instruction_set(), ("scalar", "sse41", "avx2", "avx512", "neon"))
        self.assertRegex(earshot.__version__, r"^\d+\.\d+\.\d+$")
        self.assertEqual(earshot.Head.builtin().directions, 710)


if __name__ == "__main__":
    unittest.main()
