"""What rotate does to samples: the effect's own bits, at the right time, from any source."""

import math
import os
import subprocess

from harness import (ToolTest, au, channels_of, digest, main, noise, pack, unpack, wav)

Q16 = 65536


def reference(bits, samples, *settings):
    """The library's answer; settings are (frame, yaw, pitch), frame -1 for the start."""
    args = [str(a) for frame, yaw, pitch in settings for a in (frame, yaw, pitch)]
    out = subprocess.run([os.environ["EFFECT_REFERENCE"], str(bits), *args],
                         input=pack(samples, bits), stdout=subprocess.PIPE, check=True)
    return unpack(out.stdout, bits)


def rounded(value):
    return math.floor(value + 0.5)


class Bits(ToolTest):
    def test_sixteen_bit_identity(self):
        """1.0 is one unit short of 2^31, so every positive sample comes out one lower."""
        every = list(range(-32768, 32768))
        out = self.samples("rotate", wav(every, 4), bits=16)
        self.assertEqual(out, [(s * 0x7FFFFFFF) >> 31 for s in every])

    def test_constant_setting_is_the_effects_own(self):
        for bits, yaw, pitch in (16, 30, 0), (32, 30, 0), (16, -123.456, 17), (32, 180, -90):
            with self.subTest(bits=bits, yaw=yaw):
                field = noise(4 * 5000, bits, yaw)
                out = self.samples("rotate", wav(field, 4, bits), "--yaw", str(yaw), "--pitch",
                                   str(pitch), bits=bits)
                setting = (-1, round(yaw * Q16), round(pitch * Q16))
                self.assertEqual(out, reference(bits, field, setting))

    def test_narrow_input_is_computed_wide_for_wide_output(self):
        field = noise(4 * 1000, 16, 5)
        out = self.samples("rotate", wav(field, 4), "--yaw=10", bits=32)
        self.assertEqual(out, reference(32, [s << 16 for s in field], (-1, 10 * Q16, 0)))

    def test_saturated_samples_are_counted(self):
        loud = [32767, 32767, 0, 32767] * 50  # turning adds Y and X
        out = self.samples("rotate", wav(loud, 4), "--yaw", "45", bits=16,
                           says=b"earshot: standard output: 50 samples clipped at full scale by "
                                b"the rotation\n")
        self.assertEqual(channels_of(out, 4)[3], [32767] * 50)


class Keyframes(ToolTest):
    # The first row begins just after a block of the tool, the second between two samples.
    TABLE = (b"\xEF\xBB\xBFseconds,yaw,pitch\r\n# comment\r\n\r\n"
             b" 0.0426875 , 90 , 0\r\n0.1000105,-45,+30\r\n0.2,0,0\r\n")

    def test_rows_begin_at_their_sample(self):
        self.write("keys.csv", self.TABLE)
        settings = [(-1, 20 * Q16, 0), (2049, 90 * Q16, 0), (4801, -45 * Q16, 30 * Q16),
                    (9600, 0, 0)]
        for bits in 16, 32:
            field = noise(4 * 12000, bits, bits)
            out = self.samples("rotate", wav(field, 4, bits), "--yaw=20", "--keyframes",
                               "keys.csv", bits=bits)
            self.assertEqual(out, reference(bits, field, *settings))

    def test_rotation_and_focus_change_in_one_ramp(self):
        """A steady field passes from one level to the other in steps of the same size."""
        self.write("keys.csv", b"0.01,90,0,90,0\n0.05,0,0\n")
        field = [1 << 28, 1 << 28, 0, 0] * 4000  # a source on the left
        out = self.samples("rotate", wav(field, 4, 32), "--keyframes", "keys.csv", bits=32)
        for channel in channels_of(out, 4):
            for start in 480, 2400:
                first, last = channel[start - 1], channel[start + 1024]
                for k, value in enumerate(channel[start:start + 1024], 1):
                    self.assertAlmostEqual(value, first + (last - first) * k / 1024, delta=600)
            self.assertEqual(len(set(channel[:480])), 1)
            self.assertEqual(len(set(channel[1504:2400])), 1)
            self.assertEqual(len(set(channel[3424:])), 1)

    def test_ramps_take_the_shorter_way_round(self):
        """From yaw 170 to -170 the rear stays ahead; the front never comes into view."""
        self.write("keys.csv", b"0.01,-170,0\n")
        field = [1 << 28, 0, 0, -(1 << 28)] * 2000  # a source in the rear
        out = self.samples("rotate", wav(field, 4, 32), "--yaw=170", "--keyframes", "keys.csv",
                           bits=32)
        self.assertGreater(min(channels_of(out, 4)[3]), 0.98 * (1 << 28))

    def test_rows_past_the_end_are_reported(self):
        self.write("keys.csv", b"0,0,0\n1,5,0\n")
        self.tool("rotate", "-", "-o", "out.wav", "--keyframes", "keys.csv",
                  data=wav(noise(4 * 48000, 16, 8), 4),
                  says=b"earshot: keys.csv: 1 row at or after the end of standard input\n")


class Directions(ToolTest):
    def encode(self, azimuth, elevation=0):
        mono = wav(noise(20000, 24, 9), 1, 24)
        self.tool("encode", "-", "-o", "in.wav", "--azimuth", str(azimuth), "--elevation",
                  str(elevation), data=mono)
        return "in.wav"

    def assert_direction(self, name, azimuth, elevation):
        found = self.direction(name)
        self.assertAlmostEqual(found[0], azimuth, delta=0.1)
        self.assertAlmostEqual(found[1], elevation, delta=0.1)

    def test_yaw_and_pitch_turn_the_listener(self):
        for source, args, expected in [((30, 0), ["--yaw", "30"], (0, 0)),
                                       ((30, 0), ["--yaw", "-30"], (60, 0)),
                                       ((0, 40), ["--pitch", "40"], (0, 0)),
                                       ((-70, 25), ["--yaw=-70"], (0, 25))]:
            with self.subTest(source=source, args=args):
                self.tool("rotate", self.encode(*source), "-o", "out.wav", *args)
                self.assert_direction("out.wav", *expected)

    def test_focus_is_a_direction_of_the_recording(self):
        """It keeps the level of what is there, lowers what is opposite, and turns with the yaw."""
        levels = {}
        for azimuth in 50, -130:
            self.tool("rotate", self.encode(azimuth), "-o", "out.wav", "--focus", "50,0", "--yaw",
                      "50")
            levels[azimuth] = float(self.info("out.wav")["peak"].split()[0])
            self.assert_direction("out.wav", 0, 0)
        self.assertAlmostEqual(levels[50], -6.02, delta=0.1)
        rear = 20 * math.log10(0.6352 - 0.3648)
        self.assertAlmostEqual(levels[-130] - levels[50], rear, delta=0.1)


class Sources(ToolTest):
    def test_conventions(self):
        for bits in 16, 32:
            field = noise(4 * 2000, bits, 10)
            ambix = self.samples("rotate", wav(field, 4, bits), "--yaw=70", bits=bits)
            w, y, z, x = channels_of(field, 4)
            fuma = [rounded(s / math.sqrt(2)) for s in w]
            n3d = [[rounded(s * math.sqrt(3)) for s in c] for c in (y, z, x)]
            for name, channels in ("fuma", (fuma, x, y, z)), ("n3d", (w, *n3d)):
                with self.subTest(bits=bits, name=name):
                    source = [s for frame in zip(*channels) for s in frame]
                    out = self.samples("rotate", wav(source, 4, bits), "--yaw=70",
                                       "--input-format", name, bits=bits)
                    self.assertLessEqual(max(abs(a - b) for a, b in zip(out, ambix)), 2)

    def test_conversion_clips(self):
        out = self.samples("rotate", wav([-30000, 0, 0, 0] * 3, 4), "--input-format=fuma", bits=16,
                           says=b"earshot: standard input: 3 samples clipped at full scale by the "
                                b"conversion to AmbiX\n")
        self.assertEqual(out, [-32768, 0, 0, 0] * 3)

    def test_floating_point(self):
        """Beyond full scale is clipped and counted; exactly full scale is not."""
        values = [1.0, -1.0, 0.5, 2.0 ** -24, 1.5, -1.25, 0.0, -0.5]
        exact = [0x7FFFFFFF, -0x80000000, 1 << 30, 128, 0x7FFFFFFF, -0x80000000, 0, -(1 << 30)]
        self.write("in.wav", wav(values, 4, "float"))
        out = self.samples("rotate", "in.wav", bits=32,
                           says=b"earshot: in.wav: 2 samples clipped at full scale on reading\n")
        self.assertEqual(out, [(s * 0x7FFFFFFF) >> 31 for s in exact])
        self.tool("rotate", "in.wav", "-o", "out.wav", "-q")
        self.assertEqual(self.info("out.wav")["format"], "WAV, 24-bit")

    def test_other_rates_stay_aligned(self):
        """A click stays at its time and the length is that of the time span."""
        for rate, frames, expected in ((44100, 44100, 48000), (44100, 10001, 10885),
                                       (96000, 9999, 5000), (8000, 1, 6), (47999, 3, 3)):
            with self.subTest(rate=rate, frames=frames):
                field = [0] * (4 * frames)
                at = frames // 2
                field[4 * at] = 1 << 29
                self.write("in.wav", wav(field, 4, 32, rate))
                out = self.samples("rotate", "in.wav", bits=32,
                                   says=b"earshot: in.wav: converting the sample rate from %d to "
                                        b"48000 Hz\n" % rate)
                self.assertEqual(len(out), 4 * expected)
                if frames > 100:
                    peak = max(range(expected), key=lambda i: out[4 * i])
                    self.assertAlmostEqual(peak, at * 48000 / rate, delta=1)

    def test_converted_sound_has_no_gaps(self):
        """Whatever of it the last block of the file is."""
        for frames in range(18432, 20480, 256):
            self.write("in.wav", wav(noise(4 * frames, 16, frames), 4, 16, 44100))
            w = self.samples("rotate", "in.wav", "-q", "--no-dither", bits=16)[::4]
            self.assertFalse((0, 0, 0) in zip(w, w[1:], w[2:]), frames)

    def test_pipes_and_files_give_the_same(self):
        """Also where the header of a stream does not know its length."""
        field = noise(4 * 30000, 16, 11)
        whole = wav(field, 4)
        expected = reference(16, field, (-1, 30 * Q16, 0))
        streams = [whole, wav(field, 4, claimed=0xFFFFFFFF), wav(field, 4, claimed=0x7FFFF000),
                   whole[:4] + b"\xFF" * 4 + whole[8:40] + bytes(4) + whole[44:],
                   au(field, 4), au(field, 4, claimed=2 * len(field))]
        for number, stream in enumerate(streams):
            with self.subTest(stream=number):
                self.assertEqual(self.samples("rotate", stream, "--yaw=30", bits=16), expected)
        line = digest(expected, 16)
        for source in whole, streams[1], au(field, 4):
            self.write("in.wav", source)
            out = self.tool("rotate", "in.wav", "-o", "out.wav", "--yaw=30", "--digest")
            self.assertEqual(out.decode(), line + "  out.wav\n")

    def test_nothing_in_nothing_out(self):
        for rate, note in (48000, b""), (44100, b"earshot: standard input: converting the sample "
                                                b"rate from 44100 to 48000 Hz\n"):
            self.tool("rotate", "-", "-o", "out.wav", data=wav([], 4, rate=rate), says=note)
            self.assertEqual(self.info("out.wav")["frames"], "0")


main()
