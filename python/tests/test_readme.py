"""What the README shows runs: its commands, its C and C++, its Python."""

import json
import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

import numpy as np

from support import EARSHOT, TESTS, FolderTest, noise  # and where sofa lies

import sofa

TOP = Path(TESTS).parent
BUILD = os.environ["EARSHOT_BUILD"]
README = (TOP / "README.md").read_text()

# Declarations that a fragment has around it: a field whose source is in front.
C_PROGRAM = """%s
#include <stdio.h>
#include <stdlib.h>
enum { frames = 2048 };
int main(void) {
    static s32 before[4][frames], after[4][frames];
    void *in_channels[4], *out_channels[4];
    for (int k = 0; k < 4; ++k) in_channels[k] = before[k], out_channels[k] = after[k];
    for (int i = 0; i < frames; ++i) before[0][i] = before[3][i] = 1 << 28;
%s
    for (int k = 0; k < 4; ++k) printf("%%d\\n", (int)after[k][frames - 1]);
    free(memory);
    return 0;
}
"""
CPP_PROGRAM = """%s
#include <cstdio>
#include <vector>
int main() {
    std::vector<s32> w(2048, 1 << 28), y(2048), z(2048), x(w);
    std::vector<s32> out_w(w), out_y(w), out_z(w), out_x(w);
%s
    for (const auto *out : {&out_w, &out_y, &out_z, &out_x})
        std::printf("%%d\\n", (int)out->back());
}
"""


def block(language):
    """The only one of a language."""
    code, = re.findall(rf"^```{language}\n(.*?)^```$", README, re.MULTILINE | re.DOTALL)
    return code


def program(form, code):
    lines = code.splitlines()
    return form % ("\n".join(line for line in lines if line.startswith("#")),
                   "\n".join(line for line in lines if not line.startswith("#")))


class ReadmeTest(FolderTest):
    def setUp(self):
        super().setUp()
        for name, channels, length in (("voice", 1, 1), ("host", 1, 1), ("band", 2, 1),
                                       ("film", 6, 1)):
            samples = noise(48000 * length * channels, len(name), lowered=4)
            self.write(f"{name}.wav", samples.reshape(-1, channels))
        street = {"version": 1, "duration": 125, "sources": [
            {"file": "voice.wav", "loop": True, "track": [[0, 9, 1, 0], [125, -9, 1, 0]]}]}
        Path("street.json").write_text(json.dumps(street))
        Path("head.csv").write_text("time,yaw,pitch,roll\n0,0,0,0\n1,90,0,0\n")
        line = {"scene": {"version": 1, "sources": [{"file": "voice.wav", "direction": [9, 0]}]},
                "output": "one.wav"}
        Path("scenes.jsonl").write_text(json.dumps(line) + "\n")
        directions = sofa.grid(30)
        sofa.write("me.sofa", directions, sofa.responses(directions, 48000, 256))
        for arguments in (("--to", "60", "-o", "part1.wav"), ("--from", "120", "-o", "part3.wav")):
            subprocess.run([EARSHOT, "render", "-q", "street.json", *arguments], check=True)

    def test_commands(self):
        commands = re.findall(r"^    (earshot .*)$", README, re.MULTILINE)
        self.assertGreater(len(commands), 10)
        path = os.path.dirname(EARSHOT) + os.pathsep + os.environ["PATH"]
        for command in commands:
            made = subprocess.run(["sh", "-c", command], env={**os.environ, "PATH": path},
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            self.assertEqual(made.returncode, 0, (command, made.stderr))
            for output in re.findall(r" -o (\S+)", command):
                self.assertTrue(os.path.exists(output), command)

    def compiled(self, compiler, name, text):
        """What the program prints; compiled without a warning."""
        Path(name).write_text(text)
        subprocess.run([compiler, "-Wall", "-Wextra", "-Werror", name, "-o", "program",
                        f"-I{TOP / 'include'}", f"-L{BUILD}", f"-Wl,-rpath,{BUILD}", "-learshot"],
                       check=True)
        return [int(line) for line in subprocess.check_output("./program").split()]

    def test_c_and_cpp_hear_the_front_on_the_right_of_a_head_turned_left(self):
        in_c = self.compiled("cc", "readme.c", program(C_PROGRAM, block("c")))
        in_cpp = self.compiled("c++", "readme.cpp", program(CPP_PROGRAM, block("cpp")))
        self.assertEqual(in_c, in_cpp)
        w, y, z, x = in_c
        self.assertAlmostEqual(np.degrees(np.arctan2(y, x)), -30, delta=0.01)
        self.assertEqual(z, 0)

    def test_python(self):
        Path("readme.py").write_text(block("python") + "print(azimuth, ears.shape, records)\n")
        made = subprocess.run([sys.executable, "-B", "readme.py"], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True)
        self.assertEqual((made.returncode, made.stderr), (0, ""))
        self.assertIn("[ 0. 45. 90.] (1000, 2) [{'line': 1, 'output': 'one.wav', 'job':",
                      made.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=1)
