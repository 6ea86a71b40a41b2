"""The examples run, with small sizes, and find what is known of the sounds and heads they make."""

import csv
import json
import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

from support import EXAMPLES, FolderTest

PYTHON = os.path.join(EXAMPLES, "..", "python")


class ExampleTest(FolderTest):
    def run_example(self, name, *arguments):
        """What it prints; it has to say nothing else."""
        made = subprocess.run([sys.executable, "-B", os.path.join(PYTHON, name), *arguments],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              env={**os.environ, "MPLCONFIGDIR": os.getcwd()})
        self.assertEqual((made.returncode, made.stderr), (0, ""), name)
        return made.stdout

    def numbers(self, name, pattern, *arguments):
        """The numbers where the pattern has groups; the example draws a picture, too."""
        text = self.run_example(name, *arguments, "--save", "picture.png")
        self.assertTrue(Path("picture.png").read_bytes().startswith(b"\x89PNG"), name)
        found = re.search(pattern, text)
        self.assertTrue(found, text)
        return [float(number) for number in found.groups()]

    def test_circling(self):
        left_louder, left_earlier, right_louder, right_earlier = self.numbers(
            "circling.py", r"azimuth \d+: left louder by (\S+) dB, earlier by (\S+) us\n"
                           r"azimuth -\d+: left louder by (\S+) dB, earlier by (\S+) us",
            "--seconds", "2")
        self.assertTrue(12 < left_louder < 18 and -18 < right_louder < -12)
        self.assertTrue(650 < left_earlier < 760 and -760 < right_earlier < -650)

    def test_own_head_and_its_measurement(self):
        apart, earlier = self.numbers(
            "own_head.py", r"differences: (\d+) us at most[^$]*round head, azimuth 90: left louder "
                           r"by \S+ dB, earlier by (\S+) us", "--radius", "0.08", "--step", "15")
        self.assertLess(apart, 25)
        # Below the shadow's frequency a wave is late by three radii, of the speed of sound.
        self.assertAlmostEqual(earlier, 3 * 0.08 / 343 * 1e6, delta=30)

    def test_compare_heads(self):
        built_in, ball, apart = self.numbers(
            "compare_heads.py", r"built-in head: .* dB and (\d+) us\n.*round.* dB and (\d+) us\n"
                                r".*apart: (\d+) us", "--step", "15")
        self.assertAlmostEqual(built_in, 706, delta=20)
        self.assertAlmostEqual(ball, 765, delta=20)
        self.assertTrue(10 < apart < 100)

    def test_a_data_set_is_the_same_again_and_says_the_truth(self):
        for folder in "one", "two":
            self.run_example("make_dataset.py", "--count", "5", "--seed", "7", "--seconds", "1",
                             "-o", folder)
        self.run_example("make_dataset.py", "--count", "5", "--seed", "8", "--seconds", "1",
                         "--no-picture", "-o", "other")
        results = {folder: Path(folder, "audio/results.jsonl").read_bytes()
                   for folder in ("one", "two", "other")}
        self.assertEqual(results["one"], results["two"])
        self.assertNotEqual(results["one"], results["other"])
        self.assertTrue(Path("one/distribution.png").exists())
        records = [json.loads(line) for line in results["one"].splitlines()]
        self.assertEqual([(r.get("error"), r["duration"], r["clipped"]) for r in records],
                         [(None, 1, 0)] * 5)

        for path in Path("one/truth").glob("*.csv"):
            scene = json.loads(Path("one/scenes", path.stem + ".json").read_text())
            rows = list(csv.DictReader(path.read_text().splitlines()))
            self.assertEqual(len(rows), 20 * len(scene["sources"]))
            for row in rows:
                source = scene["sources"][int(row["source"])]
                if float(row["time"]) + 0.05 <= source["start"]:
                    self.assertEqual(row["active"], "0")
                if "position" in source:
                    distance = sum(c * c for c in source["position"]) ** 0.5
                    self.assertAlmostEqual(float(row["distance"]), distance, delta=0.001)

        level, = self.numbers("dataset.py", r"level difference and the side: correlation (\S+)",
                              "--data", "one")
        self.assertGreater(level, 0.6)


if __name__ == "__main__":
    unittest.main(verbosity=1)
