"""Spherical harmonics of encode: their norms, their directions, and a source that moves."""

import math

from harness import ToolTest, channels_of, main, noise, wav

FULL = 1 << 30  # a level at which gains can be read off


class Gains(ToolTest):
    def gains(self, *args, frames=1, rate=48000):
        mono = wav([FULL] * frames, 1, 32, rate)
        return [s / FULL for s in self.samples("encode", mono, *args, bits=32)]

    def test_first_order_by_hand(self):
        half = math.sqrt(0.5)
        for azimuth, elevation, expected in [(0, 0, [1, 0, 0, 1]), (90, 0, [1, 1, 0, 0]),
                                             (180, 0, [1, 0, 0, -1]), (-90, 0, [1, -1, 0, 0]),
                                             (0, 90, [1, 0, 1, 0]), (77, -90, [1, 0, -1, 0]),
                                             (3645, 0, [1, half, 0, half]),
                                             (0, -45, [1, 0, -half, half])]:
            found = self.gains(f"--azimuth={azimuth}", f"--elevation={elevation}")
            for gain, exact in zip(found, expected):
                self.assertAlmostEqual(gain, exact, delta=5e-8 if exact % 1 else 0)

    def test_a_channel_of_several(self):
        several = wav([1 << 20, 2 << 20, 3 << 20] * 50, 3, 32)
        for channel in 1, 2, 3:
            out = self.samples("encode", several, f"--channel={channel}", bits=32)
            self.assertEqual(channels_of(out, 4)[0], [channel << 20] * 50)

    def test_addition_theorem(self):
        """The products of two directions' gains of one degree add up to the Legendre polynomial
        of the angle between them; for the same direction that is 1."""
        legendre = [lambda c: 1, lambda c: c, lambda c: (3 * c * c - 1) / 2,
                    lambda c: (5 * c ** 3 - 3 * c) / 2,
                    lambda c: (35 * c ** 4 - 30 * c * c + 3) / 8]
        directions = [(0, 0), (33, 12), (-121, -57), (170.5, 81), (95, 45)]
        found = [self.gains("--order=4", f"--azimuth={a}", f"--elevation={e}")
                 for a, e in directions]
        for (a1, e1), g1 in zip(directions, found):
            for (a2, e2), g2 in zip(directions, found):
                e1r, e2r, da = map(math.radians, (e1, e2, a1 - a2))
                cosine = (math.sin(e1r) * math.sin(e2r) +
                          math.cos(e1r) * math.cos(e2r) * math.cos(da))
                for n in range(5):
                    total = sum(g1[k] * g2[k] for k in range(n * n, (n + 1) ** 2))
                    self.assertAlmostEqual(total, legendre[n](cosine), delta=1e-6)

    def test_all_channels_are_positive_in_front(self):
        """A little to the left and far up, where no harmonic has changed its sign yet: there is
        no alternating phase in the convention."""
        self.assertGreater(min(self.gains("--order=4", "--azimuth=10", "--elevation=62")), 0)

    def test_orbit_follows_the_angle(self):
        for seconds, rate in (0.5, 48000), (-0.7, 48000), (0.1, 44100):
            with self.subTest(seconds=seconds, rate=rate):
                out = self.gains(f"--orbit={seconds}", "--azimuth=20", frames=rate, rate=rate)
                w, y, z, x = channels_of(out, 4)
                for i in range(0, rate, 997):
                    angle = math.radians(20) + 2 * math.pi * i / rate / seconds
                    self.assertAlmostEqual(x[i], math.cos(angle), delta=1e-7)
                    self.assertAlmostEqual(y[i], math.sin(angle), delta=1e-7)
        # A turn of 480 frames is over after 480 frames, to the last bit.
        turns = self.gains("--orbit=0.01", "--order=4", frames=4801)
        self.assertEqual(turns[:25], turns[25 * 4800:])

    def test_rate_and_width_are_those_of_the_recording(self):
        self.tool("encode", "-", "-o", "out.wav", "--order=3",
                  data=wav(noise(1000, 24, 1), 1, 24, 44100))
        found = self.info("out.wav")
        self.assertEqual([found[k] for k in ("format", "channels", "order", "rate", "frames")],
                         ["WAV, 24-bit", "16", "3", "44100 Hz", "1000"])


main()
