"""Every command of the cookbook runs, on files that other programs made, and does its job."""

import json
import os
import re
import shlex
import struct
import subprocess
from concurrent.futures import ThreadPoolExecutor
from functools import lru_cache
from math import cos, radians, sin

import numpy as np

import sofa
from harness import EARSHOT, ToolTest, main

LENGTH = 4  # seconds of every sound
RATE = 48000
FIELD_AZIMUTH = 30

SCENE = {
    "version": 1, "duration": LENGTH,
    "listener": {"orientation_track": [[0, 0, 0, 0], [LENGTH, 90, 0, 0]]},
    "sources": [
        {"file": "voice.wav", "loop": True, "track": [[0, 2, 1, 0], [LENGTH, -2, 1, 0]],
         "rolloff": {"model": "inverse", "minimum": 1, "maximum": 50}},
        {"file": "rain.wav", "channel": 1, "gain": -12, "direction": [120, 30]}]}

SOX = f"sox -R -n -r {RATE} -b 24"
PINK = f"synth {LENGTH} pinknoise vol -18dB"
Y, X = sin(radians(FIELD_AZIMUTH)), cos(radians(FIELD_AZIMUTH))
MAKE = f"""
{SOX} voice.wav {PINK} tremolo 3 90
{SOX} host.wav {PINK} highpass 200
{SOX} guest.wav {PINK} lowpass 3000
sox -R -n -r 44100 -c 2 guitar.flac synth {LENGTH} pluck 196 pluck 247 vol -12dB
{SOX} -c 2 rain.wav {PINK}
ffmpeg -v error -i rain.wav rain.mp3
{SOX} -c 6 six.wav synth {LENGTH} pinknoise vol -24dB
ffmpeg -v error -i six.wav -c:a pcm_s24le film.wav
ffmpeg -v error -f lavfi -i testsrc=duration={LENGTH}:size=64x64:rate=5 -i film.wav video.mp4
{SOX} -c 12 bed.wav synth {LENGTH} pinknoise vol -24dB
sox -D voice.wav field.wav remix 1 1v{Y} 1v0 1v{X}
sox -D voice.wav fuma.wav remix 1v{0.5 ** 0.5} 1v{X} 1v{Y} 1v0
sox -D -n -r {RATE} -b 24 click.wav synth 1s square pad 0 0.1
"""

# What may be said on the way; anything else on standard error is a fault of the page.
NOTES = [r"\S+: converting the sample rate from 44100 to 48000 Hz",
         r"2 lines, 2 rendered, 0 already there; records in \w+/results.jsonl",
         r"film.wav: taken as 5\.1 \(.*\), as its header says; .*"]

CODECS = {"flac": "flac", "opus": "opus", "mp3": "mp3", "mp4": "aac"}


def commands(page):
    """Its indented lines, in their order."""
    return re.findall(r"^(?: {4,}|\t)\s*(\S.*)$", page, re.MULTILINE)


def shell(command):
    """A user's shell, in which the tool has been installed."""
    path = os.path.dirname(EARSHOT) + os.pathsep + os.environ["PATH"]
    return subprocess.run(["bash", "-o", "pipefail", "-c", command], timeout=300, text=True,
                          env={**os.environ, "PATH": path}, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE)


@lru_cache(maxsize=None)
def sound(name):
    """What ffmpeg finds in a file: codec, channels, rate; frames by channels, full scale 1."""
    run = subprocess.run(["ffmpeg", "-i", name, "-c:a", "pcm_s32be", "-f", "au", "-"], check=True,
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    codec = re.search(r"Stream #0.* Audio: (\w+)", run.stderr.decode())[1]
    begin, _, _, rate, channels = struct.unpack(">5I", run.stdout[4:24])
    words = np.frombuffer(run.stdout, ">i4", offset=begin)
    return codec, channels, rate, words.reshape(-1, channels) / 2 ** 31


def samples(name):
    return sound(name)[-1]


def decibels(power):
    return 10 * np.log10(np.maximum(power, 1e-12))


def ears(name):
    """Level of the left ear above that of the right, of the first second and of the last."""
    power = samples(name)[:LENGTH * RATE] ** 2
    levels = [decibels(part.mean(axis=0)) for part in (power[:RATE], power[-RATE:])]
    return [left - right for left, right in levels]


def meter(name):
    """Integrated loudness and true peak by ffmpeg."""
    text = subprocess.run(["ffmpeg", "-nostats", "-i", name, "-af", "ebur128=peak=true", "-f",
                           "null", "-"], stderr=subprocess.PIPE, text=True).stderr
    summary = text[text.rindex("Summary:"):]
    return [float(re.search(label + r": +(-?[0-9.]+)", summary)[1]) for label in ("I", "Peak")]


class Cookbook(ToolTest):
    def setUp(self):
        super().setUp()
        subprocess.run(["bash", "-ec", MAKE], check=True)
        directions = sofa.grid(60)
        sofa.write("me.sofa", directions, sofa.responses(directions, RATE, 128))
        self.write("street.json", json.dumps(SCENE).encode())
        self.write("turns.csv", b"0,0,0\n2,%d,0\n" % FIELD_AZIMUTH)
        self.write("tracker.csv", b"time,yaw,pitch,roll\n" + b"".join(
            b"%g,%g,0,0\n" % (k / 100, 90 * k / 100 / LENGTH) for k in range(100 * LENGTH + 1)))
        form = json.dumps({**SCENE, "sources": [{**SCENE["sources"][1], "direction": ["${az}", 0]}]})
        self.write("scenes.jsonl", b"""{"scene": "street.json", "output": "street.wav"}
            {"template": %s, "values": {"az": 90}, "output": "left/rain.wav"}""" % form.encode())
        # The parts that other machines have rendered.
        for name, span in ("part1", "--to 1.5"), ("part3", "--from 3"):
            shell(f"earshot render street.json {span} -o {name}.wav").check_returncode()

    def channels(self, words):
        """That the output of a command has, by its options."""
        for option in "--field", "--order":
            if option in words:
                return (int(words[words.index(option) + 1]) + 1) ** 2
        return 4 if "rotate" in words else 2

    def look_at(self, name, words):
        """The output is a sound as the command says, and not silent."""
        *format, heard = sound(name)
        option = dict(zip(words, words[1:]))
        codec = CODECS.get(name.split(".")[-1], f"pcm_s{option.get('--bits', '24')}le")
        self.assertEqual(format, [codec, self.channels(words), int(option.get("--rate", RATE))])
        self.assertGreater(decibels((heard ** 2).mean()), -50)

    def test_page(self):
        with open(os.environ["EARSHOT_COOKBOOK"]) as file:
            text = file.read()
        # In no other form, which would be left out.
        self.assertNotRegex(text, r"(?m)```|^ {0,3}(earshot|ffmpeg|sox) ")
        page = commands(text)
        self.assertGreaterEqual(len(page), 20)
        printed, made = {}, {}
        for command in page:
            with self.subTest(command=command):
                words = shlex.split(command)
                self.assertIn("earshot", words)
                run = shell(command)
                self.assertEqual(run.returncode, 0, run.stderr)
                for line in run.stderr.splitlines():
                    self.assertRegex(line, f"^earshot: ({'|'.join(NOTES)})$")
                printed[command] = run.stdout
                if not {"info", "batch"} & set(words):
                    files = [b for a, b in zip(words, words[1:]) if a == "-o" and b != "-"]
                    written = (files or words)[-1]
                    self.assertNotIn(written, made)
                    made[written] = command
        sounds = [name for name in made if not name.endswith(".head")]
        with ThreadPoolExecutor() as pool:
            pool.map(sound, sounds)
        for name in sounds:
            with self.subTest(command=made[name]):
                self.look_at(name, shlex.split(made[name]))
        self.jobs(printed)

    def jobs(self, printed):
        """What was promised, measured."""
        with self.subTest("places"):
            self.assertGreater(min(ears("left.wav")), 3)
            self.assertGreater(min(ears("mine.wav")[1], ears("street.wav")[0]), 0)
            self.assertLess(np.abs(ears("speakers.wav")).max(), 1)
            circle = samples("circle.wav")[:LENGTH * RATE].reshape(4, RATE, 2) ** 2
            left, right = decibels(circle.mean(axis=1)).T
            self.assertTrue(all((left - right)[:2] > 2) and all((left - right)[2:] < -2))
            self.assertGreater(np.abs(samples("mix.wav")).max(), 0.9999)
        with self.subTest("loudness"):
            for name, target, limit in (("episode.mp3", -16, -1), ("broadcast.wav", -23, -1)):
                loudness, peak = meter(name)
                self.assertLess(abs(loudness - target), 0.15)  # printed in tenths
                self.assertLessEqual(peak, limit)
            says = dict(re.findall(r"^(loudness|true peak) +(\S+)", printed["earshot info mix.wav"],
                                   re.MULTILINE))
            for value, measured in zip((says["loudness"], says["true peak"]), meter("mix.wav")):
                self.assertLess(abs(float(value) - measured), 0.15)
        with self.subTest("parts"):
            whole, part = samples("street.wav"), samples("part2.wav")
            self.assertTrue(np.array_equal(part, whole[RATE * 3 // 2:RATE * 3]))
            self.assertEqual(self.read("whole.wav"), self.read("street.wav"))
            digests = [text.split()[0] for command, text in printed.items()
                       if "--digest" in command]
            self.assertEqual(len(digests), 2)
            self.assertEqual(*digests)
        with self.subTest("batches"):
            self.assertEqual(self.read("takes/street.wav"), self.read("street.wav"))
            self.assertGreater(ears("takes/left/rain.wav")[0], 3)
            for name in "mine/street.wav", "mine/left/rain.wav":
                self.assertLess(abs(meter(name)[0] + 20), 0.15)
        with self.subTest("fields"):
            # At azimuth 30 for one who looks to -60: on the left.
            self.assertGreater(min(ears("ears.wav")), 2)
            first, last = ears("tracked.wav")
            self.assertGreater(first, 1)
            self.assertLess(last, -1)
            for name, azimuth in ("level.wav", 0), ("ambix.wav", FIELD_AZIMUTH):
                self.assertAlmostEqual(self.direction(name)[0], azimuth, delta=0.2)
            turned = np.split(samples("turned.wav"), LENGTH)[-1]
            y, x = (turned[:, [1, 3]] * turned[:, :1]).mean(axis=0)
            self.assertAlmostEqual(np.degrees(np.arctan2(y, x)), 0, delta=0.2)
            softer = samples("focus.wav")[:, 0].std() / samples("field.wav")[:, 0].std()
            self.assertTrue(0.2 < softer < 0.6, softer)
            rows = printed["earshot info field.wav --directions 0.5"].split()[1:]
            self.assertEqual(len(rows), 2 * LENGTH)
            for row in rows:
                self.assertAlmostEqual(float(row.split(",")[1]), FIELD_AZIMUTH, delta=0.1)
        with self.subTest("one direction"):
            rows = printed["earshot info left.wav --ears 0.5"].split()[1:]
            self.assertTrue(all(float(row.split(",")[3]) < -300 for row in rows[:2 * LENGTH]))
            left, right = np.abs(samples("response.wav").T).argmax(axis=1)
            self.assertTrue(12 < right - left < 24, right - left)  # 0.25 to 0.5 ms


main()
