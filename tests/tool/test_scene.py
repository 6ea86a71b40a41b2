"""Scenes: what their files say, what is rendered of them, and what cannot be."""

import copy
import json
import os
import subprocess
import unittest

from harness import EARSHOT, NOT_AUDIO, ToolTest, channels_of, main, noise, unpack, wav

try:
    import jsonschema
except ImportError:
    jsonschema = None

DOCS = os.path.dirname(os.environ["EARSHOT_MANUAL"])
SCENES = os.path.join(DOCS, "..", "examples", "scenes")
SCHEMA = os.path.join(DOCS, "scene.schema.json")


def scene_of(*sources, **keys):
    return {"version": 1, "sources": list(sources), **keys}


def text(scene):
    return scene if isinstance(scene, bytes) else json.dumps(scene).encode()


class SceneTest(ToolTest):
    def render(self, scene, *args, says=b""):
        """Bytes of the samples of a scene, which comes from standard input."""
        return self.tool("render", "-", "-o", "-", "--raw", "--bits", "32", *args,
                         data=text(scene), says=says)

    def sounds(self):
        self.write("mono.wav", wav(noise(4000, 24, 1, 0.2), 1, 24))
        self.write("pair.wav", wav(noise(2 * 3000, 24, 2, 0.2), 2, 24, rate=44100))


class Rendering(SceneTest):
    def setUp(self):
        super().setUp()
        self.sounds()

    def test_directions_sound_as_without_a_scene(self):
        converting = b"earshot: pair.wav: converting the sample rate from 44100 to 48000 Hz\n"
        scene = scene_of({"file": "mono.wav", "direction": [30, 0]},
                         {"file": "pair.wav", "channel": 2, "direction": [-100, 20]},
                         {"file": "pair.wav", "channel": 1, "direction": [-170, -20]})
        for args in [], ["--gain=-6"], ["--normalize"], ["--guard=5"]:
            expected = self.tool("render", "-s", "mono.wav@30,0", "-s", "pair.wav:2@-100,20", "-s",
                                 "pair.wav:1@-170,-20", "--frame=96", "-o", "-", "--raw",
                                 "--bits=32", *args, says=converting)
            self.assertEqual(self.render(scene, *args, says=converting), expected, args)

    def test_names_start_from_the_folder_of_the_scene(self):
        """Whether they are of sounds or of tables; absolute ones do not."""
        rows = [[0, 3, -1, 0.5], [0.04, 3, 1, 0.5], [0.08, -3, 2, 0.5]]
        source = {"file": "mono.wav", "track": rows}
        expected = self.render(scene_of(source))
        os.mkdir("folder")
        os.rename("mono.wav", "folder/mono.wav")
        table = "# a walk\n\ntime, x, y, z\n" + "".join("%g,%g,%g,%g\r\n" % tuple(r) for r in rows)
        self.write("folder/walk.csv", table.encode())
        self.write("folder/here.json", text(scene_of({**source, "track": "walk.csv"})))
        self.write("there.json", text(scene_of({"file": os.path.abspath("folder/mono.wav"),
                                                "track": "folder/walk.csv"})))
        for name in "folder/here.json", os.path.abspath("folder/here.json"), "there.json":
            self.assertEqual(self.tool("render", name, "-o", "-", "--raw", "--bits=32"), expected)

    def test_loops_are_what_they_repeat(self):
        """Also across the joint where the sample rate is converted."""
        for rate, says in (48000, b""), (44100, b"earshot: %s: converting the sample rate from "
                                                b"44100 to 48000 Hz\n"):
            once = noise(1234, 24, rate, 0.2)
            self.write("once.wav", wav(once, 1, 24, rate=rate))
            self.write("long.wav", wav(once * 9, 1, 24, rate=rate))
            found, expected = (
                self.render(scene_of({"file": name, "loop": loop, "start": 0.011,
                                      "direction": [40, 0]}, duration=0.2),
                            says=says.replace(b"%s", name.encode()))
                for name, loop in (("once.wav", True), ("long.wav", False)))
            self.assertEqual(len(found), 9600 * 8)
            self.assertEqual(found, expected)

    def test_angles_take_the_shorter_way_round(self):
        """However the numbers of the rows write it."""
        def sound(azimuths, *heads):
            rows = [[0.08 * k, azimuth, 0] for k, azimuth in enumerate(azimuths)]
            looks = [[0.08 * k, *head] for k, head in enumerate(heads)]
            return self.render(scene_of({"file": "mono.wav", "track": rows},
                                        listener={"orientation_track": looks}))
        still = [0, 0, 0]
        self.assertEqual(sound([170, -170], still), sound([170, 190], still))
        self.assertEqual(sound([10], [350, 170, -170], [10, -170, 170]),
                         sound([10], [350, 170, -170], [370, 190, -190]))

    def test_length_start_and_gain(self):
        """The end of the last source that does not loop, and what the filters ring on."""
        early = {"file": "mono.wav", "direction": [0, 0]}
        left = channels_of(unpack(self.render(scene_of(early)), 32), 2)[0]
        self.assertEqual(len(left), 4127)
        late = {**early, "start": 0.01, "gain": -20}
        found = channels_of(unpack(self.render(scene_of(late, {**late, "loop": True})), 32), 2)[0]
        self.assertEqual(len(found), 4127 + 480)
        found = channels_of(unpack(self.render(scene_of(late)), 32), 2)[0]
        # A response begins a little before the sound.
        self.assertLess(max(map(abs, found[:460])), 1 << 8)
        self.assertLess(max(map(abs, found[460:480])), 1 << 18)
        self.assertLess(max(abs(a - b / 10) for a, b in zip(found[480:], left)), 1 << 15)
        self.assertEqual(len(self.render(scene_of(early, duration=0.0101))), 485 * 8)

    def test_digest_and_files(self):
        """The same wherever the scene comes from; an old output is replaced at the end."""
        scene = scene_of({"file": "mono.wav", "track": [[0, 90, 0], [0.1, -90, 30]]},
                         listener={"orientation_track": [[0, 0, 0, 0], [0.05, 0, 20, 10]]})
        self.write("scene.json", text(scene))
        self.write("out.wav", b"old")
        first = self.tool("render", "scene.json", "-o", "out.wav", "--digest").split()
        second = self.tool("render", "-", "-o", "o.flac", "--digest", data=text(scene)).split()
        self.assertEqual((first[0], first[1], second[1]), (second[0], b"out.wav", b"o.flac"))
        self.assertEqual(self.info("out.wav")["frames"], "4127")

    def test_more_sources_than_files_may_be_open(self):
        """One file takes one descriptor, whatever it is called; many ask the system for more."""
        os.link("mono.wav", "link.wav")
        os.mkdir("copies")
        for k in range(120):
            self.write("copies/%d.wav" % k, self.read("mono.wav"))
        for limit, names in ("-n 12", ["mono.wav", "link.wav", "./mono.wav"] * 100), \
                            ("-Sn 100", ["copies/%d.wav" % k for k in range(120)]):
            many = [{"file": name, "gain": -60, "direction": [k, 0]}
                    for k, name in enumerate(names)]
            self.write("scene.json", text(scene_of(*many, duration=0.002)))
            command = 'ulimit ' + limit + '; exec "$0" render scene.json --normalize -o - --raw'
            result = subprocess.run(["sh", "-c", command, EARSHOT], stdout=subprocess.PIPE)
            self.assertEqual((result.returncode, len(result.stdout)), (0, 96 * 6), limit)

    def test_sources_of_one_file_read_it_each_for_itself(self):
        self.tool("encode", "mono.wav", "-o", "field.flac", "--order=1")
        for name in "mono.wav", "field.flac", "pair.wav":
            others = ["copy%d-%s" % (k, name) for k in range(3)]
            for other in others:
                self.write(other, self.read(name))

            def sound(*names):
                sources = [{"file": name, "channel": 1, "start": 0.013 * k, "loop": k == 1,
                            "direction": [50 * k, 0]} for k, name in enumerate(names)]
                result = self.run_tool("render", "-", "-q", "-o", "-", "--raw",
                                       data=text(scene_of(*sources, duration=0.3)))
                self.assertEqual((result.returncode, result.stderr), (0, b""))
                return result.stdout
            self.assertEqual(sound(name, name, name), sound(*others), name)


class Memory(SceneTest):
    def run_measured(self, *args, **kwargs):
        """Exit code, message, and the KiB that the run takes."""
        # A sanitizer would keep everything that was ever freed.
        env = {**os.environ, "ASAN_OPTIONS": "quarantine_size_mb=1"}
        with open("message", "w+b") as message:
            process = subprocess.Popen([EARSHOT, *args], stderr=message, env=env, **kwargs)
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            message.seek(0)
            return process.returncode, message.read().decode(), usage.ru_maxrss

    def peak(self, scene, seconds):
        self.write("scene.json", text({**scene, "duration": seconds}))
        code, message, peak = self.run_measured("render", "scene.json", "-q", "-o", "/dev/null")
        self.assertEqual((code, message), (0, ""))
        return peak

    def test_constant(self):
        """A second of 200 sources would be 37 MiB, six minutes of one 66 MiB."""
        self.sounds()
        moving = [{"file": ("mono.wav", "pair.wav")[k % 2], "channel": 1, "loop": True, "gain": -40,
                   "track": [[0, k - 100, 2, 0], [9, 2, k - 100, 1]],
                   "rolloff": {"model": "inverse", "minimum": 1, "maximum": 200}}
                  for k in range(200)]
        single = {"file": "pair.wav", "channel": 2, "loop": True, "direction": [0, 0]}
        for sources, short, long in (moving, 0.5, 2.5), ([single], 10, 370):
            scene = scene_of(*sources)
            self.assertLess(self.peak(scene, long) - self.peak(scene, short), 8 << 10)

    def test_parts_of_wide_sounds(self):
        """What lies before a part, 63 MiB of 12 channels, is kept for none of them."""
        bytes_of_sound = 24 * 30 * 48000
        for name, claimed in ("bed.wav", bytes_of_sound), ("stream.wav", 0xFFFFFFFF):
            self.write(name, wav([], 12, claimed=claimed))
            os.truncate(name, 44 + bytes_of_sound)
        for name, dc_block in ("scene.json", False), ("blocked.json", True):
            self.write(name, text(scene_of({"file": "bed.wav", "layout": "7.1.4", "start": 0.01,
                                            "dc_block": dc_block})))

        def peak(*args):
            with subprocess.Popen(["cat", "stream.wav"], stdout=subprocess.PIPE) as pipe:
                code, message, peak = self.run_measured(
                    "render", *args, "-q", "-o", "/dev/null", stdin=pipe.stdout)
                pipe.stdout.close()
            self.assertEqual((code, message), (0, ""), args)
            return peak

        for args in (["bed.wav"], ["scene.json", "--field=1"], ["blocked.json"], ["-s", "-@7.1.4"]):
            self.assertLess(peak(*args, "--from=29.9") - peak(*args, "--to=0.1"), 8 << 10, args)

    def test_texts_of_any_size(self):
        """They are not read further than to their bound, nor do they become anything."""
        size = 24 << 20
        self.sounds()
        self.write("deep.json", b"[" * size)
        self.write("wide.csv", b"time,x,y,z\n" + b"," * size)
        self.write("row.csv", b"a" + b"," * size)
        self.write("field.wav", wav(noise(400, 16, 1), 4))
        self.write("wide.json", text(scene_of({"file": "mono.wav", "track": "wide.csv"})))
        self.write("endless.json", text(scene_of({"file": "mono.wav", "track": "/dev/zero"})))
        large = ": is larger than 16 MiB; long tracks belong into tables"
        rotate = ["rotate", "field.wav", "--keyframes"]
        for message, *args in [
                ("deep.json" + large, "render", "deep.json"),
                ("/dev/zero" + large, "render", "/dev/zero"),
                ("standard input" + large, "render", "-"),
                ("wide.json: sources[0].track: wide.csv:2: has %d numbers, needs 4 (time,x,y,z)"
                 % (size + 1), "render", "wide.json"),
                ("endless.json: sources[0].track: /dev/zero: brings the tables of the scene to "
                 "more than 256 MiB; give them fewer rows", "render", "endless.json"),
                ("row.csv: is larger than 16 MiB", *rotate, "row.csv"),
                ("standard input: is larger than 16 MiB", *rotate, "-")]:
            with self.subTest(args=args), \
                    subprocess.Popen(["yes", "[0,"], stdout=subprocess.PIPE) as endless:
                code, found, peak = self.run_measured(*args, "-o", "out.wav", stdin=endless.stdout)
                endless.stdout.close()
                self.assertEqual((code, found), (2, "earshot: " + message + "\n"))
                self.assertLess(peak, 400 << 10)


class Bench(SceneTest):
    def test_report(self):
        self.sounds()
        self.write("scene.json", text(scene_of({"file": "mono.wav", "direction": [0, 0]},
                                               {"file": "mono.wav", "position": [1, 2, 3]})))
        result = self.run_tool("bench", "scene.json")
        self.assertEqual(result.returncode, 0)
        report = result.stdout.decode()
        self.assertIn("Native Profiler Summary for: scene.json (43 iterations)", report)
        number = r"[0-9.]+"
        self.assertRegex(report, r"\n(?s:.*)\nframes        43 of 96 samples\n"
                                 r"sources       2\n"
                                 r"sound         0.086 s\n"
                                 rf"time          {number} us a frame on average, {number} to "
                                 rf"{number}\ncycles        .*\n"
                                 rf"real time     \d+ sources \({number} x real time with 2\)\n$")
        times = [float(word) for word in report.split("time  ")[1].split() if word[0].isdigit()]
        self.assertTrue(0 < times[1] <= times[0] <= times[2], times)
        self.assertEqual(sorted(os.listdir()), ["mono.wav", "pair.wav", "scene.json"])

    def test_errors(self):
        self.fails(1, "SCENE is required; 'earshot bench --help' lists the options", "bench")
        self.fails(2, "none.json: No such file or directory", "bench", "none.json")
        self.sounds()
        short = scene_of({"file": "mono.wav", "direction": [0, 0]}, duration=1e-6)
        result = self.run_tool("bench", "-", data=text(short))
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"earshot: standard input: is too short to measure\n", result.stderr)


class Errors(SceneTest):
    def setUp(self):
        super().setUp()
        self.sounds()

    def test_command_line(self):
        self.write("scene.json", text(scene_of({"file": "mono.wav", "direction": [0, 0]})))
        one = "render: name either a scene or sources with -s"
        for message, *args in [
                (one,), (one, "scene.json", "-s", "mono.wav@0,0"),
                ("--orbit: a scene says itself how its sources move", "scene.json", "--orbit=2"),
                ("--frame: the frames of a scene have 96 samples", "scene.json", "--frame=96"),
                ("--guard: 4 is more than the safe 3 for 1 source", "scene.json", "--guard=4"),
                ("b.json: is one word too many; 'earshot render --help' lists the options",
                 "scene.json", "b.json")]:
            self.fails(1, message, "render", *args, "-o", "out.wav")
        self.fails(1, "out.wma: unknown extension; use .wav, .flac, .caf, .au, .w64, .aiff, .ogg, "
                   ".opus or .mp3", "render", "none.json", "-o", "out.wma")

    def test_files(self):
        os.mkdir("folder")
        os.mkfifo("folder/pipe")
        at = {"direction": [0, 0]}
        whole = wav(noise(9000, 16, 3), 1)
        self.write("folder/cut.wav", whole[:-100])
        self.write("folder/table.csv", b"time,x,y,z\n0,1,2,3\n1,2\n")
        self.write("folder/pair.wav", self.read("pair.wav"))
        self.write("folder/empty.wav", wav([], 1))
        place = "folder/a.json: sources[1]."
        for message, source in [
                (place + "file: folder/none.wav: No such file or directory",
                 {"file": "none.wav", **at}),
                (place + "file: folder/table.csv: " + NOT_AUDIO,
                 {"file": "table.csv", **at}),
                (place + "file: folder/-: No such file or directory", {"file": "-", **at}),
                (place + 'file: folder/pair.wav: has 2 channels: name one of them with "channel", '
                 'or take all with "layout"',
                 {"file": "pair.wav", **at}),
                (place + "file: folder/pair.wav: has 2 channels, no number 3",
                 {"file": "pair.wav", "channel": 3, **at}),
                (place + "file: folder/cut.wav: truncated: the header announces 18000 bytes of "
                 "data, the file holds 17900; copy or export it again", {"file": "cut.wav", **at}),
                (place + "file: /proc/self/mem: is empty",
                 {"file": "/proc/self/mem", **at}),
                (place + "file: folder/empty.wav: has no frames to loop",
                 {"file": "empty.wav", "loop": True, **at}),
                (place + "file: has a NUL character (\\u0000) in it, which no file name can",
                 {"file": "pair.wav\0", "channel": 1, **at}),
                (place + "track: table.csv:3: has 2 numbers, needs 4 (time,x,y,z)",
                 {"file": "pair.wav", "track": "table.csv"}),
                (place + "direction: elevation 91 is outside -90 to 90",
                 {"file": "pair.wav", "direction": [0, 91]})]:
            with self.subTest(message=message):
                good = {"file": os.path.abspath("mono.wav"), **at}
                self.write("folder/a.json", text(scene_of(good, source, duration=0.1)))
                self.fails(2, message, "render", "folder/a.json", "-o", "out.wav")
        self.write("folder/a.json", text(scene_of({"file": "pair.wav", "track": "none.csv"})))
        self.fails(2, "folder/a.json: sources[0].track: folder/none.csv: No such file or directory",
                   "render", "folder/a.json", "-o", "out.wav")

    def test_scenes(self):
        for message, data in [
                ("line 1, column 3: not JSON at '{x'", b"{x"),
                ("line 2, column 9: not JSON at '}'", b"{\n\"version}\n"),
                ("a?b: unknown key; there are version, duration, listener, sources",
                 b'{"a\\nb": 1}')]:
            with self.subTest(message=message):
                result = self.run_tool("render", "-", "-o", "out.wav", data=data)
                self.assertEqual(result.returncode, 2)
                self.assertRegex(result.stderr.decode(), r"^earshot: standard input: [^\n]+\n$")

    def test_names_cannot_steer_a_terminal(self):
        name = "a\x1B[2J\x9B2J.wav"
        os.rename("pair.wav", name)
        source = {"file": name, "channel": 1, "direction": [0, 0]}
        self.tool("render", "-", "-o", "out.wav", data=text(scene_of(source)),
                  says=b"earshot: a?[2J??2J.wav: converting the sample rate from 44100 to "
                       b"48000 Hz\n")

    def test_failure_half_way_leaves_the_old_file(self):
        """A file that turns out to be shorter than it says, when part of the scene is written."""
        self.write("long.wav", wav(noise(200000, 16, 4), 1))
        self.tool("encode", "long.wav", "-o", "in.flac", "--order=1")
        whole = self.read("in.flac")
        self.write("in.flac", whole[:2 * len(whole) // 3])
        self.write("out.wav", b"old")
        scene = scene_of({"file": "in.flac", "channel": 1, "direction": [0, 0]})
        before = sorted(os.listdir())
        result = self.run_tool("render", "-", "-o", "out.wav", data=text(scene))
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr, rb"^earshot: .*in.flac: .*truncated[^\n]*\n$")
        self.assertEqual((sorted(os.listdir()), self.read("out.wav")), (before, b"old"))


def changed(path, value):
    """A scene with everything in it, and one value of it replaced or (None) taken out."""
    scene = copy.deepcopy(Schema.WHOLE)
    *way, last = path
    place = scene
    for key in way:
        place = place[key]
    if value is None:
        del place[last]
    else:
        place[last] = value
    return scene


@unittest.skipUnless(jsonschema, "python3-jsonschema is not installed")
class Schema(SceneTest):
    FIRST, SECOND, THIRD, BED = (("sources", k) for k in range(4))
    ROLLOFF = {"model": "linear", "minimum": 0.5, "maximum": 100}
    WHOLE = scene_of(
        {"file": "mono.wav", "start": 0.01, "gain": -3.5, "loop": True, "dc_block": True,
         "position": [1, -2, 0.5], "rolloff": ROLLOFF},
        {"file": "mono.wav", "channel": 1, "track": [[0, 720, -90], [0.1, -720.5, 90]]},
        {"file": "mono.wav", "track": [[0, 1, 2, 3], [0.1, -8191, 8191, 0]], "rolloff": ROLLOFF},
        {"file": "six.wav", "layout": "5.1", "start": 0.001, "lfe": -3},
        duration=0.01,
        listener={"position_track": [[0, 0, 0, 0], [1, 1, 1, 1]],
                  "orientation": {"quaternion": [0.6, 0, 0, -0.8]}})
    GOOD = [
        ((*FIRST, "gain"), 60), ((*FIRST, "loop"), False), ((*SECOND, "channel"), 1.0),
        ((*FIRST, "rolloff", "model"), "none"), (("listener",), {}), (("listener",), None),
        (("version",), 1.0), ((*BED, "lfe"), "off"), ((*BED, "lfe"), None),
        (("listener", "orientation"), {}),
        (("listener", "orientation"), {"yaw": 400, "pitch": -30, "roll": 1e1}),
        (("listener",), {"orientation_track": [[0, 1, 0, 0, 0], [1, 0, 1, 0, 0]]}),
        (("listener",), {"orientation_track": [[0, 1000, 0, 0]], "position": [0, 0, 1.7]}),
    ]
    BAD = [
        (("version",), 2), (("version",), "1"), (("version",), None), (("sources",), []),
        (("sources",), None), (("sources",), {}), (("title",), "a"), (("duration",), 0),
        (("duration",), -1), (("duration",), 31536001), (("duration",), "long"),
        (("listener",), []), (("listener", "name"), "a"), (("listener", "position"), [0, 0, 0]),
        (("listener", "position_track"), []), (("listener", "position_track"), [[0, 0, 0]]),
        (("listener", "position_track"), [0, 0, 0, 0]),
        (("listener", "orientation_track"), [[0, 0, 0, 0]]),
        (("listener", "orientation", "yaw"), 0), (("listener", "orientation", "tilt"), 0),
        (("listener", "orientation", "quaternion"), [1, 0, 0]),
        (("listener", "orientation", "quaternion"), [2, 0, 0, 0]),
        (("listener", "orientation"), {"yaw": 32768}),
        ((*FIRST, "file"), None), ((*FIRST, "file"), ""), ((*FIRST, "file"), 3),
        ((*FIRST, "file"), "mono.wav\0"), ((*SECOND, "track"), ""), ((*SECOND, "track"), "a\0"),
        ((*FIRST, "colour"), 1), ((*FIRST, "gain"), 61), ((*FIRST, "gain"), "3"),
        ((*FIRST, "start"), -0.1), ((*FIRST, "loop"), 1), ((*FIRST, "dc_block"), "yes"),
        ((*FIRST, "position"), None), ((*FIRST, "position"), [0, 0]),
        ((*FIRST, "position"), [0, 0, 0, 0]), ((*FIRST, "position"), [0, "0", 0]),
        ((*FIRST, "position"), [8192, 0, 0]), ((*FIRST, "direction"), [0, 0]),
        ((*FIRST, "rolloff"), {}), ((*FIRST, "rolloff"), "linear"),
        ((*FIRST, "rolloff", "model"), "cubic"), ((*FIRST, "rolloff", "minimum"), 0),
        ((*FIRST, "rolloff", "maximum"), 32768), ((*FIRST, "rolloff", "maximum"), None),
        ((*FIRST, "rolloff", "slope"), 1),
        ((*SECOND, "channel"), 0), ((*SECOND, "channel"), 1.5), ((*SECOND, "channel"), 1025),
        ((*SECOND, "track"), [[0, 0, 91]]), ((*SECOND, "track"), [[0, 0]]),
        ((*SECOND, "track"), [[0, 0, 0], [1, 0, 0, 0]]), ((*SECOND, "track"), [[-1, 0, 0]]),
        ((*SECOND, "track"), [[0, 32768, 0]]), ((*SECOND, "track"), 7),
        ((*SECOND, "rolloff"), ROLLOFF), ((*SECOND, "track"), None),
        ((*BED, "layout"), "6.1"), ((*BED, "layout"), "quad"), ((*BED, "lfe"), "on"),
        ((*BED, "lfe"), 61), ((*BED, "channel"), 1), ((*BED, "rolloff"), ROLLOFF),
        ((*BED, "direction"), [0, 0]), ((*SECOND, "lfe"), 0),
        ((*THIRD, "track"), [[0, 0, 0, 8192]]), ((*THIRD, "track"), [[31536001, 0, 0, 0]]),
    ]
    # What a schema cannot say.
    BEYOND = [
        ((*SECOND, "track"), [[0, 0, 0], [0, 1, 0]]), ((*SECOND, "track"), [[1, 0, 0], [0, 1, 0]]),
        ((*FIRST, "rolloff", "minimum"), 101), ((*FIRST, "file"), "none.wav"),
        (("listener", "orientation", "quaternion"), [0.6, 0, 0, 0.7]),
        ((*SECOND, "track"), "none.csv"), ((*SECOND, "channel"), 2), ((*BED, "layout"), "7.1"),
    ]

    def setUp(self):
        super().setUp()
        self.sounds()
        self.write("six.wav", wav(noise(6 * 500, 16, 2, 0.01), 6))
        with open(SCHEMA) as file:
            self.schema = jsonschema.Draft202012Validator(json.load(file))

    def check(self, scene, is_valid, is_rendered):
        with self.subTest(scene=scene):
            self.assertEqual(self.schema.is_valid(scene), is_valid)
            result = self.run_tool("render", "-", "-o", "/dev/null", data=text(scene))
            self.assertEqual(result.returncode, 0 if is_rendered else 2, result.stderr)
            self.assertRegex(result.stderr.decode(),
                             "^$" if is_rendered else r"^earshot: standard input: [^\n]+\n$")

    def test_tool_and_schema_agree(self):
        self.schema.check_schema(self.schema.schema)
        self.check(self.WHOLE, True, True)
        for cases, verdict in (self.GOOD, (True, True)), (self.BAD, (False, False)), \
                              (self.BEYOND, (True, False)):
            for path, value in cases:
                self.check(changed(path, value), *verdict)
        endless = {"file": "mono.wav", "loop": True, "direction": [0, 0]}
        self.check(scene_of(endless), False, False)
        self.check(scene_of(*[endless] * 4097, duration=1), False, False)
        self.check([], False, False)

    def test_examples(self):
        names = [name for name in sorted(os.listdir(SCENES)) if name.endswith(".json")]
        self.assertGreaterEqual(len(names), 3)
        for name in names:
            path = os.path.join(SCENES, name)
            with self.subTest(name=name), open(path) as file:
                self.schema.validate(json.load(file))
                if os.path.exists("/usr/share/sounds/alsa"):
                    self.tool("render", path, "-o", "/dev/null")


main()
