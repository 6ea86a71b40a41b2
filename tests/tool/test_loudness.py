"""How loud the output is, as ffmpeg measures it, and what is said where it is too loud."""

import re
import subprocess

from harness import ToolTest, main, noise, wav


def measured(name):
    """Integrated loudness, range and true peak by ffmpeg's meter of EBU R 128, which takes the true
    peak at 192 kHz: of 44.1 kHz, its conversion is off by 0.3 dB, so that is left to the others."""
    text = subprocess.run(["ffmpeg", "-nostats", "-i", name, "-af", "ebur128=peak=true", "-f",
                           "null", "-"], stderr=subprocess.PIPE).stderr.decode()
    summary = text[text.rindex("Summary:"):]
    return [float(re.search(label + r": +(-?[0-9.]+)", summary)[1]) for label in
            ("I", "LRA", "Peak")]


class Levels(ToolTest):
    def setUp(self):
        super().setUp()
        subprocess.check_call(["sox", "-R", "-n", "-r", "48000", "-b", "24", "in.wav", "synth", "6",
                               "pinknoise", "tremolo", "0.4", "80", "gain", "-18"])
        self.tool("encode", "in.wav", "-o", "field.wav", "--azimuth=70")

    def run_to(self, *args, field=False):
        source = ["binauralize", "field.wav"] if field else ["render", "-s", "in.wav@70,0"]
        result = self.run_tool(*source, "-o", "out.wav", *args)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stderr.decode()

    def test_targets(self):
        """Within 0.1 LU; the true peak within 0.1 dB below its number."""
        for field, args, loudness, peak in [
                (False, ["--loudness=-23"], -23, None),
                (True, ["--loudness=-16", "--rate=44100"], -16, None),
                (True, ["--true-peak=-1.5"], None, -1.5),
                (False, ["--true-peak=-6", "--rate=96000", "--bits=16"], None, -6),
                (True, ["--loudness=-30", "--true-peak=-1"], -30, None),
                (False, ["--loudness=-5", "--true-peak=-2"], None, -2)]:
            with self.subTest(args=args):
                says = self.run_to(*args, field=field)
                found = measured("out.wav")
                if loudness is not None:
                    self.assertAlmostEqual(found[0], loudness, delta=0.1)
                if peak is not None:
                    self.assertAlmostEqual(found[2], peak - 0.03, delta=0.08)
                limited = re.findall("becomes (.*) LUFS and not -5.00: more", says)
                self.assertEqual(len(limited), args == ["--loudness=-5", "--true-peak=-2"])
                if limited:
                    self.assertAlmostEqual(float(limited[0]), found[0], delta=0.1)

    def test_normalize_is_of_what_is_written(self):
        for rate in 16000, 44100, 96000:
            self.assertEqual(self.run_to("--normalize", f"--rate={rate}"), "")
            peak = float(self.info("out.wav")["peak"].split()[0])
            self.assertAlmostEqual(peak, 0, delta=0.011)

    def test_clip_report_names_the_gain(self):
        """Just that gain, to a hundredth of a decibel."""
        report = (r"^earshot: out.wav: \d+ samples clipped at full scale, by up to (.*) dB; "
                  r"--gain (.*) \(or --normalize\) avoids it\n$")
        for gain, *args in (0, "--bits=16"), (3.217, "--bits=24"), (9, "--rate=44100"):
            with self.subTest(args=args):
                gain += 24
                excess, cure = map(float, re.match(
                    report, self.run_to(f"--gain={gain}", *args)).groups())
                self.assertAlmostEqual(cure, gain - excess, delta=0.0151)
                self.assertEqual(self.run_to(f"--gain={cure}", *args), "")
                self.assertIn("clipped", self.run_to(f"--gain={cure + 0.012}", *args))
        self.assertRegex(self.run_to("--normalize", "--gain=2"),
                         r"by up to 2\.00 dB; --normalize without --gain avoids it\n$")
        self.assertRegex(self.run_to("--loudness=-3"), r"; --true-peak -1 avoids it\n$")
        self.assertEqual(self.run_to("--loudness=-3", "--true-peak=-1", "-q"), "")

    def test_info_measures_alike(self):
        """Channels of different kinds of noise; surround channels count more, the LFE not at all."""
        for kinds in ["pinknoise"], ["pinknoise", "brownnoise"], \
                     ["pinknoise", "brownnoise", "pinknoise", "brownnoise"] + ["pinknoise"] * 2:
            with self.subTest(channels=len(kinds)):
                subprocess.check_call(["sox", "-R", "-n", "-r", "48000", "-b", "24", "-c",
                                       str(len(kinds)), "s.wav", "synth", "5", *kinds,
                                       "tremolo", "0.3", "90", "gain", "-9"])
                info = self.info("s.wav")
                for label, value in zip(("loudness", "range", "true peak"), measured("s.wav")):
                    self.assertAlmostEqual(float(info[label].split()[0]), value, delta=0.11)
        self.assertNotIn("loudness", self.info("field.wav"))

    def test_what_cannot_be_measured(self):
        sound = "earshot: the sound is %s and stays as it is\n"
        self.write("in.wav", wav([0] * 48000, 1))
        for args in ["--loudness=-20"], ["--true-peak=-1"]:
            self.assertEqual(self.run_to(*args), sound % "silent")
        self.write("in.wav", wav(noise(10000, 16, 1, 0.2), 1))
        self.run_to("--true-peak=-1")
        self.assertAlmostEqual(measured("out.wav")[2], -1.03, delta=0.08)
        self.assertEqual(self.run_to("--loudness=-20"),
                         sound % "too short or too soft to have a loudness")

    def test_contradictions(self):
        for message, *args in [
                ("--normalize and --loudness both say how loud it becomes; leave one of them out",
                 "--normalize", "--loudness=-20"),
                ("--gain would change what --true-peak has reached; leave one of them out",
                 "--gain=1", "--true-peak=-1"),
                ("--loudness: 1 is outside -70 to 0", "--loudness=1"),
                ("--true-peak: 0.5 is outside -40 to 0", "--true-peak=0.5")]:
            self.fails(1, message, "render", "-s", "in.wav@0,0", "-o", "out.wav", *args)
        for command in ["render", "-s", "-@0,0"], ["binauralize", "-"]:
            self.fails(1, "--loudness reads the input twice, which standard input cannot", *command,
                       "-o", "out.wav", "--loudness=-20")


main()
