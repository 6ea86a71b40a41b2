"""Sources for two ears: the convolution with the library's filters, sample by sample."""

import math
import os
import subprocess

from binaural import (ROUNDING, clipped, convolve, distance, filters, mixed, reference_lines,
                      rounding)
from harness import (ToolTest, au, channels_of, digest, main, noise, unpack, wav)

Q16 = 65536


def q16(*degrees):
    return tuple(round(angle * Q16) for angle in degrees)


class RenderTest(ToolTest):
    PLACEMENT = "continuous"

    def render(self, *args, data=b"", says=b"", bits=32):
        """Samples of the left and of the right ear."""
        if self.PLACEMENT != "continuous":
            args = (*args, "--placement", self.PLACEMENT)
        out = self.tool("render", *args, "-o", "-", "--raw", "--bits", str(bits), data=data,
                        says=says)
        return channels_of(unpack(out, bits), 2)


class Still(RenderTest):
    def test_mirrored(self):
        self.write("in.wav", wav(noise(1000, 24, 3, 0.1), 1, 24))
        for azimuth, elevation in (30, 0), (91, 40), (179, -20), (12.6, 65):
            with self.subTest(azimuth=azimuth):
                left, right = self.render("-s", f"in.wav@{azimuth},{elevation}")
                other = self.render("-s", f"in.wav@-{azimuth},{elevation}")
                for ear, expected in zip(other, (right, left)):
                    self.assertLess(distance(ear, expected), 400)  # weights have been rounded
                if azimuth < 150:  # behind the head no ear has to be the louder one
                    self.assertGreater(sum(s * s for s in left), sum(s * s for s in right))

    def test_sources_of_any_length_rate_and_format(self):
        """Together they sound as each does alone."""
        self.write("a@b:c.wav", wav(noise(5000, 16, 4, 0.2), 1))
        self.write("b.wav", wav(noise(2 * 3000, 24, 5, 0.2), 2, 24, rate=44100))
        self.write("c.au", au(noise(9000, 16, 6, 0.2), 1, rate=96000))
        self.write("d.wav", wav([0.25, -0.25] * 1500, 1, "float"))
        converting = "earshot: %s: converting the sample rate from %d to 48000 Hz\n"
        sources = [("a@b:c.wav@40,10", ""), ("b.wav:2@-100,0", converting % ("b.wav", 44100)),
                   ("c.au@180,-30", converting % ("c.au", 96000)), ("d.wav:1@7,80", "")]
        alone = [self.render("-s", source, says=says.encode()) for source, says in sources]
        self.assertEqual([len(ears[0]) for ears in alone], [5127, 3265 + 127, 4627, 3127])
        together = self.render(*(arg for source, _ in sources for arg in ("-s", source)),
                               says="".join(says for _, says in sources).encode())
        for ear in 0, 1:
            self.assertLess(distance(together[ear], mixed(*(ears[ear] for ears in alone))),
                            4 * ROUNDING)

    def test_streams_and_digest(self):
        stereo = wav(noise(2 * 30000, 24, 7, 0.05), 2, 24)
        self.write("in.wav", stereo)
        self.write("mono.wav", wav(noise(10000, 16, 8, 0.05), 1))
        expected = None
        for source, data in ("in.wav:2@50,0", b""), ("-:2@50,0", stereo), \
                            ("-:2@50,0", stereo[:40] + b"\xff" * 4 + stereo[44:]):
            args = ["-s", source, "-s", "mono.wav@-50,0", "--digest", "--bits=16"]
            line = self.tool("render", *args, "-o", "o.flac", data=data).decode().split()
            expected = expected or line[0]
            self.assertEqual(line, [expected, "o.flac"])
            result = self.run_tool("render", *args, "-o", "-", data=data)
            self.assertEqual(result.stderr.decode(), expected + "  -\n")
            raw = self.tool("render", *args[:4], "--bits=16", "-o", "-", "--raw", data=data)
            samples = unpack(raw, 16)
            self.assertEqual(digest(samples, 16), expected)
        self.tool("render", "-s", "mono.wav@0,0", "-o", "o.wav")
        found = self.info("o.wav")
        self.assertEqual([found[k] for k in ("format", "channels", "rate", "frames")],
                         ["WAV, 24-bit", "2", "48000 Hz", "10127"])


class Measured(RenderTest):
    """The nearest direction of the tables, exactly."""
    PLACEMENT = "measured"

    def test_convolution(self):
        directions = [(0, 0), (30, 0), (-75, 20), (180, 36), (1e6 + 0.3, -12), (100, -90),
                      (269.999, 90)]
        pairs = filters(0, [q16(az % 360, el) for az, el in directions])
        for (azimuth, elevation), taps in zip(directions, pairs):
            for frame in ["--frame=96"], ["--frame=128"], []:
                with self.subTest(azimuth=azimuth, elevation=elevation, frame=frame):
                    mono = noise(700, 32, azimuth, 0.1)
                    self.write("in.wav", wav(mono, 1, 32))
                    ears = self.render("-s", f"in.wav@{azimuth:f},{elevation}", *frame)
                    for ear in 0, 1:
                        self.assertLess(distance(ears[ear], convolve(mono, taps[ear])), ROUNDING)

    def test_length(self):
        """127 samples more than the input, also where it ends with a frame or a block."""
        (left, _), = filters(0, [q16(90, 0)])
        for length in 0, 1, 95, 96, 97, 2048, 4096 + 128:
            with self.subTest(length=length):
                self.write("in.wav", wav([0] * (length - 1) + [1 << 30] * (length > 0), 1, 32))
                for frame in 96, 128:
                    ear = self.render("-s", "in.wav@90,0", "--frame", str(frame))[0]
                    self.assertEqual(len(ear), length + 127)
                    if length:
                        found = [s / 2 ** 30 for s in ear[length - 1:]]
                        self.assertLess(distance(found, left), 1e-5)

    def expected(self, mono, seconds, start, elevation):
        """Frames of 96 samples, each with the filters of its beginning, fading over in 32."""
        count = (len(mono) + 127 + 95) // 96
        azimuths = [(start + 360 * Q16 * (96 * m / 48000 / seconds)) % (360 * Q16)
                    for m in range(count)]
        pairs = filters(0, [(round(a), elevation * Q16) for a in azimuths])
        ears = [[], []]
        for ear in 0, 1:
            for m in range(count):
                begin, end = 96 * m, min(96 * m + 96, len(mono) + 127)
                new = convolve(mono, pairs[m][ear], begin, end)
                if m > 0 and pairs[m] != pairs[m - 1]:
                    old = convolve(mono, pairs[m - 1][ear], begin, min(begin + 32, end))
                    for i, sample in enumerate(old):
                        new[i] = ((32 - i) * sample + i * new[i]) / 32
                ears[ear] += new
        return ears

    def test_filters_change_at_their_frame(self):
        """Nor does anything fade in at the beginning."""
        for seconds, start, elevation in (0.1, 20, 0), (-0.37, -170, 50), (1.5, 2.4, -10):
            with self.subTest(seconds=seconds):
                mono = noise(2500, 32, elevation, 0.1)
                self.write("in.wav", wav(mono, 1, 32))
                ears = self.render("-s", f"in.wav@{start},{elevation}", f"--orbit={seconds}")
                expected = self.expected(mono, seconds, start * Q16, elevation)
                for ear in 0, 1:
                    self.assertLess(distance(ears[ear], expected[ear]), ROUNDING)


class Continuous(RenderTest):
    def test_measured_directions_sound_as_measured(self):
        """Within -22 dB, of white noise: above 16 kHz and at their ends, responses are softened."""
        directions = [(30, 0), (-75, 20), (180, -30), (0, 90), (144, 30)]
        pairs = filters(0, [q16(az % 360, el) for az, el in directions])
        for (azimuth, elevation), taps in zip(directions, pairs):
            for frame in "96", "128":
                with self.subTest(azimuth=azimuth, frame=frame):
                    mono = noise(700, 32, azimuth, 0.1)
                    self.write("in.wav", wav(mono, 1, 32))
                    ears = self.render("-s", f"in.wav@{azimuth},{elevation}", "--frame", frame)
                    expected = [convolve(mono, taps[ear]) for ear in (0, 1)]
                    error = sum((a - b) ** 2 for ear in (0, 1) for a, b in zip(ears[ear], expected[ear]))
                    self.assertLess(error, sum(s * s for ear in expected for s in ear) * 10 ** -2.2)

    def test_turns_without_steps(self):
        """What four differences over two samples, which are loud around 12 kHz, leave of a low tone
        that goes round in 0.72 s."""
        tone = [round(2 ** 29 * math.sin(2 * math.pi * n / 480)) for n in range(24000)]
        self.write("in.wav", wav(tone, 1, 32))
        levels = {}
        for placement in "continuous", "measured":
            ears = self.render("-s", "in.wav@0,0", "--orbit=0.72", "--placement", placement)
            rough = list(ears[0][2000:22000])
            for _ in range(4):
                rough = [b - a for a, b in zip(rough, rough[2:])]
            levels[placement] = sum(s * s for s in rough)
        self.assertLess(levels["continuous"], levels["measured"] / 10)


class Orbit(RenderTest):
    def test_long_orbits_do_not_drift(self):
        """A turn of 5 frames is the same turn after a thousand of them."""
        self.write("in.wav", wav([1 << 24] * (480 * 1002), 1, 32))
        left, right = self.render("-s", "in.wav@33.3,0", "--orbit=0.01")
        self.assertEqual(left[960:1440], left[480 * 1000:480 * 1001])
        self.assertEqual(right[960:1440], right[480 * 1000:480 * 1001])


class Headroom(RenderTest):
    PLACEMENT = "measured"
    WORST = (80, 0)

    def worst_input(self):
        """Full scale with the signs that make one output sample as large as it can be."""
        (left, right), = filters(0, [q16(*self.WORST)])
        signs = [(1 << 31) - 1 if tap > 0 else -(1 << 31) for tap in left[::-1]]
        return signs * 3, left, right

    def test_filters_are_bounded(self):
        """The guard bits rest on this."""
        for selector, count, bound in (0, 984, 8), (2, 50, 4):
            sums = [total for line in reference_lines(selector) for total in line]
            self.assertEqual(len(sums), count)
            self.assertLess(max(sums), bound)

    def test_nothing_wraps_inside(self):
        samples, left, right = self.worst_input()
        self.write("in.wav", wav(samples, 1, 32))
        for count in 1, 2, 3, 8:
            with self.subTest(count=count):
                ears = self.render(*["-s", "in.wav@80,0"] * count, "--gain=-40")
                for ear, taps in zip(ears, (left, right)):
                    exact = [s * count / 100 for s in convolve(samples, taps)]
                    self.assertLess(distance(ear, exact),
                                    rounding(3 + (count - 1).bit_length()) / 100)

    def test_clipped_samples_are_counted(self):
        """Once, whether or not dither follows, and with what would avoid it."""
        samples, left, right = self.worst_input()
        self.write("in.wav", wav(samples, 1, 32))
        exact = [convolve(samples, left), convolve(samples, right)]
        self.assertGreater(min(abs(abs(s) - 2 ** 31) for ear in exact for s in ear), 3 << 16)
        count = sum(abs(s) >= 2 ** 31 for ear in exact for s in ear)
        self.assertGreater(count, 0)
        excess = 20 * math.log10(max(abs(s) for ear in exact for s in ear) / 2 ** 31)
        says = (f"earshot: standard output: {count} samples clipped at full scale, by up to "
                f"{excess:.2f} dB; --gain {math.floor(-excess * 100) / 100:.2f} (or --normalize) "
                "avoids it\n").encode()
        for bits in 16, 24, 32:
            ears = self.render("-s", "in.wav@80,0", bits=bits, says=says)
            for ear in 0, 1:
                found = [s << (32 - bits) for s in ears[ear]]
                self.assertLess(distance(found, clipped(exact[ear])),
                                ROUNDING + (3 << (32 - bits)))

    def test_lower_guard(self):
        """An eighth of full scale is what needs no guard. In frames of 128 every sample but those
        of the ends is seen twice."""
        sums = "sums could have wrapped in %s of 128 samples; a guard of %d bits is safe"
        for level, count, guard, text in [(2 ** 28 - 600, 1, 0, None), (2 ** 28, 1, 0, "2 frames"),
                                          (2 ** 29, 1, 1, "2 frames"), (2 ** 29, 1, 3, None),
                                          (2 ** 28, 2, 1, "2 frames"), (2 ** 28 - 2000, 2, 1, None)]:
            with self.subTest(level=level, guard=guard):
                self.write("in.wav", wav([0] * 1000 + [level] + [0] * 1000, 1, 32))
                says = "earshot: standard output: " + sums % (text, count + 2) + "\n"
                self.render(*["-s", "in.wav@0,0"] * count, f"--guard={guard}", "--gain=-20",
                            says=says.encode() if text else b"")


class Level(RenderTest):
    def setUp(self):
        super().setUp()
        self.write("in.wav", wav(noise(2000, 24, 11, 0.0003), 1, 24))
        self.plain = self.render("-s", "in.wav@60,0")

    def test_gain(self):
        for gain in -120, -20, -6.02, -0.001, 0, 0.5, 20, 59.999, 60:
            with self.subTest(gain=gain):
                ears = self.render("-s", "in.wav@60,0", f"--gain={gain}")
                for ear, plain in zip(ears, self.plain):
                    exact = [s * 10 ** (gain / 20) for s in plain]
                    # The plain samples have been rounded, those under the gain have not.
                    self.assertLess(distance(ear, exact),
                                    2 + 10 ** (gain / 20) if gain else 1e-9)

    def test_normalize(self):
        peak = max(abs(s) for ear in self.plain for s in ear)
        for bits, dither, gain, top in [(16, False, 0, 32767), (16, True, 0, 32766),
                                        (24, False, 0, 2 ** 23 - 1), (24, False, -20, None),
                                        (32, True, 0, 2 ** 31 - 1), (32, True, -20, None)]:
            with self.subTest(bits=bits, dither=dither, gain=gain):
                args = ["--normalize", *([] if dither else ["--no-dither"]), f"--gain={gain}"]
                ears = self.render("-s", "in.wav@60,0", *args, bits=bits)
                top = top or round((2 ** (bits - 1) - 1) / 10)
                found = max(abs(s) for ear in ears for s in ear)
                self.assertAlmostEqual(found, top, delta=2 if bits == 32 else dither)
                for ear, plain in zip(ears, self.plain):
                    self.assertLess(distance(ear, [s * top / peak for s in plain]), 2.5 + top / peak)

    def test_silence_cannot_be_normalized(self):
        self.write("in.wav", wav([0] * 500, 1))
        ears = self.render("-s", "in.wav@60,0", "--normalize",
                           says=b"earshot: the sound is silent and stays as it is\n")
        self.assertEqual(ears, [[0] * 627] * 2)


class Errors(RenderTest):
    def test_command_line(self):
        self.write("in.wav", wav(noise(100, 16, 1), 1))
        needed = "; FILE[:CHANNEL]@AZ,EL[,GAIN] or FILE@LAYOUT[,GAIN] is needed"
        neither = (" is neither AZ,EL[,GAIN] nor a layout: stereo, quad, 5.1, 7.1, 5.1.4 or "
                   "7.1.4")
        one = ["-s", "in.wav@0,0"]
        for message, *args in [
                ("render: name either a scene or sources with -s",),
                ("-s in.wav: has no direction" + needed, "-s", "in.wav"),
                ("-s @0,0: has no file" + needed, "-s", "@0,0"),
                ("-s :1@0,0: has no file" + needed, "-s", ":1@0,0"),
                ("-s in.wav@30: '30'" + neither, "-s", "in.wav@30"),
                ("-s in.wav@1,2,3,4: '1,2,3,4'" + neither, "-s", "in.wav@1,2,3,4"),
                ("-s in.wav@nan,0: 'nan,0'" + neither, "-s", "in.wav@nan,0"),
                ("-s in.wav@5.2: '5.2'" + neither, "-s", "in.wav@5.2"),
                ("-s in.wav@5.1,0,0,0: '5.1,0,0,0'" + neither, "-s", "in.wav@5.1,0,0,0"),
                ("-s in.wav@1,2,60.1: gain 60.1 is outside -120 to 60", "-s", "in.wav@1,2,60.1"),
                ("-s in.wav@1,2,x: gain 'x' is not a number of decibels", "-s", "in.wav@1,2,x"),
                ("-s in.wav:1@quad: a layout takes all channels of a file; leave the :CHANNEL out",
                 "-s", "in.wav:1@quad"),
                ("in.wav: gain of its LFE channel in all: 65 is outside -120 to 60",
                 "-s", "in.wav@7.1.4,55"),
                ("--lfe: 'on' is not a number of decibels or off", *one, "--lfe=on"),
                ("--lfe: -121 is outside -120 to 60", *one, "--lfe=-121"),
                ("--lfe: no source has a layout; -s FILE@5.1 is one that has", *one, "--lfe=off"),
                ("-s in.wav@0,91: elevation 91 is outside -90 to 90", "-s", "in.wav@0,91"),
                ("-s in.wav:0@0,0: channel 0 is outside 1 to 1024", "-s", "in.wav:0@0,0"),
                ("-s: only one source can be standard input", "-s", "-@0,0", "-s", "-:1@9,0"),
                ("-s: 4097 sources, there can be 4096", *one * 4097),
                ("--frame: 128 leaves no room to fade between filters; --orbit needs 96", *one,
                 "--orbit=1", "--frame=128"),
                ("--frame: '112' is none of 96, 128", *one, "--frame=112"),
                ("--orbit: 0 is not 0.01 to 1000000 seconds either way", *one, "--orbit=0"),
                ("--guard: 4 is more than the safe 3 for 1 source", *one, "--guard=4"),
                ("--guard: '1.5' is not a number of bits", *one, "--guard=1.5"),
                ("--guard: -1 is outside 0 to 15", *one, "--guard=-1"),
                ("--placement: 'near' is not continuous or measured", *one, "--placement=near"),
                ("--head: --placement measured knows the built-in head alone; leave one of them out",
                 *one, "--placement=measured", "--head=in.wav"),
                ("--gain: 60.1 is outside -120 to 60", *one, "--gain=60.1"),
                ("--normalize reads the input twice, which standard input cannot", "-s", "-@0,0",
                 "--normalize")]:
            with self.subTest(message=message):
                self.fails(1, message, "render", *args, "-o", "out.wav")

    def test_files(self):
        self.write("mono.wav", wav(noise(100, 16, 1), 1))
        self.write("in.wav", wav(noise(200, 16, 1), 2))
        self.write("field.wav", wav(noise(400, 16, 1), 4))
        for message, source in [
                ("none.wav: No such file or directory", "none.wav@0,0"),
                ("in.wav: has 2 channels: name one of them as FILE:CHANNEL@AZ,EL, or take all as "
                 "FILE@LAYOUT", "in.wav@0,0"),
                ("in.wav: has 2 channels, 5.1 has 6; the layout for it is stereo", "in.wav@5.1"),
                ("mono.wav: has 1 channel, quad has 4; name its channels one by one",
                 "mono.wav@quad"),
                ("in.wav: has 2 channels, no number 3", "in.wav:3@0,0")]:
            self.fails(2, message, "render", "-s", "mono.wav@0,0", "-s", source, "-o", "out.wav")
        os.mkfifo("pipe.wav")
        writer = subprocess.Popen(["cp", "mono.wav", "pipe.wav"])
        self.fails(2, "pipe.wav: cannot be read twice, which --normalize needs", "render", "-s",
                   "pipe.wav@0,0", "-o", "out.wav", "--normalize")
        writer.wait()


main()
