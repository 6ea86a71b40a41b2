"""What cannot be done: one line that says which and why, the exit code, and no file left."""

import json
import os
import random
import resource
import signal
import struct
import subprocess
import time

from harness import (AGAIN, EARSHOT, NOT_AUDIO, SOUND_FORMATS, ToolTest, au, main, noise, wav,
                     write_sound)

FIELD = wav(noise(4 * 100, 16, 1), 4)
MONO = wav(noise(100, 16, 2), 1)
FLOATS = [0.25] * 400
ORDERS = ", a field of order 1 to 4 has 4, 9, 16 or 25"
TRUNCATED = "truncated: the header announces 800 bytes of data, the file holds 500" + AGAIN


def float_field(index, value):
    samples = list(FLOATS)
    samples[index] = value
    return wav(samples, 4, "float")


class UsageErrors(ToolTest):
    CASES = [
        ("no command; 'earshot --help' lists the commands",),
        ("shout: there is no such command; 'earshot --help' lists the commands", "shout"),
        ("rendr: there is no such command, but render; 'earshot --help' lists the commands",
         "rendr", "scene.json"),
        ("--output is required; 'earshot rotate --help' lists the options", "rotate", "in.wav"),
        ("IN is required; 'earshot rotate --help' lists the options", "rotate", "-o", "out.wav"),
        ("--yow=3: there is no such option, but --yaw; 'earshot rotate --help' lists the options",
         "rotate", "in.wav", "-o", "out.wav", "--yow=3"),
        ("b.wav: is one word too many; 'earshot rotate --help' lists the options", "rotate",
         "in.wav", "-o", "out.wav", "b.wav"),
        ("info: name either a file or --library", "info"),
        ("info: name either a file or --library", "info", "in.wav", "--library"),
        ("--directions: 0 is outside 0.001 to 1000000", "info", "in.wav", "--directions", "0"),
    ]
    ROTATE = [
        ("--yaw: 180.001 is outside -180 to 180", "--yaw", "180.001"),
        ("--yaw: 1e+300 is outside -180 to 180", "--yaw", "1e300"),
        ("--yaw: -181 is outside -180 to 180", "--yaw=-181"),
        ("--yaw: '30x' is not a number, such as -12.5", "--yaw", "30x"),
        ("--yaw: 'nan' is not a number, such as -12.5", "--yaw", "nan"),
        ("--yaw: '0,5' is not a number, such as -12.5", "--yaw", "0,5"),
        ("--pitch: 90.5 is outside -90 to 90", "--pitch", "90.5"),
        ("--pitch: 'inf' is not a number, such as -12.5", "--pitch", "inf"),
        ("--focus: '10' is not YAW,PITCH", "--focus", "10"),
        ("--focus: '10,20,30' is not YAW,PITCH", "--focus", "10,20,30"),
        ("--focus: yaw 190 is outside -180 to 180", "--focus", "190,0"),
        ("--focus: pitch -91 is outside -90 to 90", "--focus", "0,-91"),
        ("--bits: '20' is none of 16, 24, 32", "--bits", "20"),
        ("--input-format: 'b' is not ambix, fuma or n3d", "--input-format", "b"),
        ("--keyframes and IN cannot both be standard input", "--keyframes", "-"),
        ("--quiet and --verbose contradict each other", "-q", "-v"),
    ]
    ENCODE = [
        ("--order: '5' is none of 1, 2, 3, 4", "--order", "5"),
        ("--elevation: 91 is outside -90 to 90", "--elevation", "91"),
        ("--azimuth: 'left' is not a number, such as -12.5", "--azimuth", "left"),
        ("--orbit: 0 is not 0.01 to 1000000 seconds either way", "--orbit", "0"),
    ]

    def test_command_line(self):
        self.write("in.wav", FIELD)
        self.write("mono.wav", MONO)
        cases = self.CASES
        cases = cases + [(c[0], "rotate", "-", "-o", "out.wav", *c[1:]) for c in self.ROTATE]
        cases = cases + [(c[0], "encode", "mono.wav", "-o", "out.wav", *c[1:])
                         for c in self.ENCODE]
        for message, *args in cases:
            with self.subTest(args=args):
                self.fails(1, message, *args, data=FIELD)

    def test_a_sound_is_no_scene(self):
        self.write("film.wav", MONO)
        self.fails(2, "film.wav: is a sound, not a scene; 'earshot render film.wav' renders it as it "
                      "is", "bench", "film.wav")

    def test_long_names_lose_their_middle(self):
        """What is wrong stands at the beginning or at the end of a line."""
        name = "\u00e9" * 50000
        for start, end, *args in [
                (b"earshot: \xc3\xa9", b"\xa9: File name too long\n", "info", name),
                (b"earshot: --yaw: '\xc3\xa9", b"\xa9' is not a number, such as -12.5\n", "rotate", "in.wav",
                 "-o", "out.wav", "--yaw", name)]:
            result = self.run_tool(*args)
            self.assertTrue(result.stderr.startswith(start) and result.stderr.endswith(end))
            self.assertLess(len(result.stderr), 1100)
            self.assertIn("...", result.stderr.decode())  # no character is cut in two

    def test_formats_that_cannot_hold_the_output(self):
        self.write("in.wav", FIELD)
        self.write("mono.wav", MONO)
        known = ".wav, .flac, .caf, .au, .w64, .aiff, .ogg, .opus or .mp3"
        self.fails(1, "out.wma: unknown extension; use " + known, "rotate", "in.wav", "-o",
                   "out.wma")
        self.fails(1, "a.wav/out: unknown extension; use " + known, "rotate", "in.wav", "-o",
                   "a.wav/out")
        self.fails(1, "--output: name a file, or - for standard output", "rotate", "in.wav", "-o",
                   "")
        os.mkdir("folder.wav")
        for raw in [], ["--raw"]:
            self.fails(1, "folder.wav: is a directory; name a file in it", "rotate", "in.wav",
                       "-o", "folder.wav", *raw)
        self.fails(1, "out.flac: FLAC holds at most 24 bits here; use --bits 24", "rotate",
                   "in.wav", "-o", "out.flac", "--bits", "32")
        for message, *args in [
                ("out.flac: FLAC holds at most 8 channels, this has 9; .wav, .caf and .w64 hold "
                 "them", "out.flac", "--order", "2"),
                ("out.opus: Opus holds at most 2 channels, this has 4; .wav, .caf and .w64 hold "
                 "them", "out.opus"),
                ("--bits: the samples of out.ogg have no fixed width; leave it out, --quality says "
                 "how good they are", "out.ogg", "--bits=16"),
                ("--quality: out.wav is not compressed and has none; .ogg, .opus, .mp3 and .flac "
                 "have", "out.wav", "--quality=5"),
                ("--quality: 10.5 is outside 0 to 10", "out.flac", "--quality=10.5"),
                ("--rate: 7999 is outside 8000 to 192000", "out.wav", "--rate=7999"),
                ("--rate: '44100.5' is not a whole number of hertz", "out.wav", "--rate=44100.5")]:
            self.fails(1, message, "encode", "mono.wav", "-o", *args)
        for name, codec, rates, rate, wanted in [
                ("out.opus", "Opus", "8000, 12000, 16000, 24000 or 48000", 11025, 12000),
                ("out.mp3", "MP3", "8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 or 48000",
                 96000, 48000)]:
            self.fails(1, f"{name}: {codec} holds {rates} Hz, this has {rate}; use --rate {wanted}",
                       "render", "-s", "mono.wav@0,0", "-o", name, "--rate", str(rate))
        hours = struct.pack("<I", 0x7FFFFF00)  # sparse: AIFF takes half of what this becomes
        with open("long.wav", "wb") as file:
            file.write(MONO[:4] + hours + MONO[8:40] + hours)
            file.truncate(44 + 0x7FFFFF00)
        self.fails(1, "out.aiff: an AIFF file ends at 4 GiB, which is too short for this; use "
                   ".wav, .caf or .w64", "render", "-s", "long.wav@0,0", "-o", "out.aiff",
                   "--normalize")


class BadInput(ToolTest):
    def test_files(self):
        riff = bytearray(FIELD)
        riff[24:28] = struct.pack("<I", 10)
        pipe = "standard input: "
        ends = "truncated: ends after 62 of 100 frames" + AGAIN
        cases = [
            ("in.wav: No such file or directory", None),
            ("in.wav: " + NOT_AUDIO, b"RUFF" + bytes(100)),
            ("in.wav: is empty", b""),
            ("in.wav: has 1 channel" + ORDERS + "; 'earshot encode' makes one of a sound", MONO),
            ("in.wav: has 5 channels" + ORDERS, wav([0] * 50, 5)),
            ("in.wav: has 6 channels" + ORDERS + "; 'earshot render' takes channels for "
             "loudspeakers", wav([0] * 60, 6)),
            ("in.wav: has 36 channels" + ORDERS + "; the first 25 of these are one",
             wav([0] * 36, 36)),
            ("in.wav: " + TRUNCATED, FIELD[:544]),
            ("in.wav: " + TRUNCATED, au([7] * 400, 4, claimed=800)[:524]),
            ("in.wav: unfinished: the header does not tell the length" + AGAIN,
             FIELD[:4] + bytes(4) + FIELD[8:40] + bytes(4) + FIELD[44:]),
            ("in.wav: sample rate 10 Hz is outside 1000 to 768000" + AGAIN, bytes(riff)),
            ("in.wav: sample rate 0 Hz is outside 1000 to 768000" + AGAIN, wav([0] * 8, 4, rate=0)),
            ("in.wav: sample rate 4294919296 Hz is outside 1000 to 768000" + AGAIN,
             au([0] * 8, 4, rate=2 ** 32 - 48000)),
            ("in.wav: damaged header: 0 channels" + AGAIN, wav([0] * 8, 4)[:22] + bytes(2) +
             wav([0] * 8, 4)[24:]),
            ("in.wav: frame 2, channel 4 is not a finite number" + AGAIN, float_field(11, float("nan"))),
            ("in.wav: frame 99, channel 1 is not a finite number" + AGAIN, float_field(396, -1e39 * 1e300)),
        ]
        for message, data in cases:
            with self.subTest(message=message):
                if data is not None:
                    self.write("in.wav", data)
                self.fails(2, message, "rotate", "in.wav", "-o", "out.wav")
        for data in FIELD[:544], au([7] * 400, 4, claimed=800)[:524]:
            self.fails(2, pipe + ends, "rotate", "-", "-o", "out.wav", data=data)
        self.fails(2, ".: Is a directory", "rotate", ".", "-o", "out.wav")
        self.write("in.wav", FIELD)
        for message, *args in [("has 4 channels: name one of them with --channel",),
                               ("has 4 channels, no number 5", "--channel=5")]:
            self.fails(2, "in.wav: " + message, "encode", "in.wav", "-o", "out.wav", *args)

    def test_truncation_in_every_format(self):
        """Whatever is missing, a file is refused and leaves nothing, with one line of ours."""
        sound = noise(30000, 24, 3, 0.2)
        for name in SOUND_FORMATS:
            write_sound(name, [s << 8 for s in sound])
            self.assertGreaterEqual(int(self.info(name)["frames"]), 30000, name)
            whole = self.read(name)
            os.unlink(name)
            cuts = {6, 30, 70, len(whole) // 4, len(whole) // 2, len(whole) - 2}
            if name.endswith(".ogg"):  # between two pages
                cuts.add(whole.rindex(b"OggS"))
            for cut in sorted(cuts):
                with self.subTest(name=name, cut=cut):
                    self.refuses_as_truncated(whole[:cut])
        self.fails(2, "standard input: CAF cannot be read from a pipe; WAV and AU can", "encode",
                   "-", "-o", "out.wav", data=b"caff" + bytes(100))

    def refuses_as_truncated(self, data):
        self.write("cut", data)
        result = self.run_tool("encode", "cut", "-o", "out.wav")
        left = os.listdir()
        for name in left:
            os.unlink(name)
        self.assertRegex(result.stderr, rb"^earshot: cut: (damaged or )?truncated[^\n]*\n$")
        self.assertEqual((result.returncode, left), (2, ["cut"]))

    def test_damage_in_mp3(self):
        """Without the first frame the number of them is not known, but each of them is whole; what
        the decoder makes of others is its own business and not printed."""
        write_sound("a.mp3", [s << 8 for s in noise(30000, 24, 3)])
        whole = self.read("a.mp3")
        os.unlink("a.mp3")
        bare = whole[whole.index(whole[:2], 100):]
        self.write("cut", bare)
        self.assertGreater(int(self.info("cut")["frames"]), 30000)
        for missing in 1, 50:
            self.refuses_as_truncated(bare[:-missing])
        broken = bytearray(bare)
        for at in range(1000, len(bare), 500):
            broken[at:at + 8] = b"\0\xff" * 4
        self.write("cut", bytes(broken))
        self.info("cut", "-q")

    def test_nonsense_in_headers(self):
        """Whatever a header says, the tool comes to an end, and soon."""
        table = (b"RF64\xff\xff\xff\xffWAVEds64" + struct.pack("<IQQQI", 28, 0, 64, 16, 2 ** 32 - 9)
                 + wav([7] * 32, 2)[12:])
        self.write("a.rf64", table)
        self.fails(2, "a.rf64: damaged header: its table of lengths cannot hold 4294967287 rows" + AGAIN,
                   "info", "a.rf64")
        generator = random.Random(1)
        for name in SOUND_FORMATS:
            write_sound(name, [0, 1 << 29] * 200, 2 if name != "g721.au" else 1)
            whole = self.read(name)
            for _ in range(25):
                data = bytearray(whole)
                for _ in range(generator.randint(1, 3)):
                    at = generator.randrange(4, min(120, len(whole) - 8))
                    width = generator.choice([1, 2, 4, 8])
                    value = generator.choice([0, 1, 0x7F, 0x80, 0xFF])
                    data[at:at + width] = generator.choice(
                        [bytes([value] * width), (value << 8 * (width - 1)).to_bytes(width, "big")])
                self.write("nonsense", bytes(data))
                result = self.run_tool("info", "nonsense", limit=10)
                self.assertIn((result.returncode, result.stderr.count(b"\n")),
                              [(0, 0), (0, 1), (2, 1)], (name, bytes(data[:128])))
                self.assertNotIn(b"nternal", result.stderr)

    def test_keyframes(self):
        self.write("in.wav", FIELD)
        columns = ", needs 3 to 5 (seconds,yaw,pitch, then nothing, roll, or focus yaw,focus pitch)"
        close = "with a focus in a row, rows need to be at least 1024 samples apart, and some are 1023"
        cases = [
            (1, "has 2 columns" + columns, b"0,10"),
            (3, "has 6 columns" + columns, b"# a\r\n\r\n0,10,20,30,40,50\r\n"),
            (3, "roll 181 is outside -180 to 180", b"0,1,1\n\n1,10,20,181\n"),
            (2, "yaw 'x' is not a number", b"seconds,yaw,pitch\n0,x,0\n"),
            (2, "has 1 column" + columns, b"seconds,yaw,pitch\nseconds\n"),
            (1, "time '' is not a number", b",1,1\n"),
            (1, "time 'nan' is not a number", b"nan,1,1\n"),
            (1, "time -0.1 is outside 0 to 1000000000", b"-0.1,1,1\n"),
            (1, "pitch 91 is outside -90 to 90", b"0,1,91\n"),
            (1, "focus yaw -200 is outside -180 to 180", b"0,1,1,-200,0\n"),
            (3, "is earlier than the row before", b"1,0,0\n\n0.5,0,0\n"),
            (2, "is at the same sample as the row before", b"1,0,0\n1.00001,0,0\n"),
            (2, close, b"0,0,0\n0.0213125,0,0,10,0\n"),
            (4, close, b"0,0,0\n0.0213125,0,0\n1,0,0\n2,0,0,10,0\n"),
        ]
        for line, reason, table in cases:
            with self.subTest(reason=reason):
                self.write("keys.csv", table)
                self.fails(2, "keys.csv:%d: %s" % (line, reason), "rotate", "in.wav", "-o",
                           "out.wav", "--keyframes", "keys.csv")
        self.fails(2, "none.csv: No such file or directory", "rotate", "in.wav", "-o", "out.wav",
                   "--keyframes", "none.csv")


class OutputFailures(ToolTest):
    def test_places(self):
        self.write("in.wav", FIELD)
        self.write("old.wav", b"old")
        self.fails(2, "none/out.wav: its folder is not there; make it first", "rotate", "in.wav", "-o",
                   "none/out.wav")
        self.fails(2, "/dev/full: No space left on device", "rotate", "in.wav", "-o", "/dev/full")
        for name in "full.ogg", "full.opus", "full.mp3", "full.flac":
            os.symlink("/dev/full", name)
            result = self.fails(2, name + ": No space left on device", "render", "-s",
                                "in.wav:1@0,0", "-o", name)
            self.assertEqual(result.stdout, b"")
        os.mkfifo("pipe.wav")
        reader = subprocess.Popen(["cat", "pipe.wav"], stdout=subprocess.PIPE)
        self.fails(1, "pipe.wav: only AU (.au) and --raw can be written to a pipe", "rotate",
                   "in.wav", "-o", "pipe.wav")
        self.assertEqual(reader.communicate()[0], b"")

    def test_no_input_is_replaced(self):
        """Under none of its names, in no command, and whatever kind of input it is."""
        place = {"direction": [0, 0]}
        scene = {"version": 1, "sources": [
            {"file": "mono.wav", **place}, {"file": "mono.wav", "track": "track.csv"}]}
        inputs = {"field.wav": FIELD, "mono.wav": MONO, "keys.csv": b"0,10,0\n",
                  "track.csv": b"time,azimuth,elevation\n0,0,0\n",
                  "scene.json": json.dumps(scene).encode()}
        for name, data in inputs.items():
            self.write(name, data)
        keys = ["--keyframes", "keys.csv"]
        for output, *args in [
                ("field.wav", "rotate", "field.wav"), ("keys.csv", "rotate", "field.wav", *keys),
                ("field.wav", "binauralize", "field.wav"),
                ("keys.csv", "binauralize", "field.wav", *keys),
                ("mono.wav", "encode", "mono.wav"), ("mono.wav", "render", "-s", "mono.wav@0,0"),
                ("mono.wav", "render", "scene.json", "--normalize"),
                ("track.csv", "render", "scene.json"), ("scene.json", "render", "scene.json")]:
            os.link(output, "hard")
            os.symlink(output, "soft")
            for name in output, "./" + output, "hard", "soft":
                with self.subTest(name=name, args=args):
                    self.fails(2, name + ": is also an input and is not replaced; name another "
                                         "output", *args, "-o", name, "--raw")
            os.unlink("hard")
            os.unlink("soft")
        for name, data in inputs.items():
            self.assertEqual(self.read(name), data)

    def test_results_that_cannot_be_printed(self):
        self.write("in.wav", FIELD)
        for args in ["--help"], ["info", "in.wav"], ["rotate", "in.wav", "-o", "-"]:
            with self.subTest(args=args), open("/dev/full", "wb") as full:
                result = subprocess.run([EARSHOT, *args], stdout=full, stderr=subprocess.PIPE)
                self.assertEqual((result.returncode, result.stderr),
                                 (2, b"earshot: standard output: No space left on device\n"))

    def test_full_disk(self):
        """A limit on the file size stands for the disk, at the start and at the very end."""
        self.write("in.wav", wav(noise(4 * 20000, 16, 4), 4))
        self.tool("rotate", "in.wav", "-o", "old.flac")
        old = self.read("old.flac")
        for name, limit in ("old.flac", 4096), ("old.flac", len(old) - 1), ("new.wav", 159000), \
                           ("new.au", 1000), ("new.caf", 100000):
            with self.subTest(name=name, limit=limit):
                self.fails(2, name + ": File too large", "rotate", "in.wav", "-o", name,
                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE,
                                                                 (limit, limit)))
        self.assertEqual(self.read("old.flac"), old)

    def test_signals_remove_the_unfinished_file(self):
        self.write("old.wav", b"old")
        core_file = resource.getrlimit(resource.RLIMIT_CORE)
        resource.setrlimit(resource.RLIMIT_CORE, (0, core_file[1]))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_CORE, core_file)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT,
                       signal.SIGALRM, signal.SIGUSR1, signal.SIGXCPU, signal.SIGABRT,
                       signal.SIGRTMIN):
            with self.subTest(number=number):
                # A shell's background jobs ignore some signals, and the tool respects that.
                process = subprocess.Popen(
                    [EARSHOT, "rotate", "-", "-o", "old.wav"], stdin=subprocess.PIPE,
                    preexec_fn=lambda: signal.signal(number, signal.SIG_DFL))
                process.stdin.write(FIELD[:540])
                process.stdin.flush()
                deadline = time.monotonic() + 60
                while len(os.listdir()) < 2 and time.monotonic() < deadline:
                    time.sleep(0.01)
                self.assertEqual(len(os.listdir()), 2)
                process.send_signal(number)
                self.assertEqual(process.wait(60), -number)
                process.stdin.close()
                self.assertEqual((os.listdir(), self.read("old.wav")), (["old.wav"], b"old"))


main()
