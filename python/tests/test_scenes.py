"""The same scenes give the same samples here, from the tool and on every target."""

import dataclasses
import json
import os
import subprocess
import unittest
import warnings

import numpy as np

import earshot
from earshot.scenes import Listener, Orientation, Rolloff, Scene, Source
from support import EARSHOT, EXAMPLES, TESTS, FolderTest, noise, write_sound
import sofa  # of the tool's tests, which support knows the way to


def fnv(words):
    """FNV-1a over words of 64 bits, low byte first."""
    value = 0xCBF29CE484222325
    for byte in words.astype("<i8").tobytes():
        value = (value ^ byte) * 0x100000001B3 % 2 ** 64
    return value


class PinnedScenes(FolderTest):
    """Those of tests/scene, which every target renders."""

    def test_digests(self):
        with open(os.path.join(TESTS, "scene", "pinned_scenes.json"), encoding="utf-8") as file:
            pinned = json.load(file)
        for name, text in pinned["tables"].items():
            with open(name, "w", encoding="utf-8") as file:
                file.write(text)
        steps = (np.arange(9000) // 300 % 7 << 27) + 0x10000000
        sounds = [noise(9600, 1), steps.astype(np.int32), noise(4000, 2, 0)]
        for k, sound in enumerate(sounds):
            self.write(f"{k}.wav", sound)
        for name, case in pinned["scenes"].items():
            scene = case["scene"]
            for k, source in enumerate(scene["sources"]):
                source["file"] = sounds[k % 3]
            made = {way: self.render(scene, way) for way in ("measured", "continuous")}
            self.assertEqual({way: fnv(made[way]) for way in made},
                             {way: case[way] for way in made}, name)
            for k, source in enumerate(scene["sources"]):
                source["file"] = f"{k % 3}.wav"
            with open("scene.json", "w", encoding="utf-8") as file:
                json.dump(scene, file)
            for way, samples in made.items():
                self.assertEqual(earshot.digest(samples),
                                 self.digest("render", "scene.json", "--placement", way), name)

    def render(self, scene, way):
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", earshot.Notice)
            return earshot.render(scene, placement=way)


class AsTheTool(FolderTest):
    def setUp(self):
        super().setUp()
        os.mkdir("scenes")
        self.write("scenes/mono.wav", noise(24000, 3, 4), bits=24)
        self.write("scenes/pair.wav", noise(2 * 30000, 4, 4).reshape(-1, 2), 44100, 16)
        self.write("scenes/film.wav", noise(6 * 9000, 5, 5).reshape(-1, 6))
        write_sound("a.flac", (noise(2 * 8000, 6, 4)).tolist(), 2)
        os.rename("a.flac", "scenes/a.flac")
        with open("scenes/way.csv", "w", encoding="utf-8") as file:
            file.write("time,x,y,z\n0,2,1,0\n0.3,-1,3,0.5\n")

    SOURCES = [
        {"file": "mono.wav", "track": "way.csv", "gain": -3.25, "start": 0.05,
         "rolloff": {"model": "inverse", "minimum": 1, "maximum": 20}},
        {"file": "pair.wav", "channel": 2, "direction": [-100, 20], "loop": True},
        {"file": "film.wav", "layout": "5.1", "lfe": 3, "start": 0.1},
        {"file": "a.flac", "layout": "stereo", "gain": -6},
        {"file": "pair.wav", "channel": 1, "position": [1, 0, -2], "dc_block": True},
    ]
    SCENE = {"version": 1, "duration": 0.7, "sources": SOURCES,
             "listener": {"position": [0, 0.25, 0], "orientation_track":
                          [[0, 0, 0, 0], [0.5, 90, 20, -10]]}}

    OPTIONS = [
        ([], {}),
        (["--placement", "measured", "--gain", "-4.5"], {"placement": "measured", "gain": -4.5}),
        (["--field", "2"], {"field": 2}),
        (["--field", "1", "--no-head", "--gain", "-12"],
         {"field": 1, "no_head": True, "gain": -12}),
    ]

    def test_files(self):
        """Layouts, loops, other rates, channels and tables, by path and by dict."""
        with open("scenes/scene.json", "w", encoding="utf-8") as file:
            json.dump(self.SCENE, file)
        for args, options in self.OPTIONS:
            expected = self.digest("render", "scenes/scene.json", *args)
            for scene in ("scenes/scene.json", earshot.Scene(self.SCENE, folder="scenes")):
                self.assertEqual(earshot.digest(earshot.render(scene, **options)), expected, args)

    def test_arrays_and_dataclasses(self):
        """What stands in for a file sounds as the file does."""
        mono, film = noise(24000, 3, 4) >> 8 << 8, noise(6 * 9000, 5, 5).reshape(-1, 6)
        scene = Scene(
            [Source(mono, track=np.array([[0, 2, 1, 0], [0.3, -1, 3, 0.5]]), gain=-3.25,
                    start=0.05, rolloff=Rolloff("inverse", 1, 20)),
             Source("film.wav", layout="5.1", lfe=3.0, start=0.1),
             Source("film.wav", channel=4, direction=(10, np.float32(2.5)))],
            Listener(position=np.array([0, 0.25, 0]), orientation=Orientation(yaw=30)))
        plain = dataclasses.asdict(dataclasses.replace(scene, sources=[
            dataclasses.replace(scene.sources[0], file="mono.wav", track="way.csv"),
            *scene.sources[1:]]), dict_factory=lambda items: {
                key: value.tolist() if isinstance(value, np.ndarray) else
                float(value) if isinstance(value, np.floating) else value
                for key, value in items if value is not None})
        plain["sources"][2]["direction"] = [10, 2.5]
        with open("scenes/scene.json", "w", encoding="utf-8") as file:
            json.dump(plain, file)
        expected = self.digest("render", "scenes/scene.json")
        strided = np.repeat(film, 2, axis=0)[::2]
        strided.flags.writeable = False
        made = earshot.render(scene, sounds={"film.wav": strided})
        self.assertEqual(earshot.digest(made), expected)
        half = earshot.render(scene, sounds={"film.wav": film}, dtype="int16")
        self.assertTrue((half == (made.astype(np.int64) + 0x8000) >> 16).all())
        both = earshot.render("scenes/scene.json", sounds={"film.wav": film / 2.0 ** 31})
        self.assertEqual(earshot.digest(both), expected)

    def test_examples(self):
        for name in os.listdir(EXAMPLES):
            if name.endswith(".json"):
                path = os.path.join(EXAMPLES, name)
                self.assertEqual(earshot.digest(earshot.render(path, dtype="float64")),
                                 self.digest("render", path), name)

    def test_reads_can_be_cut_anywhere(self):
        scene = earshot.Scene(self.SCENE, folder="scenes")
        whole = earshot.render(scene)
        generator = np.random.default_rng(7)
        with earshot.open(scene) as rendering:
            self.assertEqual((rendering.frames, rendering.channels), (33600, 2))
            at = 0
            while at < len(whole):
                count = int(generator.integers(0, 5000))
                if generator.integers(3) == 0:
                    at += rendering.skip(count)
                    continue
                block = rendering.read(count)
                self.assertTrue((block == whole[at:at + count]).all(), at)
                at += len(block)
            self.assertEqual((len(rendering.read(5)), rendering.skip(5)), (0, 0))
        with earshot.open(scene) as rendering:
            self.assertTrue((np.concatenate(list(rendering)) == whole).all())
            self.assertAlmostEqual(rendering.peak, abs(whole / 2.0 ** 31).max(), 8)
        rendering.close()
        self.assertAlmostEqual(rendering.peak, abs(whole / 2.0 ** 31).max(), 8)

    def test_sources(self):
        scene = earshot.Scene(self.SCENE, folder="scenes")
        self.assertEqual((scene.duration, len(scene.sources)), (0.7, 11))
        self.assertEqual(scene.sources[0][:6], ("mono.wav", None, 0, 0, 0.05, -3.25))
        self.assertEqual(scene.sources[5][:4], ("film.wav", "5.1", 2, 4))
        heard = scene.heard(0, [[0, 0.15], [0.3, 9]])
        self.assertEqual(heard.distance.shape, (2, 2))
        np.testing.assert_allclose(heard.distance[1], np.hypot(np.hypot(1, 2.75), 0.5), atol=2e-5)
        np.testing.assert_allclose(scene.heard(0, 0).azimuth, np.degrees(np.arctan2(0.75, 2)),
                                   atol=1e-4)
        still = scene.heard(1, [0, 0])
        np.testing.assert_allclose((still.azimuth[0], still.elevation[0]), (-100, 20), atol=1e-4)
        self.assertTrue(np.isnan(still.distance).all())
        self.assertTrue(np.isnan(scene.heard(5, 0).azimuth))  # a low-frequency channel

    def test_measured_heads(self):
        """A SOFA file becomes the head that the tool makes of it."""
        directions = [(a, e) for e in (-45, 0, 45) for a in range(0, 360, 30)] + [(0, 90)]
        sofa.write("me.sofa", directions, sofa.responses(directions, 48000, 256))
        subprocess.run([EARSHOT, "head", "me.sofa", "-o", "me.head", "--quiet"], check=True,
                       stdout=subprocess.DEVNULL)
        with self.assertWarnsRegex(earshot.Notice, "^me.sofa: nothing measured below -45 degrees"):
            made = earshot.Head("me.sofa")
        with open("me.head", "rb") as file:
            self.assertEqual(bytes(made), file.read())
        self.assertEqual((made.name, made.directions), ("a round head", len(directions)))
        mono = earshot.render({"version": 1, "sources": [
            {"file": "scenes/mono.wav", "direction": [70, 20]}]}, head=made)
        self.assertEqual(earshot.digest(mono), self.digest(
            "render", "-s", "scenes/mono.wav@70,20", "--frame=96", "--head", "me.head"))

    def test_clipping_is_told(self):
        scene = {"version": 1, "sources": [{"file": np.ones(500), "direction": [90, 0]}]}
        with self.assertWarnsRegex(earshot.Notice, r"^\d+ samples were clipped .* a gain of -\d"):
            earshot.render(scene)
        with earshot.open(scene, dtype="int16") as rendering:
            made = rendering.read()
            self.assertEqual(rendering.clipped, np.count_nonzero(abs(made.astype(int)) >= 32767))
            self.assertEqual(rendering.clipped_sounds, 0)
            self.assertGreater(rendering.peak, 1)


if __name__ == "__main__":
    unittest.main()
