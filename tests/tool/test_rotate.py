"""What rotate does to samples: the effect's own bits, at the right time, from any source; and what
turns fields of higher order, against harmonics in floating point."""

import math
import os
import random
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


def harmonics(order, direction):
    """SN3D gains by ACN of a direction (front, left, up)."""
    front, left, up = direction
    azimuth, c = math.atan2(left, front), math.hypot(front, left)
    gains = [0.0] * (order + 1) ** 2
    for m in range(order + 1):
        p, below = math.prod(2 * k - 1 for k in range(1, m + 1)) * c ** m, 0.0
        for n in range(m, order + 1):
            if n > m:
                p, below = ((2 * n - 1) * up * p - (n + m - 1) * below) / (n - m), p
            norm = math.sqrt((2 if m else 1) * math.factorial(n - m) / math.factorial(n + m))
            gains[n * n + n + m] = norm * p * math.cos(m * azimuth)
            if m:
                gains[n * n + n - m] = norm * p * math.sin(m * azimuth)
    return gains


def vector(azimuth, elevation):
    a, e = math.radians(azimuth), math.radians(elevation)
    return math.cos(e) * math.cos(a), math.cos(e) * math.sin(a), math.sin(e)


def heard(direction, yaw, pitch, roll=0):
    """Where it comes from for a head that has turned left, then up, then to the right ear."""
    x, y, z = direction
    for degrees, turn in (yaw, lambda c, s: (c * x + s * y, c * y - s * x, z)), \
                         (pitch, lambda c, s: (c * x + s * z, y, c * z - s * x)), \
                         (roll, lambda c, s: (x, c * y + s * z, c * z - s * y)):
        x, y, z = turn(math.cos(math.radians(degrees)), math.sin(math.radians(degrees)))
    return x, y, z


def quaternion(yaw, pitch, roll):
    """Of the same head: about z, then -y, then x."""
    def times(a, b):
        return (a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3],
                a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
                a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1],
                a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0])
    c, s = zip(*[(math.cos(math.radians(a) / 2), math.sin(math.radians(a) / 2))
                 for a in (yaw, pitch, roll)])
    return times(times((c[0], 0, 0, s[0]), (c[1], 0, -s[1], 0)), (c[2], s[2], 0, 0))


class Turns(ToolTest):
    """A steady wave, whose channels are its gains: times, angles and signs show in each sample."""
    LEVEL = 1 << 29

    def field(self, order, direction, frames):
        frame = [round(self.LEVEL * gain) for gain in harmonics(order, direction)]
        return self.write("in.wav", wav(frame * frames, len(frame), 32))

    def turned(self, order, *args):
        out = self.samples("rotate", "in.wav", *args, bits=32)
        size = (order + 1) ** 2
        return [[word / self.LEVEL for word in out[i:i + size]] for i in range(0, len(out), size)]

    def assert_wave(self, frame, order, direction, delta=5e-6):
        wrong = max(abs(a - b) for a, b in zip(frame, harmonics(order, direction)))
        self.assertLess(wrong, delta)

    def test_waves_at_random_angles(self):
        generator = random.Random(21)
        for order in (1, 2, 3, 4) * 3:
            azimuth, elevation = generator.uniform(-180, 180), generator.uniform(-90, 90)
            yaw, pitch, roll = [generator.randrange(-64 * most, 64 * most) / 64
                                for most in (180, 90, 180)]
            with self.subTest(order=order, source=(azimuth, elevation), head=(yaw, pitch, roll)):
                wave = vector(azimuth, elevation)
                self.field(order, wave, 300)
                out = self.turned(order, f"--yaw={yaw}", f"--pitch={pitch}", f"--roll={roll}")
                for frame in out[0], out[95], out[299]:
                    self.assert_wave(frame, order, heard(wave, yaw, pitch, roll))

    def test_nothing_is_changed_without_a_turn(self):
        for order in 2, 3, 4:
            field = noise(500 * (order + 1) ** 2, 32, order, 1)
            source = wav(field, (order + 1) ** 2, 32)
            self.assertEqual(self.samples("rotate", source, bits=32), field)

    def test_order_1_as_the_effect_turns_it(self):
        """A track of one row leaves the way of the effect; yaw and pitch mean the same on both."""
        field = wav(noise(4 * 2000, 32, 22), 4, 32)
        for yaw, pitch in (30, 0), (-140, 0), (0, 70), (100, -35):
            self.write("head.csv", b"0,%d,%d,0" % (yaw, pitch))
            effect = self.samples("rotate", field, f"--yaw={yaw}", f"--pitch={pitch}", bits=32)
            turned = self.samples("rotate", field, "--track=head.csv", bits=32)
            self.assertLess(max(abs(a - b) for a, b in zip(effect, turned)), 2000)

    def test_head_trackers(self):
        """1000 rows a second, as angles and as quaternions; the rotation is exact at the end of
        every block of 96 and nearly so in it, also where the rate was converted."""
        generator, rows, head = random.Random(23), [], (10.0, 5.0, -20.0)
        for k in range(700):
            rows.append(head)
            head = tuple(a + generator.uniform(-0.4, 0.4) for a in head)
        angles = b"".join(b"%.3f,%f,%f,%f\r\n" % (k / 1000, *row) for k, row in enumerate(rows))
        quaternions = b"".join(b"%.3f,%.9f,%.9f,%.9f,%.9f\n" % (k / 1000, *quaternion(*row))
                               for k, row in enumerate(rows))
        self.write("angles.csv", b"# of a tracker\n" + angles)
        self.write("quaternions.csv", b"time,w,x,y,z\n" + quaternions)
        wave = vector(130, -25)
        for order, name in (4, "angles.csv"), (3, "quaternions.csv"), (1, "quaternions.csv"):
            self.field(order, wave, 36000)
            out = self.turned(order, "--track", name)
            for at in 95, 191, 4799, 24095, 33599, 35999, 7003, 20007:
                time = min(at / 48, 699)
                k = min(int(time), 698)
                now = [a + (b - a) * (time - k) for a, b in zip(rows[k], rows[k + 1])]
                self.assert_wave(out[at], order, heard(wave, *now),
                                 2e-5 if at % 96 == 95 else 2e-2)

    def test_pieces_do_not_show(self):
        """Frames reach the turning in pieces of any length where a rate is converted before."""
        self.write("head.csv", b"0,0,0,0\n1,170,20,90\n")
        source = wav(noise(9 * 5000, 16, 24, 0.2), 9, rate=44100)
        note = b"earshot: standard input: converting the sample rate from 44100 to 48000 Hz\n"
        straight = self.samples("rotate", source, bits=32, says=note)
        whole = self.samples("rotate", wav(straight, 9, 32), "--track=head.csv", bits=32)
        self.assertEqual(whole, self.samples("rotate", source, "--track=head.csv", bits=32,
                                             says=note))

    def test_keyframes(self):
        """Away from the last row's setting at a row's time, there 1024 samples later or at the
        next row; --roll is that of rows without one."""
        self.write("keys.csv", b"seconds,yaw,pitch,roll\n0.02,80,0\n0.03,60,40,30\n0.1,0,0,0\n")
        wave = vector(50, 10)
        self.field(2, wave, 8000)
        out = self.turned(2, "--yaw=-10", "--roll=10", "--keyframes=keys.csv")
        for at, head in [(95, (-10, 0, 10)), (863, (-10, 0, 10)), (1151, (26, 0, 10)),
                         (1439, (80, 0, 10)), (1439 + 480, (70.625, 18.75, 19.375)),
                         (2495, (60, 40, 30)), (4799, (60, 40, 30)), (5855, (0, 0, 0)),
                         (7999, (0, 0, 0))]:
            with self.subTest(frame=at):
                self.assert_wave(out[at], 2, heard(wave, *head), 1e-5)

    def test_order_1_with_rows_close_together(self):
        """What was refused is now turned, and focused before."""
        self.write("keys.csv", b"0.01,40,0\n0.02,40,5\n")
        wave = vector(90, 0)
        self.field(1, wave, 3000)
        out = self.turned(1, "--keyframes=keys.csv")
        self.assert_wave(out[2999], 1, heard(wave, 40, 5))
        out = self.turned(1, "--keyframes=keys.csv", "--focus=-90,0", "--roll=20")
        rear = 0.6352 - 0.3648
        gains = harmonics(1, heard(vector(-90, 0), 40, 5, 20))
        self.assertLess(max(abs(a - rear * b) for a, b in zip(out[2999], gains)), 1e-4)

    def test_clipped_samples_are_counted(self):
        loud = wav([0, 32767, 0, 32767] * 100, 4)  # turning adds Y and X
        out = self.samples("rotate", loud, "--yaw=45", "--roll=0.001", bits=32,
                           says=b"earshot: standard output: 100 samples clipped at full scale by "
                                b"the rotation\n")
        self.assertEqual(channels_of(out, 4)[3], [2 ** 31 - 1] * 100)

    def test_errors(self):
        nine = "in.wav: has 9 channels; a focus needs a field of order 1, such as its first 4 " \
               "channels are"
        tracks = [(b"time,yaw,pitch\n", 1, "the heading 'time,yaw,pitch' is not "
                   "time,yaw,pitch,roll or time,w,x,y,z"),
                  (b"RIFF\0", 1, "the heading 'RIFF?' is not "
                   "time,yaw,pitch,roll or time,w,x,y,z"),
                  (b"0,1,2\n", 1, "has 3 numbers, needs 4 (time,yaw,pitch,roll) or 5 "
                   "(time,w,x,y,z)"),
                  (b"0,1,2,3\n0.1,1,0,0,0\n", 2, "has 5 numbers, needs 4 (time,yaw,pitch,roll)"),
                  (b"0,1,2,3\n\n0,1,2,4\n", 3, "time 0 is not after the row before, 0"),
                  (b"0,1,1,0,0\n", 1, "the quaternion's modulus is 1.4142, not 1")]
        self.field(2, (1, 0, 0), 50)
        for table, line, reason in tracks:
            self.write("head.csv", table)
            self.fails(2, f"head.csv:{line}: {reason}", "rotate", "in.wav", "-o", "out.wav",
                       "--track=head.csv")
        self.fails(2, "empty.csv: has no rows", "rotate", "in.wav", "-o", "out.wav", "--track",
                   self.write("empty.csv", b"# nothing\n"))
        self.write("keys.csv", b"0,1,1,20,0\n")
        for command in "rotate", "binauralize":
            for args in ["--focus=30,0"], ["--keyframes=keys.csv"]:
                self.fails(2, nine, command, "in.wav", "-o", "out.wav", *args)
        excluded = "--track says where the head looks at any time; leave out "
        for message, *args in [
                (excluded + "--yaw, --pitch and --roll", "--track=head.csv", "--roll=3"),
                (excluded + "--keyframes", "--track=head.csv", "--keyframes=keys.csv"),
                ("--track and IN cannot both be standard input", "--track=-"),
                ("--roll: 181 is outside -180 to 180", "--roll=181")]:
            self.fails(1, message, "rotate", "-", "-o", "out.wav", *args)


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

    def test_converted_sound_keeps_its_end(self):
        """A constant stays one, of the right length, but for the filter's own at either end."""
        draw = random.Random(5)
        for _ in range(24):
            rate = draw.choice([8000, 44100, 96000, draw.randrange(4000, 200000)])
            frames = draw.randrange(1, 8000)
            data = wav([2 ** 22] * 4 * frames, 4, 24, rate)
            w = self.samples("rotate", data, "-q", bits=32)[::4]
            self.assertEqual(len(w), (2 * frames * 48000 + rate) // (2 * rate), (rate, frames))
            edge = 200 * max(48000, rate) // rate
            for sample in w[edge:-edge]:
                self.assertAlmostEqual(sample / 2 ** 30, 1, delta=1e-3, msg=(rate, frames))

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
