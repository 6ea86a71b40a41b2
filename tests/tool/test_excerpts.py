"""Parts of a sound are what the whole has there, and parts that follow each other join to it."""

import hashlib
import json
import random
import struct
import subprocess

from harness import SOUND_FORMATS, ToolTest, au, main, noise, unpack, wav, write_sound

RATE = 48000


class ExcerptTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.random = random.Random(7)
        self.write("a.wav", wav(noise(20011, 24, 1, 0.5), 1, 24))
        self.write("b.wav", wav(noise(2 * 13000, 16, 2, 0.3), 2, 16, 44100))

    def raw(self, *args, data=b""):
        return self.tool(*args, "-o", "-", "--raw", "-q", data=data)

    def part(self, begin, end, *args, rate=RATE, **kwargs):
        return self.raw(*args, f"--from={begin / rate!r}", f"--to={end / rate!r}", **kwargs)

    def cuts(self, frames, count):
        """Spans at the ends, on and off every grid, one frame long, and over the end."""
        at = self.random.randrange
        spans = [(0, at(1, frames)), (frames - 1, frames), (frames - at(1, 127), frames + 9),
                 (1, 98), (96 * at(1, frames // 96), frames), (127, 128), (2048, 4096)]
        spans += [(begin, begin + at(1, 5000)) for begin in (at(frames) for _ in range(count))]
        return self.random.sample(spans, count)

    def holds(self, channels, bits, *args, cuts=5, rate=RATE):
        whole = self.raw(*args, "--bits", str(bits))
        size = channels * bits // 8
        for begin, end in self.cuts(len(whole) // size, cuts):
            found = self.part(begin, end, *args, "--bits", str(bits), rate=rate)
            self.assertTrue(found == whole[begin * size:end * size],
                            (args, begin, end, len(whole) // size))


class Excerpts(ExcerptTest):
    def test_sources(self):
        for bits, *args in ((24, "-s", "a.wav@30,0"),
                            (32, "-s", "a.wav@30,0", "--frame", "96"),
                            (16, "-s", "a.wav@30,0", "-s", "b.wav:1@-30,50", "--orbit", "0.5"),
                            (16, "-s", "b.wav:2@30,0", "--orbit=-0.02", "--normalize"),
                            (24, "-s", "a.wav@3,0", "--orbit", "0.3", "--placement", "measured")):
            self.holds(2, bits, "render", *args)

    def test_scenes(self):
        """What moves, waits, loops, fades, jumps and remembers, by every engine."""
        subprocess.run(["sox", "a.wav", "a.ogg"], check=True)
        subprocess.run(["sox", "a.wav", "a.flac"], check=True)
        scene = {
            "version": 1, "duration": 1.3,
            "listener": {"position_track": [[0, 0, 0, 0], [0.6, 1, 1, 0]],
                         "orientation_track": [[0, 0, 0, 0], [0.2, 170, 10, 0], [0.5, -90, 0, 40]]},
            "sources": [
                {"file": "a.wav", "start": 0.0133,
                 "rolloff": {"model": "inverse", "minimum": 1, "maximum": 20},
                 "track": [[0, 3, 1, 0], [0.3, -2, 4, 1], [0.303, 5, -5, 0], [0.6, 1, 1, 0]]},
                {"file": "b.wav", "channel": 2, "loop": True, "direction": [40, 10],
                 "dc_block": True, "gain": 3.3, "start": 0.1},
                {"file": "a.flac", "loop": True, "track": [[0, 40, 10], [0.6, -400, 0]]},
                {"file": "a.ogg", "loop": True, "start": 0.05, "position": [0, -2, 1],
                 "rolloff": {"model": "linear", "minimum": 1, "maximum": 9}}]}
        with open("s.json", "w") as file:
            json.dump(scene, file)
        for bits, *args in ((24,), (16, "--placement", "measured"), (32, "--guard", "0"),
                            (16, "--no-dither", "--gain", "12"), (24, "--normalize")):
            self.holds(2, bits, "render", "s.json", *args, cuts=6)

    def test_beds(self):
        """Several channels of one reading, converted, measured, turned, and as a field."""
        self.write("bed.wav", wav(noise(6 * 9000, 16, 9, 0.1), 6, 16, 44100))
        subprocess.run(["sox", "bed.wav", "bed.ogg"], check=True)
        loudness = "--rate", "44100", "--loudness=-20"
        for channels, bits, rate, *args in (
                (2, 16, 44100, "render", "-s", "bed.ogg@5.1", *loudness),
                (2, 24, RATE, "render", "-s", "bed.wav@5.1,-6dB", "-s", "a.wav@0,0", "--orbit=0.3"),
                (9, 24, RATE, "render", "bed.wav", "--field=2", "--normalize")):
            self.holds(channels, bits, *args, rate=rate, cuts=4)

    def test_fields(self):
        self.write("1.wav", wav(noise(4 * 20000, 24, 3, 0.2), 4, 24))
        self.write("1n.wav", wav(noise(4 * 20000, 16, 3, 0.2), 4, 16, 44100))
        self.write("3.wav", wav(noise(16 * 9000, 16, 4, 0.1), 16))
        self.write("k.csv", b"0.05,30,10\n0.11,-60,0,20,0\n0.3,90,5\n")
        self.write("t.csv", b"".join(b"%.4f,%d,%d,%d\n" % (k * 0.0071, k * 33 % 360 - 180, k, -k)
                                     for k in range(60)))
        keyframes = "--keyframes", "k.csv", "--focus", "90,0"
        track = "--track", "t.csv"
        for channels, bits, *args in ((4, 16, "rotate", "1.wav", *keyframes),
                                      (4, 16, "rotate", "1n.wav", *keyframes),
                                      (4, 24, "rotate", "1.wav", "--input-format", "fuma"),
                                      (2, 16, "binauralize", "1.wav", *keyframes),
                                      (4, 16, "rotate", "1.wav", "--focus", "90,0", *track),
                                      (2, 24, "binauralize", "3.wav", *track),
                                      (2, 24, "binauralize", "3.wav", "--guard", "1"),
                                      (4, 16, "rotate", "1n.wav", *keyframes, "--roll=-50"),
                                      (16, 16, "rotate", "3.wav", *track),
                                      (2, 16, "binauralize", "3.wav", "--keyframes", "t.csv"),
                                      (25, 16, "encode", "a.wav", "--order=4", "--orbit=0.1")):
            self.holds(channels, bits, *args)
        # Rows that lie after the beginning of a part are used.
        self.tool("rotate", "1.wav", "--keyframes", "k.csv", "--from", "0.2", "-o", "o.wav")

    def test_formats(self):
        """Files of any program, at any place, by the sample."""
        sound = [s * 256 for s in noise(3 * 4096 + 77, 24, 5, 0.3)]
        self.write("source.wav", wav([s >> 8 for s in sound], 1, 24))
        names = ["f.flac", "f.mp3", "f.opus", "s.flac", "s.ogg"]
        for name in names[:3]:
            subprocess.run(["ffmpeg", "-v", "error", "-i", "source.wav", name], check=True)
        for name in names[3:]:
            subprocess.run(["sox", "source.wav", name], check=True)
        for name in SOUND_FORMATS:
            write_sound(name, sound)
        for name in [*names, *SOUND_FORMATS]:
            self.holds(4, 32, "encode", name, cuts=4)

    def test_streams(self):
        """A pipe is read and what comes before left out, whether its length is known or not."""
        for claimed in 2 * 9000, 0xFFFFFFFF:
            stream = au(noise(9000, 16, 6, 0.3), 1, claimed=claimed)
            whole = self.raw("render", "-s", "-@50,0", data=stream)
            found = self.part(777, 8888, "render", "-s", "-@50,0", data=stream)
            self.assertEqual(found, whole[6 * 777:6 * 8888])
            for begin in 9127, 9128:
                seconds = repr(begin / RATE).rstrip("0")
                self.fails(2, f"o.wav: there is nothing after --from {seconds}: the whole has "
                           "0.190146 seconds, 9127 frames", "render", "-s", "-@50,0", "-o",
                           "o.wav", "--from", seconds, data=stream)
            header = self.tool("render", "-s", "-@50,0", "-o", "-", "--to=0.1", data=stream)[:24]
            length = 4800 * 6 if claimed == 2 * 9000 else 0xFFFFFFFF
            self.assertEqual(struct.unpack(">6I", header)[2], length)

    def test_what_is_told_is_told_of_the_part(self):
        """Clipped samples, and frames whose sums could have wrapped, add up to those of all."""
        def told(*args):
            out = self.run_tool("render", "-s", "a.wav@30,0", "-s", "a.wav@-50,0", "--frame=96",
                                "--gain=14", "--guard=0", "--placement=measured", "-v",
                                "-o", "o.wav", *args).stderr
            words = [line.split() for line in out.decode().splitlines()]
            clipped = sum(int(w[2]) for w in words if "clipped" in w)
            unsafe = sum(int(w[7]) for w in words if "wrapped" in w)
            return clipped, unsafe, next(int(w[2]) for w in words if w[-1] == "written")

        pieces = [told("--from", str(b), "--to", str(e))
                  for b, e in ((0, 0.1), (0.1, 0.15), (0.15, 0.402), (0.402, 9))]
        whole = told()
        self.assertEqual(whole, tuple(map(sum, zip(*pieces))))
        self.assertTrue(all(whole), whole)

    def test_wrong_spans(self):
        command = "render", "-s", "a.wav@0,0", "-o", "o.wav"
        for message, *args in (
                ("--to: 1 is not after 1, where --from begins", "--from=1", "--to=1"),
                ("--to: 0.000001 is not after 0, where --from begins", "--to=0.000001"),
                ("--from: -1 is outside 0 to 1000000000", "--from=-1"),
                ("--to: 'x' is not a number, such as -12.5", "--to=x")):
            self.fails(1, message, *command, *args)
        for command in (command, ("encode", "a.wav", "-o", "o.wav")):
            frames = 20138 if command[0] == "render" else 20011
            self.fails(2, "o.wav: there is nothing after --from 0.5: the whole has "
                       f"{round(frames / RATE, 6)} seconds, {frames} frames",
                       *command, "--from=0.5")


class Join(ExcerptTest):
    COMMAND = "render", "-s", "a.wav@30,0", "-s", "b.wav:1@-30,50", "--orbit", "0.5", "-q"

    def digest(self, *args):
        return self.tool(*args, "--digest").decode().split()[0]

    def test_pieces_are_the_whole(self):
        whole = self.digest(*self.COMMAND, "-o", "whole.wav", "--bits", "16")
        names, raw = [], b""
        for k, suffix in enumerate(("wav", "flac", "au", "caf", "w64")):
            span = "--bits=16", f"--from={k / 10}", f"--to={(k + 1) / 10}"
            names.append(f"piece.{suffix}")
            self.tool(*self.COMMAND, *span, "-o", names[-1])
            raw += self.raw(*self.COMMAND, *span)
        words = b"".join(b"\0\0" + raw[i:i + 2] for i in range(0, len(raw), 2))
        self.assertEqual(hashlib.sha256(words).hexdigest(), whole)
        self.assertEqual(self.digest("join", *names, "-o", "joined.wav"), whole)
        self.assertEqual(self.read("joined.wav"), self.read("whole.wav"))
        self.assertEqual(self.tool("join", "-", *names[1:], "-o", "-", "--raw",
                                   data=self.read("piece.wav")), raw)

    def test_what_cannot_be_joined(self):
        alike = "; pieces of one sound are alike"
        for name, channels, bits, rate in (("c", 2, 24, 48000), ("r", 1, 24, 44100),
                                           ("w", 1, 16, 48000)):
            self.write(f"{name}.wav", wav([1, 2], channels, bits, rate))
        self.write("f.wav", wav([0.5], 1, "float"))
        write_sound("a.mp3", noise(3000, 32, 8))
        whole_numbers = (", not whole numbers that can be joined as they are; make the pieces WAV "
                         "or FLAC")
        for message, *pieces in (
                ("c.wav: has 2 channels, a.wav has 1" + alike, "a.wav", "c.wav"),
                ("r.wav: has 44100 Hz, a.wav has 48000 Hz" + alike, "a.wav", "a.wav", "r.wav"),
                ("w.wav: has 16 bits, a.wav has 24 bits" + alike, "a.wav", "w.wav"),
                ("f.wav: is WAV, 32-bit float" + whole_numbers, "a.wav", "f.wav"),
                ("a.mp3: is MPEG-1/2 Audio, MPEG Layer III" + whole_numbers, "a.mp3"),
                ("o.wav: No such file or directory", "a.wav", "o.wav")):
            self.fails(2, message, "join", *pieces, "-o", "o.wav")
        for name in "o.mp3", "o.opus", "o.ogg":
            self.fails(1, name + ": this format does not keep samples as they are; join to .wav or "
                       ".flac, and make another file of that", "join", "r.wav", "-o", name)
        self.fails(2, "c.wav: is also an input and is not replaced; name another output",
                   "join", "c.wav", "-o", "c.wav")
        self.fails(1, "join: only one piece can be standard input", "join", "-", "-", "-o", "o.wav",
                   data=au([1], 1))


main()
