"""Batches: what their lines say, what is made of them, and what an interruption leaves."""

import fcntl
import json
import os
import resource
import shutil
import signal
import subprocess
import time
import unittest

from harness import EARSHOT, ToolTest, digest, main, noise, unpack, wav

try:
    import sofa
except ImportError:
    sofa = None

RATE = 48000


def scene_of(file="a.wav", azimuth=30, **keys):
    return {"version": 1, "sources": [{"file": file, "direction": [azimuth, 0]}], **keys}


def template_of(**source):
    return {"version": 1, "sources": [{"file": "a.wav", "direction": [30, 0], **source}]}


def files_in(folder):
    """Times of the sounds in a folder, by their names."""
    return {os.path.relpath(os.path.join(way, name), folder):
            os.stat(os.path.join(way, name)).st_mtime_ns
            for way, _, names in os.walk(folder) for name in names
            if not name.startswith("results") and ".earshot-batch" not in way}


class BatchTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("a.wav", wav(noise(24000, 24, 1, 0.2), 1, 24))
        self.write("b.wav", wav(noise(12000, 24, 2, 0.2), 1, 24))
        self.write("s.json", json.dumps(scene_of()).encode())

    def manifest(self, lines, name="m.jsonl"):
        self.write(name, b"".join((line if isinstance(line, bytes) else json.dumps(line).encode())
                                  + b"\n" for line in lines))

    def records(self, folder="out"):
        return [json.loads(line) for line in self.read(folder + "/results.jsonl").splitlines()]

    def batch(self, *args, code=0, name="m.jsonl", folder="out", **kwargs):
        """The run's words on stderr."""
        run = self.run_tool("batch", name, "-o", folder, *args, **kwargs)
        self.assertEqual((run.returncode, run.stdout), (code, b""), run.stderr)
        return run.stderr.decode()

    def start(self, *args):
        process = subprocess.Popen([EARSHOT, "batch", "m.jsonl", "-o", "out", *args],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def wait_for(self, condition):
        for _ in range(6000):
            if condition():
                return
            time.sleep(0.01)
        self.fail("waited for a minute")

    def journal(self):
        name = "out/.earshot-batch/journal.jsonl"
        return self.read(name).count(b"\n") if os.path.exists(name) else 0


class Lines(BatchTest):
    def test_a_line_is_what_render_makes(self):
        table = [("1.wav", {}, []),
                 ("deep/er/2.flac", {"gain": -6.5, "bits": 16}, ["--gain=-6.5", "--bits=16"]),
                 ("3.caf", {"normalize": True, "no_dither": True}, ["--normalize", "--no-dither"]),
                 ("4.wav", {"loudness": -20, "true_peak": -1.5},
                  ["--loudness=-20", "--true-peak=-1.5"]),
                 ("5.w64", {"rate": 44100, "from": 0.1, "to": 0.3},
                  ["--rate=44100", "--from=0.1", "--to=0.3"]),
                 ("6.wav", {"field": 2, "no_head": True}, ["--field=2", "--no-head"]),
                 ("7.aiff", {"placement": "measured"}, ["--placement=measured"]),
                 ("8.ogg", {"quality": 3}, ["--quality=3"]),
                 ("9.opus", {}, []), ("10.mp3", {}, []), ("11.au", {"gain": 12}, ["--gain=12"])]
        self.manifest([{"scene": "s.json", "output": name, **keys} for name, keys, _ in table])
        self.assertIn("11 lines, 11 rendered, 0 already there", self.batch())
        for (name, _, args), record in zip(table, self.records()):
            with self.subTest(name):
                ending = os.path.splitext(name)[1]
                printed = self.tool("render", "s.json", "-o", "x" + ending, "--digest", "-q", *args)
                self.assertEqual((record["output"], record["digest"]),
                                 (name, printed.split()[0].decode()))
                if ending not in (".ogg", ".opus", ".mp3"):
                    self.assertEqual(self.read("out/" + name), self.read("x" + ending))
                info = self.info("x" + ending)
                self.assertEqual(str(record["frames"]), info["frames"])
                self.assertEqual(f"{record['rate']} Hz", info["rate"])
                self.assertAlmostEqual(record["duration"], record["frames"] / record["rate"], 6)
                if ending not in (".ogg", ".opus", ".mp3"):
                    self.assertEqual(f"{record['peak']:.2f} dBFS", info["peak"])
                if ending in (".flac", ".caf") or name == "4.wav":
                    self.assertEqual(f"{record['loudness']:.2f} LUFS", info["loudness"])
        self.assertIsNone(self.records()[5]["loudness"])
        self.assertGreater(self.records()[10]["clipped"], 0)
        self.assertEqual([record["line"] for record in self.records()], list(range(1, 12)))

    def test_lines_come_before_the_command(self):
        line = {"scene": "s.json"}
        self.manifest([{**line, "output": "1.wav"}, {**line, "output": "2.wav", "gain": -3},
                       {**line, "output": "3.flac", "bits": 24},
                       {**line, "output": "4.ogg", "bits": None, "gain": None}])
        self.batch("--gain=-6", "--bits=16")
        for name, args in (("1.wav", ["--gain=-6", "--bits=16"]),
                           ("2.wav", ["--gain=-3", "--bits=16"]),
                           ("3.flac", ["--gain=-6", "--bits=24"])):
            self.tool("render", "s.json", "-o", "x" + name, *args)
            self.assertEqual(self.read("out/" + name), self.read("x" + name), name)
        self.assertGreater(self.records()[3]["peak"], self.records()[0]["peak"] + 5.9)
        self.manifest([{**line, "output": "1.wav"},
                       {**line, "output": "2.wav", "normalize": False, "loudness": -30}])
        self.batch("--normalize")
        self.assertEqual([record["peak"] for record in self.records()], [0, self.records()[1]["peak"]])
        self.assertLess(self.records()[1]["peak"], -10)

    def test_templates(self):
        form = template_of(file="${name}.wav", gain="${gain}", loop="${again}", start="${when}")
        form["duration"] = "${long}"
        form["sources"][0]["direction"] = "${where}"
        os.mkdir("forms")
        self.write("forms/t.json", json.dumps(form).encode())
        shutil.copy("a.wav", "forms/take 1.wav")
        shutil.copy("a.wav", "take 1.wav")
        shutil.copy("a.wav", "$5.wav")
        values = {"name": "take 1", "gain": -3.5, "again": True, "when": 0.1, "long": 0.6,
                  "where": [-70, 10]}
        self.manifest([{"template": "forms/t.json", "values": values, "output": "1.wav"},
                       {"template": form, "values": values, "output": "2.wav"},
                       {"template": template_of(file="$$${n}.wav"), "values": {"n": 5},
                        "output": "3.wav"}])
        self.batch()
        filled = scene_of("take 1.wav", duration=0.6)
        filled["sources"][0] = {"file": "take 1.wav", "direction": [-70, 10], "gain": -3.5,
                                "loop": True, "start": 0.1}
        self.write("filled.json", json.dumps(filled).encode())
        self.tool("render", "filled.json", "-o", "x.wav")
        self.tool("render", "s.json", "-o", "y.wav")
        for name, expected in ("1.wav", "x.wav"), ("2.wav", "x.wav"), ("3.wav", "y.wav"):
            self.assertEqual(self.read("out/" + name), self.read(expected), name)

    def test_bad_lines_stop_nobody(self):
        self.write("text.txt", b"hello")
        long_name = "x" * 300 + ".wav"
        os.makedirs("out")
        shutil.copy("a.wav", "out/in.wav")
        gain = template_of(gain="${gain}")
        good = {"scene": "s.json", "output": "good.wav"}
        table = [
            (b'{"scene": "s.json", "output": "0.wav"', "column 38: the text ends too early"),
            (b'[1]', "is an array, needs an object"),
            (b'{"output": "0.wav", "output": "1.wav"}', "output: is given twice"),
            ({"scene": "s.json"}, "'output' is missing"),
            ({"scene": "s.json", "output": "../x.wav"},
             "output: '../x.wav' is not inside the folder of the outputs; name a file in it"),
            ({"scene": "s.json", "output": "/tmp/x.wav"},
             "output: '/tmp/x.wav' is not inside the folder of the outputs; name a file in it"),
            ({"scene": "s.json", "output": "x/"}, "output: 'x/' is no name of a file"),
            ({"scene": "s.json", "output": ""}, "output: '' is no name of a file"),
            ({"scene": "s.json", "output": "./good.wav"},
             "output: line 1 has the same; give each line one of its own"),
            ({"scene": "s.json", "output": "e.xyz"}, "e.xyz: unknown extension; use .wav, .flac, "
             ".caf, .au, .w64, .aiff, .ogg, .opus or .mp3"),
            ({"scene": "s.json", "output": long_name}, f"{long_name}: File name too long"),
            ({"output": "f.wav"}, "'scene' or 'template' is missing"),
            ({**good, "template": "t.json", "output": "g.wav"}, "has both 'scene' and 'template'"),
            ({**good, "values": {}, "output": "h.wav"}, "values: belongs to a 'template'"),
            ({**good, "gains": 3, "output": "i.wav"}, "gains: unknown key; there is 'gain'"),
            ({**good, "gain": "loud", "output": "j.wav"},
             "--gain: 'loud' is not a number, such as -12.5"),
            ({**good, "gain": [3], "output": "k.wav"}, "gain: is an array, needs a string"),
            ({**good, "no_head": True, "output": "l.wav"}, "--no-head: two ears turn with their "
             "head; it is for --field, which a player can turn"),
            ({**good, "gain": 1, "loudness": -20, "output": "m.wav"}, "--gain would change what "
             "--loudness has reached; leave one of them out"),
            ({**good, "head": "no.head", "output": "n.wav"}, "no.head: No such file or directory"),
            ({"scene": "no.json", "output": "o.wav"}, "no.json: No such file or directory"),
            ({"scene": "text.txt", "output": "p.wav"},
             "text.txt: line 1, column 1: not JSON at 'h'"),
            ({"scene": scene_of("no.wav"), "output": "q.wav"},
             "scene: sources[0].file: no.wav: No such file or directory"),
            ({"scene": scene_of("out/in.wav"), "output": "1.wav"}, "scene: sources[0].file: "
             "out/in.wav: is in the folder that the batch writes to; move it, or name another "
             "folder with -o"),
            ({"template": gain, "output": "r.wav"}, "'values' is missing"),
            ({"template": gain, "values": {}, "output": "s.wav"}, "template: ${gain} has no value"),
            ({"template": gain, "values": {"gian": 1}, "output": "t.wav"},
             "template: ${gain} has no value"),
            ({"template": gain, "values": {"gain": 1, "x": 2}, "output": "u.wav"},
             "template: values.x: the template has no ${x}"),
            ({"template": template_of(file="a${x}"), "values": {"x": [1]}, "output": "v.wav"},
             "template: values.x: is array, which cannot stand within a longer text"),
            ({"template": template_of(file="a$.wav"), "values": {}, "output": "w.wav"},
             "template: a $ in 'a$.wav' begins no ${name}; write $$ for a dollar"),
            ({"template": gain, "values": {"gain": "x"}, "output": "x.wav"},
             "template: sources[0].gain: is a string, needs a number"),
        ]
        lines = [good, b""] + [line for line, _ in table] + [{**good, "output": "last.wav"}]
        self.manifest(lines)
        says = self.batch(code=2).splitlines()
        records = self.records()
        for k, (line, error) in enumerate(table):
            self.assertEqual((records[k + 1]["line"], records[k + 1].get("error")), (k + 3, error),
                             line)
            self.assertEqual(set(records[k + 1]), {"line", "output", "error"})
        self.assertEqual([set(files_in("out")), len(records)],
                         [{"good.wav", "last.wav", "in.wav"}, len(table) + 2])
        self.assertEqual(says[0], "earshot: line 3: " + table[0][1])
        self.assertEqual(len(says), 11)
        self.assertEqual(says[-1], f"earshot: m.jsonl: {len(table)} of {len(table) + 2} lines "
                         "failed; records in out/results.jsonl")
        # The same from another place: no folder of the machine is in the records.
        os.mkdir("elsewhere")
        expected = self.read("out/results.jsonl")
        os.remove("out/results.jsonl")
        self.batch(code=2, name="../m.jsonl", folder=os.path.abspath("out"), cwd="elsewhere")
        self.assertEqual(self.read("out/results.jsonl"), expected)

    @unittest.skipUnless(sofa, "h5py is not installed")
    def test_heads(self):
        """One for all is prepared once; those of lines are found from the manifest."""
        directions = sofa.grid(60)
        os.mkdir("heads")
        sofa.write("heads/me.sofa", directions, sofa.responses(directions, RATE, 128))
        self.tool("head", "heads/me.sofa", "-o", "heads/me.head", "-q")
        self.manifest([{"scene": "s.json", "output": f"{k}.wav"} for k in range(4)])
        self.assertEqual(self.batch("--head=heads/me.sofa", "--jobs=2").count("prepared in"), 1)
        digests = {record["digest"] for record in self.records()}
        self.manifest([{"scene": "s.json", "output": "1.wav", "head": "heads/me.head"}])
        self.batch()
        self.assertEqual(digests, {self.records()[0]["digest"]})

    def test_what_cannot_be_begun(self):
        self.manifest([{"scene": "s.json", "output": "1.wav"}])
        self.write("results.jsonl", b"mine\n")
        there = sorted(os.listdir())
        for code, message, args in [
                (2, "no.jsonl: No such file or directory", ["no.jsonl", "-o", "out"]),
                (2, "no.head: No such file or directory",
                 ["m.jsonl", "-o", "out", "--head", "no.head"]),
                (1, "--jobs: 0 is outside 1 to 1024", ["m.jsonl", "-o", "out", "--jobs=0"]),
                (1, "--lines: '5-3' ends before it begins", ["m.jsonl", "-o", "out", "--lines=5-3"]),
                (1, "m.jsonl: has no line 2, its last is 1", ["m.jsonl", "-o", "out", "--line=2"]),
                (1, "--gain would change what --loudness has reached; leave one of them out",
                 ["m.jsonl", "-o", "out", "--gain=3", "--loudness=-20"])]:
            self.fails(code, message, "batch", *args)
        self.assertEqual(sorted(os.listdir()), there)
        self.assertIn("results.jsonl: has no records of a batch and is not replaced",
                      self.batch(code=2, folder="."))
        self.assertEqual(self.read("results.jsonl"), b"mine\n")


class Again(BatchTest):
    """What is there is not rendered again, and what is not as it was is."""

    def lines(self, count, **keys):
        return [{"scene": "s.json", "output": f"{k}.wav", **keys} for k in range(count)]

    def rendered(self, *args):
        """Names of what a run has written."""
        before = files_in("out")
        self.batch(*args)
        return sorted(name for name, when in files_in("out").items() if before.get(name) != when)

    def test_what_has_changed(self):
        names = ["a.wav", "b.flac", "c.ogg", "d.opus", "e.mp3", "f.caf"]
        lines = [{"scene": scene_of("b.wav", k), "output": name} for k, name in enumerate(names)]
        lines[0]["scene"] = "s.json"
        lines[5]["scene"] = {**scene_of("b.wav"), "listener": {"position_track": "walk.csv"}}
        self.write("walk.csv", b"time,x,y,z\n0,0,0,0\n")
        self.manifest(lines)
        self.batch()
        results = self.read("out/results.jsonl")
        self.assertEqual(self.rendered(), [])
        self.assertEqual(self.read("out/results.jsonl"), results)
        # Moved, and in another order, with the same records but for the numbers.
        self.manifest([b""] + lines[::-1])
        self.assertEqual(self.rendered(), [])
        self.manifest(lines)
        damaged = bytearray(self.read("out/a.wav"))
        damaged[-100] ^= 1
        self.write("out/a.wav", damaged)
        self.assertEqual(self.rendered(), ["a.wav"])
        for name in names[1:5]:
            self.write("out/" + name, self.read("out/" + name)[:-200])
        os.remove("out/f.caf")
        self.assertEqual(self.rendered(), names[1:])
        self.assertEqual(self.read("out/results.jsonl"), results)
        for change in [lambda: self.write("a.wav", wav(noise(24000, 24, 3, 0.2), 1, 24)),
                       lambda: self.write("s.json", json.dumps(scene_of(azimuth=31)).encode()),
                       lambda: self.manifest([{**lines[0], "gain": -1}] + lines[1:])]:
            change()
            self.assertEqual(self.rendered(), ["a.wav"])
        self.write("walk.csv", b"time,x,y,z\n0,1,0,0\n")
        self.assertEqual(self.rendered(), ["f.caf"])
        self.assertEqual(self.rendered("--gain=-2"), names[1:])

    def test_killed_in_mid_run(self):
        lines = self.lines(60, normalize=True)
        self.manifest(lines)
        self.batch(folder="whole")
        process = self.start("--jobs=2")
        self.wait_for(lambda: self.journal() >= 10)
        process.kill()
        process.wait()
        self.wait_for(lambda: not [name for name in files_in("out") if name.startswith(".")])
        journal = self.read("out/.earshot-batch/journal.jsonl").split(b"\n")[:-1]
        self.assertTrue(10 <= len(journal) < 60, len(journal))
        # Killed while it wrote the last line.
        self.write("out/.earshot-batch/journal.jsonl", b"\n".join(journal)[:-20])
        kept = {json.loads(line)["output"] for line in journal[:-1]}
        again = set(self.rendered("--jobs=2"))
        self.assertFalse(kept & again)
        self.assertEqual(kept | again, {line["output"] for line in lines})
        self.assertEqual(self.read("out/results.jsonl"), self.read("whole/results.jsonl"))
        self.assertEqual(os.listdir("out/.earshot-batch"), ["journal.jsonl"])

    def test_interrupted(self):
        self.manifest(self.lines(60, normalize=True))
        process = self.start("--jobs=2")
        self.wait_for(lambda: self.journal() >= 5)
        process.send_signal(signal.SIGINT)
        self.assertRegex(process.communicate()[1].decode(), r"^earshot: interrupted after \d+ of "
                         "60 lines; the same command goes on from there\n$")
        self.assertEqual(process.returncode, -signal.SIGINT)
        self.assertFalse([name for name in files_in("out") if name.startswith(".")])
        done = self.journal()
        self.assertGreaterEqual(done, 5)
        self.assertIn(f" {done} already there", self.batch())

    def test_lost_workers(self):
        """One that is killed costs nothing; a line that ends two is an error, and not the end."""
        self.manifest(self.lines(60, normalize=True))
        self.batch(folder="whole")
        process = self.start("--jobs=2")
        self.wait_for(lambda: self.journal() >= 5)
        children = f"/proc/{process.pid}/task/{process.pid}/children"
        for child in self.read(children).split()[:1]:
            os.kill(int(child), signal.SIGKILL)
        process.communicate()
        self.assertEqual(process.returncode, 0)
        self.assertEqual(self.read("out/results.jsonl"), self.read("whole/results.jsonl"))
        self.assertFalse([name for name in files_in("out") if name.startswith(".")])
        endless = scene_of(duration=1e6)
        endless["sources"][0]["loop"] = True
        self.manifest([*self.lines(3), {"scene": endless, "output": "x.wav", "normalize": True}])
        self.batch("--jobs=2", code=2, folder="cut", preexec_fn=lambda: resource.setrlimit(
            resource.RLIMIT_CPU, (1, 20)))
        self.assertEqual([record.get("error", "")[:60] for record in self.records("cut")],
                         ["", "", "", "two processes that rendered it ended early, the second by si"])


class Shares(BatchTest):
    """Who does a line does not matter."""

    def test_lines_alone(self):
        lines = [{"scene": scene_of(azimuth=k), "output": f"{k % 3}/{k}.wav"} for k in range(12)]
        self.manifest(lines + [{"scene": "no.json", "output": "no.wav"}])
        self.batch(folder="whole", code=2)
        processes = [self.start(f"--line={k}") for k in range(1, 9)] + [self.start("--lines=9-13")]
        says = [process.communicate()[1].decode() for process in processes]
        self.assertEqual([process.returncode for process in processes], [0] * 8 + [2])
        self.assertEqual(says[0], "earshot: 1 line, 1 rendered, 0 already there\n")
        self.assertFalse(os.path.exists("out/results.jsonl"))
        self.assertEqual(len(os.listdir("out/.earshot-batch")), 13)
        before = files_in("out")
        self.assertIn("1 line, 0 rendered, 1 already there", self.batch("--line=3"))
        self.batch(code=2)
        self.assertEqual(files_in("out"), before)
        self.assertEqual(self.read("out/results.jsonl"), self.read("whole/results.jsonl"))
        self.assertEqual(os.listdir("out/.earshot-batch"), ["journal.jsonl"])

    def test_one_of_all_lines_at_a_time(self):
        self.manifest([{"scene": "s.json", "output": "1.wav"}])
        self.batch()
        with open("out/.earshot-batch/journal.jsonl") as journal:
            fcntl.flock(journal, fcntl.LOCK_EX)
            self.assertEqual(self.batch(code=2), "earshot: out: another batch is at work there; "
                             "wait for its end\n")
            self.batch("--line=1")
        self.batch()

    def test_thousand_scenes_by_one_and_by_two(self):
        self.manifest([{"scene": scene_of("b.wav", k % 360), "output": f"{k % 10}/{k}.wav",
                        "gain": -k / 100, "to": 0.02} for k in range(1000)])
        for jobs in 1, 2:
            begin = time.monotonic()
            self.batch(f"--jobs={jobs}", folder=f"by{jobs}")
            print(f"{jobs} at a time: {1000 / (time.monotonic() - begin):.0f} scenes/s")
        self.assertEqual(self.read("by1/results.jsonl"), self.read("by2/results.jsonl"))
        self.assertEqual(len({record["digest"] for record in self.records("by1")}), 1000)
        for name in "0/0.wav", "9/999.wav":
            record = next(record for record in self.records("by2") if record["output"] == name)
            with open("by2/" + name, "rb") as file:
                self.assertEqual(digest(unpack(file.read()[44:], 24), 24), record["digest"])


main()
