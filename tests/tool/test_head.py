"""earshot head: what it makes of measurements whose responses are known for every direction."""

import os
import shutil
import subprocess

import numpy as np

import harness
import sofa

FREQUENCIES = np.arange(129) * 187.5
HEARD = (FREQUENCIES >= 200) & (FREQUENCIES <= 14000)


class Head:
    """A head's file, used through the library."""

    def __init__(self, name):
        self.name = name
        counts = self.ask([])[0].split(b" ", 3)
        self.directions, self.filled, self.channels = map(int, counts[:3])
        self.title = counts[3].decode()

    def ask(self, lines):
        result = subprocess.run([os.environ["HEAD_REFERENCE"], self.name], check=True,
                                input="\n".join(lines).encode(), stdout=subprocess.PIPE)
        return result.stdout.split(b"\n", 1)

    def gains(self, lines):
        """Of both ears at FREQUENCIES, for each line."""
        words = np.frombuffer(self.ask(lines)[1], "<i4").reshape(-1, 2, 128, 2) / 2 ** 29
        bins = np.zeros((len(words), 2, 129), complex)
        bins[:, :, :128] = words[..., 0] + 1j * words[..., 1]
        bins[:, :, 0] = words[:, :, 0, 0]
        return bins

    def responses(self, directions):
        q16 = np.round(np.array(directions, float) * 65536).astype(int)
        return self.gains(["%d %d" % tuple(one) for one in q16])


def decibels(gains):
    return 20 * np.log10(np.maximum(np.abs(gains), 1e-9))


def delay_between(one, other):
    """Microseconds by which the first of two responses is later, from phases of 200 to 1500 Hz."""
    used = (FREQUENCIES >= 200) & (FREQUENCIES <= 1500)
    phases = np.unwrap(np.angle(other[used] * np.conj(one[used])))
    f = FREQUENCIES[used]
    return 1e6 * (phases @ f) / (2 * np.pi * f @ f)


def errors(head, directions):
    """By direction: the largest error of level over the frequencies but for one gain of the head, dB;
    of the time between the ears, microseconds. And that gain."""
    made = head.responses(directions)
    meant = np.stack([sofa.ear_response(directions, ear, FREQUENCIES) for ear in (0, 1)], 1)
    levels = (decibels(made) - decibels(meant))[:, :, HEARD]
    gain = np.median(levels)
    times = [delay_between(*a) - delay_between(*b) for a, b in zip(made, meant)]
    return np.abs(levels - gain).max(axis=(1, 2)), np.abs(times), gain


# The diffuse-field average of the built-in head's tables.
LEVEL = -0.695
ANYWHERE = sofa.scattered(200, seed=7)


def gain_of_average(directions=sofa.grid(5)):
    """By which the mean power of the round head over the sphere, 200 Hz to 16 kHz, becomes that of
    the tables."""
    weights = np.cos(np.radians(np.array(directions)[:, 1]))
    used = (FREQUENCIES >= 200) & (FREQUENCIES <= 16000)
    power = [np.abs(sofa.ear_response(directions, ear, FREQUENCIES[used])) ** 2 for ear in (0, 1)]
    return LEVEL - 10 * np.log10((weights @ np.mean(power, 0)).mean() / weights.sum())


class HeadTest(harness.ToolTest):
    def head(self, name, *args, says=""):
        self.tool("head", name, "-o", "out.head", *args,
                  says="".join("earshot: %s: %s\n" % (name, line)
                               for line in says.splitlines()).encode())
        return Head("out.head")

    def regular(self):
        directions = sofa.grid(15, -75, 75)
        return sofa.write("a.sofa", directions, sofa.responses(directions, 48000, 256))

    def irregular(self):
        directions = sofa.scattered(700, seed=1)
        return sofa.write("a.sofa", directions, sofa.responses(directions, 44100, 512), 44100)

    def unusual(self):
        """All that a file may do in another way: 96 kHz, the delay beside the responses, receivers in
        the other order, cartesian places around a listener who looks to the left and stands
        elsewhere, a second distance, a direction twice."""
        directions = np.array(sofa.grid(15) + [(30, 0)])
        rate, length, lead = 96000, 512, 24
        at = sofa.vectors(directions)
        samples = sofa.responses(directions, rate, length)
        early = 2 * np.round(10 * at[:, 1]).astype(int)
        delays = np.stack([lead - early, lead + early], 1)
        # At the rate of the file, whole samples.
        for n, ears in enumerate(delays):
            for ear, late in enumerate(ears):
                samples[n, ear] = np.roll(samples[n, ear], -late)
        places = 1.2 * np.stack([-at[:, 1], at[:, 0], at[:, 2]], 1) + [3, 4, 5]
        near = 0.25 * (places - [3, 4, 5]) + [3, 4, 5]
        return sofa.write(
            "a.sofa", np.concatenate([directions] * 2),
            np.concatenate([samples, np.roll(samples, 1, axis=0)])[:, ::-1], rate,
            Data_Delay=(np.concatenate([delays] * 2)[:, ::-1], {}),
            SourcePosition=(np.concatenate([places, near]), sofa.CARTESIAN),
            ListenerPosition=([[3, 4, 5]], sofa.CARTESIAN),
            ListenerView=([[90, 0, 1]], sofa.SPHERICAL),
            ReceiverPosition=([[[0], [-0.09], [0]], [[0], [0.09], [0]]], sofa.CARTESIAN))

    def test_responses_between_the_measured_directions(self):
        cases = [
            # file, what is said, measured directions, errors of level (dB) and time (us)
            (self.regular, "", 264, 0.5, 12),
            (self.irregular, "", 700, 0.5, 12),
            (self.unusual,
             "measured at 2 distances; the 267 responses of 1.20 m are used\n"
             "1 response repeats a direction and is left out", 266, 0.5, 12),
        ]
        for make, says, measured, level, time in cases:
            with self.subTest(make.__name__):
                head = self.head(make(), "--no-equalise", says=says)
                self.assertEqual((head.directions, head.filled), (measured, 0))
                levels, times, gain = errors(head, ANYWHERE)
                self.assertLess(levels.max(), level)
                self.assertLess(times.max(), time)
                self.assertAlmostEqual(gain, gain_of_average(), delta=0.2)

    def test_equalised_responses_are_flat_on_the_average_and_differ_as_measured(self):
        head = self.head(self.regular(), "--name", "Róbert")
        self.assertEqual(head.title, "Róbert")
        weights = np.cos(np.radians(np.array(sofa.grid(10))[:, 1]))
        power = np.abs(head.responses(sofa.grid(10))) ** 2
        mean = 10 * np.log10((weights @ np.mean(power, 1) / weights.sum())[HEARD])
        self.assertLess(np.abs(mean - LEVEL).max(), 0.4)
        for direction, made in zip(ANYWHERE[:20], head.responses(ANYWHERE[:20])):
            meant = [sofa.ear_response([direction], ear, FREQUENCIES)[0] for ear in (0, 1)]
            difference = (decibels(made[0]) - decibels(made[1]) -
                          decibels(meant[0]) + decibels(meant[1]))
            self.assertLess(np.abs(difference[HEARD]).max(), 0.7)
            self.assertLess(abs(delay_between(*made) - delay_between(*meant)), 8)
        # A field of fourth order that holds a plane wave from the left, in its lowest channels.
        self.assertEqual(head.channels, 25)
        ears = np.abs(head.gains(["channel 0", "channel 1"]).sum(0))[:, FREQUENCIES == 375]
        self.assertGreater(ears[0], 1.5 * ears[1])

    def test_holes_are_filled_and_named(self):
        directions = [d for d in sofa.grid(15, -30, 75)
                      if sofa.vectors([d])[0] @ sofa.vectors([(180, 30)])[0] < 0.85]
        name = sofa.write("a.sofa", directions, sofa.responses(directions, 48000, 256))
        head = self.head(name, "--no-equalise", says="nothing measured below -30 degrees; filled\n"
                         "nothing measured around azimuth 171.4, elevation 30 and 9 more directions; "
                         "filled")
        self.assertGreater(head.filled, 10)
        levels, times, _ = errors(head, [(0, -90), (40, -70), (-100, -55), (100, -50), (180, 30)])
        self.assertLess(levels.max(), 2)
        self.assertLess(times.max(), 30)

    def test_a_report_beside_the_head(self):
        self.head(self.regular(), "--report", "deep/report")
        files = ["directions.csv", "draw.gp", "magnitude.dat", "report.txt", "time.dat"]
        pictures = ["magnitude.svg", "time.svg"] if shutil.which("gnuplot") else []
        self.assertEqual(sorted(os.listdir("deep/report")), sorted(files + pictures))
        report = self.read("deep/report/report.txt").decode()
        self.assertIn("264 of 264 directions in the file, 1.50 m away", report)
        # Azimuth 90: the left ear hears earlier by what the round head makes it.
        times = np.loadtxt("deep/report/time.dat")
        at_left = times[times[:, 0] == 90][0]
        ears = [sofa.ear_response([(90, 0)], ear, FREQUENCIES)[0] for ear in (1, 0)]
        self.assertAlmostEqual(at_left[1], delay_between(*ears), delta=10)
        self.assertAlmostEqual(at_left[2], 700, delta=50)
        rows = np.loadtxt("deep/report/directions.csv", delimiter=",", skiprows=1)
        self.assertAlmostEqual(rows[:, 3].sum(), 100, delta=0.01)

    def test_refused_files_say_why(self):
        directions = np.array(sofa.grid(30))
        good = sofa.responses(directions, 48000, 256)
        silent, broken = good.copy(), good.copy()
        silent[5, 1] = 0
        broken[7, 0, 9] = np.nan
        half = directions[:, 1] >= 0
        flat = directions[:, 1] == 0
        places = np.column_stack([directions, np.full(len(directions), 1.5)])
        places[3, 1] = np.inf
        cases = [
            ("is of the convention GeneralFIR; heads are made of SimpleFreeFieldHRIR files",
             dict(SOFAConventions="GeneralFIR")),
            ("not a SOFA file: it names no convention", dict(leave_out=["SOFAConventions"])),
            ("holds data of the type TF; heads are made of FIR responses", dict(DataType="TF")),
            ("has one ear; a head needs both", dict(samples=good[:, :1])),
            ("has 4 receivers; a head has two ears",
             dict(samples=np.concatenate([good, good], 1))),
            ("has a sample rate of 32000 Hz; rates from 44100 to 192000 Hz are read: convert it",
             dict(rate=32000)),
            ("is silent at azimuth 150, elevation -60, right ear; leave that direction out or "
             "measure it again", dict(samples=silent)),
            ("has samples or delays that are not numbers (NaN or infinite) at azimuth -150, "
             "elevation -60, left ear", dict(samples=broken)),
            ("has places in SourcePosition that are not numbers (NaN or infinite)",
             dict(SourcePosition=(places, sofa.SPHERICAL))),
            ("has 11 directions; a head needs 12 all around at least",
             dict(directions=directions[::6], samples=good[::6])),
            ("has all directions on one half of the sphere; a head needs some of the other half, "
             "too", dict(directions=directions[half], samples=good[half])),
            ("has all directions on one half of the sphere; a head needs some of the other half, "
             "too", dict(directions=directions[flat], samples=good[flat])),
            ("has not a place in SourcePosition for each response: the file is damaged; fetch it "
             "again", dict(directions=directions[:-1])),
            ("has delays (Data.Delay) of another number than its responses: the file is damaged; "
             "fetch it again", dict(Data_Delay=([[1, 2, 3]], {}))),
            ("does not tell its sample rate (Data.SamplingRate)",
             dict(leave_out=["Data.SamplingRate"])),
        ]
        for message, changes in cases:
            with self.subTest(message):
                sofa.write("a.sofa", **{"directions": directions, "samples": good, **changes})
                self.fails(2, "a.sofa: " + message, "head", "a.sofa", "-o", "out.head")
        self.write("a.sofa", harness.wav([0] * 100, 1))
        self.fails(2, "a.sofa: not a SOFA file, or a damaged one", "head", "a.sofa", "-o", "x")
        self.write("a.sofa", b"")
        self.fails(2, "a.sofa: not a SOFA file: it is empty", "head", "a.sofa", "-o", "x")

    def test_files_with_damage_end_in_a_message(self):
        whole = self.read(sofa.write("a.sofa", sofa.grid(45)[:11], np.ones((11, 2, 8))))
        random = np.random.default_rng(3)
        for n in range(60):
            data = bytearray(whole)
            for at in random.integers(0, len(data), 3):
                data[at] = random.choice([0, 255, int(random.integers(256))])
            self.write("a.sofa", bytes(data[: random.integers(1, len(data))] if n % 4 else data))
            result = self.run_tool("head", "a.sofa", "-o", "x")
            self.assertEqual((result.returncode, result.stderr.count(b"\n")), (2, 1), result)
        self.assertEqual(os.listdir(), ["a.sofa"])

    def test_nothing_is_done_for_nothing(self):
        name = self.regular()
        self.write("file", b"")
        self.fails(2, "file/report: Not a directory", "head", name, "-o", "x", "--report",
                   "file/report")
        self.fails(2, name + ": is also an input and is not replaced; name another output", "head",
                   name, "-o", name)


if __name__ == "__main__":
    harness.main()
