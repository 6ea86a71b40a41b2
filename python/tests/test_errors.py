"""What cannot be is an exception that names the place, and never the end of the interpreter."""

import os
import subprocess
import sys
import threading
import time
import unittest

import numpy as np

import earshot
from earshot import fft
from earshot._library import ffi, lib
from earshot.scenes import Scene, Source
from support import FolderTest, noise

SILENCE = np.zeros(10, np.int32)


def scene_of(*sources, **keys):
    return {"version": 1, "sources": list(sources), **keys}


def front(file="a.wav", **keys):
    return {"file": file, "direction": [0, 0], **keys}


class Errors(FolderTest):
    def fails(self, kinds, message, call):
        with self.assertRaises(earshot.Error) as caught:
            call()
        self.assertEqual(str(caught.exception), message)
        for kind in kinds if isinstance(kinds, tuple) else (kinds,):
            self.assertIsInstance(caught.exception, kind)

    def test_scenes(self):
        scene = (earshot.SceneError, ValueError)
        loop = {}
        loop["sources"] = [loop]
        for message, text in [
                ("sources[1].gain: nan is not a finite number",
                 scene_of(front(), front(gain=np.nan))),
                ("sources[0].direction: has 3 items, needs 2",
                 scene_of({"file": "a", "direction": np.zeros(3)})),
                ("sources[0].start: nothing of a scene is of type set", scene_of(front(start={1}))),
                ("listener: the key 1 is not a text", scene_of(front(), listener={1: 2})),
                ("is nested too deeply, or within itself", loop),
                ("sources[0]: 'position', 'direction', 'track' or 'layout' is missing",
                 Scene([Source("a.wav")])),
                ("a scene is a path, a dict or an earshot.scenes.Scene, not of type int", 3)]:
            self.fails(scene, message, lambda text=text: earshot.Scene(text))
        with open("bad.json", "w", encoding="utf-8") as file:
            file.write('{"version": 1,\n "sources": [}')
        with self.assertRaisesRegex(earshot.SceneError, r"^bad\.json: line 2, column 14: "):
            earshot.Scene("bad.json")
        missing = (earshot.FileError, OSError)
        self.fails(missing, "no.json: No such file or directory", lambda: earshot.Scene("no.json"))
        self.fails(missing, ".: Is a directory", lambda: earshot.Scene("."))
        self.fails(missing, "sources[0].track: 'no.csv': No such file or directory",
                   lambda: earshot.Scene(scene_of({"file": "a", "track": "no.csv"})))

    def test_sounds(self):
        sound, samples = (earshot.SoundError, OSError), (earshot.SampleError, ValueError)
        self.write("pair.wav", noise(200, 1).reshape(-1, 2))
        with open("not.wav", "wb") as file:
            file.write(b"nonsense")
        film = {"file": "film.wav", "layout": "5.1"}
        pairs = np.zeros((10, 2))
        for kinds, message, scene, sounds in [
                (sound, "sources[0].file: no.wav: No such file or directory",
                 scene_of(front("no.wav")), None),
                (sound, "sources[1].file: pair.wav: has 2 channels: name one of them with "
                 "\"channel\", or take all with \"layout\"",
                 scene_of(front(SILENCE), front("pair.wav")), None),
                (earshot.SceneError, "sounds: no source of the scene has the file 'b'",
                 scene_of(front()), {"b": SILENCE}),
                (samples, "sources[0].file: has 2 channels: name one of them with \"channel\", or "
                 "take all with \"layout\"", scene_of(front(pairs)), None),
                (samples, "sources[0].file: has 2 channels, not a channel 3",
                 scene_of(front(channel=3)), {"a.wav": pairs}),
                (samples, "sources[0].file: has 2 channels, 5.1 has 6", scene_of(film),
                 {"film.wav": pairs}),
                (samples, "sounds['a.wav']: has the shape () and not (frames,) or "
                 "(frames, channels)", scene_of(front()), {"a.wav": np.float32(1)}),
                (samples, "sounds['a.wav']: sample [2, 0] is not a finite number",
                 scene_of(front()), {"a.wav": [0, 1, np.inf]}),
                ((earshot.SampleTypeError, TypeError), "sources[0].file: samples of dtype uint8 "
                 "have no full scale; convert them to one of int16, int32, float32, float64",
                 scene_of(front(np.zeros(3, "u1"))), None),
                (earshot.SceneError, "source 0 has no samples to loop",
                 scene_of(front(loop=True), duration=1), {"a.wav": SILENCE[:0]})]:
            with self.subTest(message):
                self.fails(kinds, message, lambda: earshot.render(scene, sounds))
        with self.assertRaisesRegex(earshot.SoundError, r"^sources\[0\].file: not.wav: not audio"):
            earshot.render(scene_of(front("not.wav")))

    def test_a_sound_that_breaks_off(self):
        self.write("long.wav", noise(100000, 1))
        rendering = earshot.open(scene_of(front("long.wav")))
        rendering.read(100)
        os.truncate("long.wav", 50000)
        for _ in range(2):
            with self.assertRaisesRegex(earshot.SoundError, "^long.wav: .*truncated"):
                rendering.read()

    def test_arguments(self):
        scene = scene_of(front(SILENCE))
        binaural, field, effect = earshot.Binaural(2), earshot.Field(2), earshot.Effect()
        out_of_range, shape = (earshot.RangeError, ValueError), (earshot.SampleError, ValueError)
        closed = earshot.open(scene)
        closed.close()
        closed.close()
        with open("cut.head", "wb") as file:
            file.write(bytes(earshot.Head.builtin())[:-5])
        damaged = ("cut.head: is a head that is damaged, cut short or of another version; prepare "
                   "it again with 'earshot head'")
        for kinds, message, call in [
                (out_of_range, "gain: 61 is outside -120 to 60",
                 lambda: earshot.render(scene, gain=61)),
                (out_of_range, "placement: 'near' is not 'continuous' or 'measured'",
                 lambda: earshot.render(scene, placement="near")),
                (out_of_range, "field: 5 is not an order, 1 to 4, or 0 for two ears",
                 lambda: earshot.render(scene, field=5)),
                (out_of_range, "no_head: two ears turn with their head; it is for a field",
                 lambda: earshot.render(scene, no_head=True)),
                (earshot.SceneError,
                 "placement: measured directions are those of the built-in head",
                 lambda: earshot.render(scene, head=earshot.Head.builtin(), placement="measured")),
                ((earshot.SampleTypeError, TypeError),
                 "dtype: int64 is none of int16, int32, float32, float64",
                 lambda: earshot.render(scene, dtype=int)),
                ((earshot.ClosedError, ValueError), "the rendering is closed", closed.read),
                (out_of_range, "frames: -1 is outside 0 to 4.61169e+18",
                 lambda: earshot.open(scene).read(-1)),
                (out_of_range, "source: 1 is outside 0 to 0",
                 lambda: earshot.Scene(scene).heard(1, 0)),
                (out_of_range, "times: are seconds, at most 1e9 of them",
                 lambda: earshot.Scene(scene).heard(0, [0, np.nan])),
                (out_of_range, "sources: 0 is outside 1 to 65536", lambda: earshot.Binaural(0)),
                (out_of_range, "source: 2 is outside 0 to 1", lambda: binaural.place(2, 0)),
                (out_of_range, "elevation: 91 is outside -90 to 90",
                 lambda: binaural.place(0, 0, 91)),
                (out_of_range, "azimuth: nan is outside -1e+09 to 1e+09",
                 lambda: binaural.place(0, np.nan)),
                (shape, "block: has the shape (5,) and not (frames, 2)",
                 lambda: binaural.process(SILENCE[:5])),
                (shape, "block: has the shape (1, 2, 3) and not (frames,) or (frames, 1)",
                 lambda: field.encode(np.zeros((1, 2, 3)), 0)),
                (shape, "block: has the shape (10,) and not (frames, 9)",
                 lambda: field.rotate(SILENCE)),
                (out_of_range, "order: 0 is not 1 to 4", lambda: earshot.Field(0)),
                (out_of_range, "yaw: 181 is outside -180 to 180",
                 lambda: effect.set_rotation(181)),
                (shape, "x: has the shape (48,), and 48 points are no power of two from 32 to 1024",
                 lambda: fft.rfft(np.zeros(48, np.int32))),
                (shape, "x: has the shape (16,) and not (..., n, 2)",
                 lambda: fft.fft(np.zeros(16, np.int16))),
                (TypeError, "x: is of dtype float64 and not int16 or int32",
                 lambda: fft.rfft(np.zeros(64))),
                ((earshot.HeadError, ValueError), damaged, lambda: earshot.Head("cut.head")),
                (earshot.HeadError, "head: is neither a prepared head nor a SOFA file; 'earshot "
                 "head FILE.sofa -o FILE.head' makes one of the other",
                 lambda: earshot.Head(b"RIFF")),
                (OSError, "no.head: No such file or directory", lambda: earshot.Head("no.head"))]:
            self.fails(kinds, message, call)

    def test_without_a_library_of_the_system(self):
        """The error says what to install; what reads no files works."""
        program = """
import importlib.abc, sys
class Missing(importlib.abc.MetaPathFinder):
    def find_spec(self, name, path, target=None):
        if name == "earshot._files":
            raise ImportError("libmpg123.so.0: cannot open shared object file")
sys.meta_path.insert(0, Missing())
import earshot
earshot.render({"version": 1, "sources": [{"file": earshot.Head.builtin().impulse_response(0)[:, 0],
                                           "direction": [0, 0]}]})
try:
    earshot.render({"version": 1, "sources": [{"file": "a.wav", "direction": [0, 0]}]})
except earshot.MissingLibraryError as error:
    print(error)
"""
        self.assertEqual(run_python(program).stdout,
                         "files cannot be read: libmpg123.so.0: cannot open shared object file; "
                         "install libmpg123-0 (Debian package)\n")


def run_python(program, *args):
    return subprocess.run([sys.executable, "-B", "-c", program, *args], text=True, check=True,
                          stdout=subprocess.PIPE, timeout=120)


class Threads(FolderTest):
    def in_threads(self, count, work):
        """What the work gives in each thread."""
        results = [None] * count

        def run(k):
            results[k] = work(k)
        threads = [threading.Thread(target=run, args=(k,)) for k in range(count)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return results

    def test_the_lock_of_the_interpreter_is_free_in_a_call(self):
        """A thread counts while another one does nothing but call the library."""
        self.addCleanup(sys.setswitchinterval, sys.getswitchinterval())
        sys.setswitchinterval(1000)  # who holds the lock keeps it, unless it is given away
        words, made = noise(9600, 1), np.empty((9600, 25), np.int32)
        gains = np.ones(25, np.int32)
        pointers = [ffi.cast("s32 *", array.ctypes.data) for array in (words, gains, made)]
        state = {"inside": False, "counted": 0, "ended": False}

        def count():
            while not state["ended"]:
                state["counted"] += state["inside"]
                time.sleep(0)

        counter = threading.Thread(target=count)
        counter.start()
        limit = time.monotonic() + 30
        state["inside"] = True
        while state["counted"] == 0 and time.monotonic() < limit:
            lib.earshot_blocks_encode(pointers[0], 9600, pointers[1], 25, pointers[2])
        state["inside"], state["ended"] = False, True
        counter.join()
        self.assertGreater(state["counted"], 0)

    def test_objects_of_their_own_are_independent(self):
        self.write("a.wav", noise(40000, 2, 4), 44100)
        scene = earshot.Scene(scene_of(front(loop=True), {"file": "a.wav", "position": [1, 2, 0]},
                                       duration=2))
        head = earshot.Head.builtin()

        def work(k):
            binaural = earshot.Binaural(head=head)
            binaural.place(0, 10)
            return (earshot.digest(earshot.render(scene, head=head)),
                    earshot.digest(binaural.process(noise(5000, 1, 4))))
        results = self.in_threads(4, work)
        self.assertEqual(set(results), {work(0)})

    def test_one_object_is_used_in_turns(self):
        """Whatever the order, nothing is lost."""
        scene = scene_of(front(noise(200000, 3, 4)))
        whole = earshot.render(scene)
        rendering = earshot.open(scene)

        def work(k):
            rows = []
            while len(block := rendering.read(777)):
                rows.append(block)
            return np.concatenate(rows) if rows else np.empty((0, 2), np.int32)
        parts = np.concatenate(self.in_threads(3, work))
        self.assertEqual(parts.shape, whole.shape)
        self.assertEqual(sorted(map(tuple, parts.tolist())), sorted(map(tuple, whole.tolist())))
        binaural = earshot.Binaural()
        self.in_threads(3, lambda k: [(binaural.place(0, 40 * k + i), binaural.process(SILENCE))
                                      for i in range(200)])


class Nonsense(unittest.TestCase):
    PROGRAM = """
import random, sys, warnings
import numpy as np
import earshot
from earshot import fft, scenes
warnings.simplefilter("ignore")
generator = random.Random(int(sys.argv[1]))
pick = generator.choice

def array():
    sizes = [0, 1, 2, 3, 4, 9, 16, 32, 33, 100, 1024]
    shape = [pick(sizes) for _ in range(pick([0, 1, 1, 2, 2, 3]))]
    if np.prod(shape) > 5000:
        shape = shape[:1]
    dtype = pick(["i2", "i4", ">i4", "f4", "f8", "i8", "u1", "c8", "?", "O", "S3"])
    made = np.zeros(shape, dtype)
    if dtype in ("i2", "i4", "f4", "f8") and generator.random() < 0.8:
        made = (np.random.default_rng(generator.randrange(99)).normal(size=shape) *
                pick([1, 2.0 ** 30, 1e300])).clip(-2 ** 15 if dtype == "i2" else -2 ** 31,
                                                  2 ** 15 - 1).astype(dtype)
    return pick([made, made, made[::2] if shape else made, made.T])

def value(depth=0):
    kinds = [lambda: array(), lambda: pick([0, 1, 2, 4, 30.5, -90, 1e9, -1, 2 ** 40, 2 ** 70]),
             lambda: pick([float("nan"), float("inf"), None, True, b"EARH", b"", object(), int]),
             lambda: pick(["a.wav", "", "int16", "5.1", "\\0", "\\udc80", "measured", "/"])]
    if depth < 3:
        kinds += [lambda: [value(depth + 1) for _ in range(pick([0, 1, 2, 3]))], scene,
                  lambda: {pick(["a.wav", 1, "file"]): value(depth + 1)}]
    return pick(kinds)()

def source():
    made = {"file": pick([array(), np.zeros(pick([0, 1, 500]), "f4"), "a.wav"]),
            pick(["position", "direction", "track", "layout"]): pick(
        [[0, 0], [1, 2, 3], np.zeros((2, 4)), [[0, 0, 0], [1, 50, 2]], "stereo", "5.1", value(2)])}
    for key in ("loop", "gain", "channel", "start", "rolloff", "lfe"):
        if generator.random() < 0.15:
            made[key] = value(2)
    return made

def scene():
    return {"version": 1, "duration": pick([0.01, 0.1]), "sources": [
        source() for _ in range(pick([1, 1, 2]))]}

makers = [lambda: earshot.Binaural(pick([1, 2, 16])), lambda: earshot.Field(pick([1, 2, 4])),
          lambda: earshot.Effect(dtype=pick(["int16", "int32"])), lambda: earshot.Head(value()),
          lambda: earshot.Scene(pick([scene(), value()])), lambda: earshot.open(scene(), field=pick(
              [0, 0, 2])), lambda: fft, lambda: earshot]
names = set()
for _ in range(2000):
    try:
        thing = pick(makers)()
        for _ in range(pick([1, 3])):
            name = pick([n for n in dir(thing) if not n.startswith("_") and n not in (
                "Array", "lib", "ffi", "np", "npt")])
            method = getattr(thing, name)
            if callable(method):
                method(*[pick([value, scene, array])() for _ in range(pick([0, 1, 1, 2, 3]))])
                names.add(name)
        repr(thing)
    except (MemoryError, RecursionError, AssertionError) as error:
        sys.exit(f"{name}: {error!r}")
    except Exception:
        pass
print(len(names))
"""

    def test_random_arguments_never_end_the_interpreter(self):
        worked = run_python(self.PROGRAM, "1").stdout
        self.assertGreater(int(worked), 15, "functions of which calls worked")


if __name__ == "__main__":
    unittest.main()
