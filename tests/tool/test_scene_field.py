"""Scenes and several sources as ambisonic fields, and what rotates and renders those."""

import json
import math
import subprocess

from harness import ToolTest, channels_of, main, noise, unpack, wav


def scene_of(*sources, **keys):
    return json.dumps({"version": 1, "sources": list(sources), **keys}).encode()


class FieldTest(ToolTest):
    def field(self, *args, order, data=b"", says=b"", command="render"):
        """The channels, at 32 bits."""
        option = "--order" if command == "encode" else "--field"
        out = self.tool(command, *args, option, str(order), "-o", "-", "--raw", "--bits=32",
                        data=data, says=says)
        return channels_of(unpack(out, 32), (order + 1) ** 2)

    def sox(self, name, seconds, *effects, rate=48000):
        """A file as another program writes it."""
        subprocess.run(["sox", "-R", "-n", "-r", str(rate), "-b", "24", "-c", "1", name, "synth",
                        str(seconds), *effects], check=True)
        return name

    def directions(self, name, step, *args):
        rows = self.tool("info", name, "--directions", str(step), *args).decode().splitlines()[1:]
        return [tuple(map(float, row.split(",")[:3])) for row in rows]

    def assert_near_angle(self, found, expected, delta, about=None):
        self.assertLess(abs((found - expected + 180) % 360 - 180), delta, about)


class Encoding(FieldTest):
    def test_sources_add_up_to_the_bit(self):
        """One alone is what it is without -s, together they are the sum, rounded once."""
        self.write("pair.wav", wav(noise(2 * 3000, 24, 1, 0.3), 2, 24))
        self.write("mono.wav", wav(noise(5000, 24, 2, 0.3), 1, 24))
        sources = [("mono.wav", "pair.wav", "mono.wav"), (1, 2, 1), (30, -90.5, 761),
                   (10, 0, -90)]
        alone, args = [], []
        for name, channel, azimuth, elevation in zip(*sources):
            source = ["-s", f"{name}:{channel}@{azimuth},{elevation}"]
            args += source
            alone.append(self.field(name, f"--channel={channel}", f"--azimuth={azimuth}",
                                    f"--elevation={elevation}", order=4, command="encode"))
            for command in "encode", "render":
                self.assertEqual(self.field(*source, order=4, command=command), alone[-1])
        together = self.field(*args, order=4, command="encode")
        for k, channel in enumerate(together):
            self.assertEqual(len(channel), 5000)
            parts = [one[k] + [0] * (5000 - len(one[k])) for one in alone]
            self.assertLessEqual(max(abs(sum(p) - s) for *p, s in zip(*parts, channel)), 2)
        self.assertEqual(self.field(*args, order=1), together[:4])

    def test_format(self):
        """48000 Hz and 24 bits, whatever the sources have; as many frames as the longest."""
        self.write("a.wav", wav(noise(4410, 16, 3, 0.2), 1, rate=44100))
        self.write("b.wav", wav(noise(1000, 16, 4, 0.2), 1))
        self.tool("encode", "-s", "a.wav@0,0", "-s", "b.wav@1,1", "--order=3", "-o", "out.wav",
                  says=b"earshot: a.wav: converting the sample rate from 44100 to 48000 Hz\n")
        found = self.info("out.wav")
        self.assertEqual([found[k] for k in ("format", "channels", "order", "rate", "frames")],
                         ["WAV, 24-bit", "16", "3", "48000 Hz", "4800"])

    def test_conversion_keeps_the_end(self):
        """Also where the last piece of the file is too short to make samples by itself."""
        for length in 4246, 4396, 4546, 8296, 88200:
            tone = [round(2 ** 29 * math.sin(math.tau * i / 100)) for i in range(length)]
            self.write("tone.wav", wav(tone, 1, 32, rate=44100))
            w = self.field("-s", "tone.wav@0,0", "-q", order=1, command="encode")[0]
            for i in range(len(w) - 300, len(w) - 60):
                exact = math.sin(math.tau * i / 100 * 44100 / 48000)
                self.assertAlmostEqual(w[i] / 2 ** 29, exact, delta=0.01)

    def test_sources_circle(self):
        """Counter-clockwise from where they are, as one that is encoded without -s."""
        self.write("in.wav", wav(noise(48000, 24, 5, 0.3), 1, 24))
        for seconds in 0.8, -0.3, 0.06:  # 12 degrees a frame are fast, and but at first no jump
            self.tool("encode", "in.wav", f"--orbit={seconds}", "--azimuth=20", "-o", "one.wav")
            for command, order in ("encode", "--order"), ("render", "--field"):
                self.tool(command, "-s", "in.wav@20,0", f"--orbit={seconds}", order, "1", "-o",
                          "field.wav")
                for expected, found in zip(self.directions("one.wav", 0.001)[12:],
                                           self.directions("field.wav", 0.001)[12:]):
                    self.assert_near_angle(found[1], expected[1], 0.5, seconds)


class Scenes(FieldTest):
    def test_ears_of_the_field_are_those_of_the_scene(self):
        """Both levels and the time difference, for a sound below 1 kHz."""
        self.sox("low.wav", 1, "pinknoise", "lowpass", "-2", "500", "vol", "0.3")

        def ears(name):
            (row,) = self.tool("info", name, "--ears", "10").decode().splitlines()[1:]
            return [float(cell) for cell in row.split(",")[1:]]
        for azimuth, elevation in (0, 0), (40, 0), (90, 0), (-120, 0), (60, 50), (-30, -35):
            scene = scene_of({"file": "low.wav", "position": [
                5 * math.cos(math.radians(azimuth)) * math.cos(math.radians(elevation)),
                5 * math.sin(math.radians(azimuth)) * math.cos(math.radians(elevation)),
                5 * math.sin(math.radians(elevation))]})
            self.tool("render", "-", "-o", "direct.wav", data=scene)
            self.tool("render", "-", "-o", "field.wav", "--field=4", data=scene)
            self.tool("binauralize", "field.wav", "-o", "ears.wav")
            with self.subTest(azimuth=azimuth, elevation=elevation):
                for one, other, delta in zip(ears("direct.wav"), ears("ears.wav"),
                                             (0.4, 0.4, 15)):
                    self.assertAlmostEqual(one, other, delta=delta)
                found = self.direction("field.wav")
                self.assert_near_angle(found[0], azimuth, 0.1)
                self.assertAlmostEqual(found[1], elevation, delta=0.1)

    def test_the_head_may_be_left_to_the_player(self):
        """Turning the field of a head that looks ahead is what the turning listener has heard."""
        self.sox("tone.wav", 1, "sine", "300-900", "vol", "0.4", rate=44100)
        yaws = [0, 60, 150, -120, -20, 0]
        ramp, rows, table = 1024 / 48000, [[0, 0, 0, 0]], "seconds,yaw,pitch\n"
        for k, (before, after) in enumerate(zip(yaws, yaws[1:])):
            time = 0.15 * (k + 1)
            rows += [[time, before, 0, 0], [time + ramp, after, 0, 0]]
            table += f"{time},{after},0\n"
        self.write("turns.csv", table.encode())
        listener = {"position": [1, 2, 0], "orientation_track": rows}
        source = {"file": "tone.wav", "track": [[0, 4, 2, 0], [1, 1, 5, 2]]}
        says = b"earshot: tone.wav: converting the sample rate from 44100 to 48000 Hz\n"
        turning = scene_of(source, listener=listener)
        self.tool("render", "-", "-o", "heard.wav", "--field=1", data=turning, says=says)
        self.tool("render", "-", "-o", "world.wav", "--field=1", "--no-head", data=turning,
                  says=says)
        self.tool("rotate", "world.wav", "-o", "turned.wav", "--keyframes", "turns.csv")
        heard, turned = (self.directions(name, 0.05) for name in ("heard.wav", "turned.wav"))
        self.assertEqual(len(heard), 20)
        for (time, *one), (_, *other) in zip(heard, turned):
            # While the head turns, 90 degrees in 21 ms and more, the ramps differ a little.
            ramps = any(abs(time - 0.15 * k) < 1e-6 for k in range(1, 6))
            for a, b in zip(one, other):
                self.assert_near_angle(a, b, 8 if ramps else 0.2, time)
        # The listener's place stays.
        still = scene_of(source, listener={"position": [1, 2, 0]})
        self.assertEqual(self.field("-", "--no-head", order=2, data=turning, says=says),
                         self.field("-", order=2, data=still, says=says))

    def test_level_width_and_digest(self):
        self.write("in.wav", wav(noise(3000, 24, 6, 0.9), 1, 24))
        loud = ["render", "-s", "in.wav@45,30", "-s", "in.wav@50,30", "--field=2"]
        peaks = {}
        for option in [], ["--gain=-12"], ["--normalize"], ["--normalize", "--gain=-6"]:
            says = b"" if option else None
            result = self.run_tool(*loud, *option, "-o", "out.caf", "--no-dither")
            self.assertEqual(result.returncode, 0)
            if says is None:
                self.assertRegex(result.stderr, rb"^earshot: out.caf: \d+ samples clipped at full "
                                                rb"scale, by up to .*; --gain -5.11 .*\n$")
            else:
                self.assertEqual(result.stderr, says)
            peaks[" ".join(option)] = float(self.info("out.caf")["peak"].split()[0])
        self.assertEqual(peaks[""], 0)
        self.assertAlmostEqual(peaks["--gain=-12"], 20 * math.log10(2 * 0.9) - 12, delta=0.02)
        self.assertEqual(peaks["--normalize"], 0)
        self.assertAlmostEqual(peaks["--normalize --gain=-6"], -6, delta=0.001)
        lines = {self.tool(*loud, "--gain=-12", "--digest", "--bits=16", "-o", name).split()[0]
                 for name in ("a.wav", "b.au", "c.w64")}
        self.assertEqual(len(lines), 1)

    def test_errors(self):
        self.write("in.wav", wav(noise(500, 16, 7), 1))
        self.write("scene.json", scene_of({"file": "in.wav", "direction": [0, 0]}))
        source, field = ["-s", "in.wav@0,0"], "--field=2"
        for message, *args in [
                ("--head: a field is not heard through a head; give it to 'earshot binauralize', "
                 "which makes two ears of the field", "render", *source, field, "--head=a.head"),
                ("--placement: a field has every source exactly where it is; leave it out",
                 "render", "scene.json", field, "--placement=measured"),
                ("--guard: no sum of a field can wrap; leave it out", "render", *source, field,
                 "--guard=3"),
                ("--frame: the frames of a field have 96 samples; leave it out", "render",
                 *source, field, "--frame=128"),
                ("--no-head: two ears turn with their head; it is for --field, which a player "
                 "can turn", "render", "scene.json", "--no-head"),
                ("--orbit: a scene says itself how its sources move", "render", "scene.json",
                 field, "--orbit=2"),
                ("--field: '5' is none of 1, 2, 3, 4", "render", *source, "--field=5"),
                ("encode: name either a recording or sources with -s", "encode"),
                ("encode: name either a recording or sources with -s", "encode", "in.wav",
                 *source),
                ("--azimuth: a source has its own, as in -s FILE:CHANNEL@AZ,EL", "encode",
                 *source, "--azimuth=3"),
                ("-s: only one source can be standard input", "encode", "-s", "-@0,0", "-s",
                 "-@9,0")]:
            self.fails(1, message, *args, "-o", "out.wav")
        self.fails(1, "out.flac: FLAC holds at most 8 channels, this has 9; .wav, .caf and .w64 "
                   "hold them", "render", *source, field, "-o", "out.flac")
        self.fails(2, "none.wav: No such file or directory", "encode", "-s", "none.wav@0,0", "-o",
                   "out.wav")


main()
