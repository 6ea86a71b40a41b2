"""Ambisonic fields for two ears: the filters of their channels, after the rotation."""

import math

from binaural import ROUNDING, convolve, distance, filters, mixed, rounding
from harness import ToolTest, channels_of, main, noise, unpack, wav

Q16 = 65536


class Field(ToolTest):
    def binauralize(self, name, *args, data=b"", says=b""):
        out = self.tool("binauralize", name, "-o", "-", "--raw", "--bits=32", *args, data=data,
                        says=says)
        return channels_of(unpack(out, 32), 2)

    def test_every_order(self):
        pairs = filters(2, [(k * Q16, 0) for k in range(25)])
        for order in 1, 2, 3, 4:
            with self.subTest(order=order):
                count = (order + 1) ** 2
                field = noise(300 * count, 32, order, 0.2)
                ears = self.binauralize("-", data=wav(field, count, 32))
                for ear in 0, 1:
                    exact = mixed(*(convolve(channel, taps[ear])
                                    for channel, taps in zip(channels_of(field, count), pairs)))
                    self.assertLess(distance(ears[ear], exact),
                                    rounding(2 + (count - 1).bit_length()))

    def test_sides(self):
        """A source of any order is louder in the ear that it is nearer to and, where waves are
        longer than the head, earlier."""
        white = noise(9600, 24, 2, 0.1)
        long_waves = [sum(white[i:i + 48]) // 8 for i in range(9600)]
        for order in 1, 2, 3, 4:
            for azimuth, side in (60, 1), (-90, -1):
                with self.subTest(order=order, azimuth=azimuth):
                    rows = []
                    for sound in white, long_waves:
                        self.tool("encode", "-", "-o", "field.caf", f"--azimuth={azimuth}",
                                  f"--order={order}", data=wav(sound, 1, 24))
                        self.tool("binauralize", "field.caf", "-o", "out.wav")
                        line = self.tool("info", "out.wav", "--ears=1").decode().splitlines()[1]
                        rows.append([float(cell) for cell in line.split(",")])
                    self.assertGreater((rows[0][1] - rows[0][2]) * side, 2)
                    self.assertLess(rows[1][3] * side, -200)

    def test_rotation_is_that_of_rotate(self):
        self.write("in.wav", wav(noise(4 * 9000, 24, 3, 0.2), 4, 24))
        self.write("keys.csv", b"0.05,90,0\n0.1,-30,20,10,0\n9,0,0\n")
        late = b"earshot: keys.csv: 1 row at or after the end of in.wav\n"
        self.write("head.csv", b"0,0,0,0\n0.1,40,10,-20\n")
        self.write("second.wav", wav(noise(9 * 9000, 24, 7, 0.2), 9, 24))
        for name, args, says in [
                ("in.wav", ["--yaw=30", "--pitch=-10"], b""), ("in.wav", ["--focus=50,0"], b""),
                ("in.wav", ["--keyframes=keys.csv", "--input-format=n3d"], late),
                ("in.wav", ["--track=head.csv", "--focus=50,0"], b""),
                ("second.wav", ["--track=head.csv", "--input-format=n3d"], b""),
                ("second.wav", ["--yaw=-100", "--roll=30"], b"")]:
            with self.subTest(name=name, args=args):
                self.tool("rotate", name, "-o", "turned.wav", "--bits=32", *args, says=says)
                self.assertEqual(self.binauralize(name, *args, says=says),
                                 self.binauralize("turned.wav"))

    def test_conventions(self):
        """A second-order field in N3D, and a first-order one in FuMa, against AmbiX."""
        frames = 500
        field = noise(9 * frames, 32, 4, 0.2)
        norm = [math.sqrt(2 * math.isqrt(k) + 1) for k in range(9)]
        n3d = [round(s * norm[i % 9]) for i, s in enumerate(field)]
        plain = self.binauralize("-", data=wav(field, 9, 32))
        found = self.binauralize("-", "--input-format=n3d", data=wav(n3d, 9, 32))
        for ear in 0, 1:
            self.assertLess(distance(found[ear], plain[ear]), 8 * ROUNDING)
        w, y, z, x = channels_of(noise(4 * frames, 32, 5, 0.2), 4)
        plain = self.binauralize("-", data=wav([s for f in zip(w, y, z, x) for s in f], 4, 32))
        fuma = [s for f in zip((round(s * math.sqrt(0.5)) for s in w), x, y, z) for s in f]
        found = self.binauralize("-", "--input-format=fuma", data=wav(fuma, 4, 32))
        for ear in 0, 1:
            self.assertLess(distance(found[ear], plain[ear]), 4 * ROUNDING)

    def test_rate_length_and_level(self):
        self.write("in.wav", wav(noise(4 * 2000, 16, 6), 4, rate=16000))
        self.tool("binauralize", "in.wav", "-o", "out.wav", "--normalize", "--no-dither",
                  says=b"earshot: in.wav: converting the sample rate from 16000 to 48000 Hz\n")
        found = self.info("out.wav")
        self.assertEqual([found[k] for k in ("format", "channels", "rate", "frames", "peak")],
                         ["WAV, 24-bit", "2", "48000 Hz", "6127", "0.00 dBFS"])

    def test_errors(self):
        orders = ", a field of order 1 to 4 has 4, 9, 16 or 25"
        cases = [(2, "in.wav: has 5 channels" + orders, 5),
                 (2, "in.wav: has 36 channels" + orders + "; the first 25 of these are one", 36),
                 (2, "in.wav: has 9 channels; FuMa is read up to order 1", 9,
                  "--input-format=fuma"),
                 (1, "--guard: 5 is more than the safe 4 for 4 sources", 4, "--guard=5")]
        for code, message, channels, *args in cases:
            with self.subTest(message=message):
                self.write("in.wav", wav([0] * 10 * channels, channels))
                self.fails(code, message, "binauralize", "in.wav", "-o", "out.wav", *args)
        for message, *args in [
                ("--normalize reads the input twice, which standard input cannot", "--normalize"),
                ("--keyframes and FIELD cannot both be standard input", "--keyframes=-"),
                ("FIELD is required; 'earshot binauralize --help' lists the options",)]:
            name = ["-"] if args else []
            self.fails(1, message, "binauralize", *name, "-o", "out.wav", *args)


main()
