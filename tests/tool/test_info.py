"""What info tells about files and about the build."""

import math

from harness import ToolTest, main, noise, wav


class Files(ToolTest):
    def test_summary(self):
        self.write("in.wav", wav([0, 16384, -16384, 0] * 12000, 2, rate=24000))
        self.assertEqual(self.info("in.wav"), {
            "format": "WAV, 16-bit", "channels": "2", "rate": "24000 Hz", "frames": "24000",
            "duration": "1.000 s", "peak": "-6.02 dBFS", "loudness": "-5.63 LUFS",
            "range": "none, too short or too soft", "true peak": "-6.02 dBTP"})
        silent = self.info("-", data=wav([0] * 400, 4))
        self.assertEqual((silent["peak"], silent["direction"]), ("none, silent", "none, silent"))

    def test_directions_of_every_order(self):
        mono = wav(noise(5000, 24, 30), 1, 24)
        for order, azimuth, elevation in (1, 0, 0), (2, 135, 30), (3, -90, -45), (4, 179, 80):
            with self.subTest(order=order):
                self.tool("encode", "-", "-o", "out.caf", f"--order={order}",
                          f"--azimuth={azimuth}", f"--elevation={elevation}", data=mono)
                found = self.info("out.caf")
                self.assertEqual(found["order"], str(order))
                self.assertEqual(float(found["directivity"]), 1)
                for value, exact in zip(self.direction("out.caf"), (azimuth, elevation)):
                    self.assertAlmostEqual(value, exact, delta=0.1)

    def test_directivity(self):
        """Unrelated noise in all channels comes from nowhere; in W and Y alone half of the energy
        of a wave from the left goes with it."""
        n = 48000
        w, y, z, x = (noise(n, 16, seed) for seed in range(4))
        diffuse = [s for frame in zip(w, y, z, x) for s in frame]
        self.assertLess(float(self.info("-", data=wav(diffuse, 4))["directivity"]), 0.02)
        mixed = [s for a, b in zip(w, y) for s in (a, (a + b) // 2, 0, 0)]
        found = float(self.info("-", data=wav(mixed, 4))["directivity"])
        self.assertAlmostEqual(found, 0.5 / ((1 + 0.5) / 2), delta=0.02)

    def test_input_format(self):
        left_in_fuma = [16384, 0, 23170, 0] * 100
        found = self.info("-", "--input-format=fuma", data=wav(left_in_fuma, 4))
        self.assertEqual((found["direction"], found["directivity"], found["peak"]),
                         ("azimuth 90.0, elevation 0.0 degrees", "1.000", "-3.01 dBFS"))
        root = round(16384 * math.sqrt(3))
        up_in_n3d = [16384, 0, root, 0] * 100
        found = self.info("-", "--input-format=n3d", data=wav(up_in_n3d, 4))
        self.assertEqual((found["direction"], found["directivity"]),
                         ("azimuth 0.0, elevation 90.0 degrees", "1.000"))

    def test_directions_over_time(self):
        self.tool("encode", "-", "-o", "out.wav", "--orbit=4",
                  data=wav([16384] * 48000 + [0] * 24000, 1))
        rows = self.tool("info", "out.wav", "--directions", "0.25", "-q").decode().splitlines()
        self.assertEqual(rows[0], "seconds,azimuth,elevation,level_db")
        self.assertEqual(len(rows), 7)
        for number, row in enumerate(rows[1:5]):
            seconds, azimuth, elevation, level = map(float, row.split(","))
            self.assertEqual(seconds, number * 0.25)
            self.assertAlmostEqual(azimuth, 90 * (seconds + 0.125), delta=0.1)
            self.assertAlmostEqual(elevation, 0, delta=0.1)
            self.assertAlmostEqual(level, -6.02, delta=0.01)
        self.write("mono.wav", wav([1], 1))
        self.fails(2, "mono.wav: has 1 channel and is not an ambisonic field", "info", "mono.wav",
                   "--directions=1")


class Ears(ToolTest):
    def rows(self, left, right, step, rate=48000):
        stereo = wav([s for pair in zip(left, right) for s in pair], 2, 24, rate)
        lines = self.tool("info", "-", "--ears", str(step), data=stereo).decode().splitlines()
        self.assertEqual(lines[0], "seconds,level_left_db,level_right_db,time_difference_us")
        return [[float(cell) if cell else None for cell in line.split(",")] for line in lines[1:]]

    def test_delay_and_level(self):
        """The left ear is half as loud and later by 17 samples, then earlier by 40."""
        sound = noise(48100, 24, 40)
        left = ([0] * 17 + [s // 2 for s in sound])[:24000] + [s // 2 for s in sound[24040:48040]]
        for number, row in enumerate(self.rows(left, sound[:48000], 0.1)):
            self.assertEqual(row[0], round(number * 0.1, 3))
            self.assertAlmostEqual(row[2] - row[1], 6.02, delta=0.05)
            self.assertAlmostEqual(row[2], 20 * math.log10(0.5 / math.sqrt(3)), delta=0.2)
            exact = 17 if number < 5 else -40
            self.assertAlmostEqual(row[3], exact / 48000 * 1e6, delta=1)

    def test_between_samples(self):
        wave = [[math.floor(2e6 * math.sin((i - delay) * 0.05) + 0.5) for i in range(8000)]
                for delay in (0.3, 0)]
        (row,) = self.rows(*wave, 1, rate=44100)
        self.assertAlmostEqual(row[3], 0.3 / 44100 * 1e6, delta=0.5)

    def test_silence(self):
        self.assertEqual(self.rows([0] * 100, [0] * 100, 1), [[0, None, None, None]])
        self.write("mono.wav", wav([1], 1))
        self.fails(2, "mono.wav: has 1 channel, a recording for two ears has 2", "info",
                   "mono.wav", "--ears=1")
        self.fails(1, "--directions and --ears exclude each other", "info", "mono.wav",
                   "--ears=1", "--directions=1")


class Build(ToolTest):
    def test_library(self):
        lines = self.tool("info", "--library").decode().splitlines()
        found = {line[:24].strip(): line[24:] for line in lines}
        version = self.tool("--version").decode()
        self.assertEqual(version, "earshot " + found["version"] + "\n")
        self.assertIn(found["instruction set"], ("scalar", "sse41", "avx2", "avx512", "neon"))
        self.assertEqual(found["interface version"], "0x01000100")
        size = {"64 bits": "1592 bytes", "32 bits": "1552 bytes"}[found["addresses"]]
        self.assertEqual(found["ambisonic effect"], size)
        self.assertEqual(found["binaural interface"], "0x01000200")


main()
