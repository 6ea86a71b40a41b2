"""Files that are written: their formats, width, dither and digest, and what they replace."""

import array
import contextlib
import json
import math
import os
import pty
import stat
import struct
import subprocess
import time

from harness import EARSHOT, ToolTest, channels_of, digest, main, noise, pack, unpack, wav

FRAMES = 6000
FIELD = noise(4 * FRAMES, 32, 20)


class Formats(ToolTest):
    def test_every_container_holds_the_same_samples(self):
        self.write("in.wav", wav(FIELD, 4, 32))
        for bits in 16, 24, 32:
            expected = None
            for name in "o.wav", "o.flac", "o.caf", "o.au", "O.W64", "-":
                if name == "o.flac" and bits == 32:
                    continue
                with self.subTest(name=name, bits=bits):
                    result = self.run_tool("rotate", "in.wav", "-o", name, "--yaw=5", "--digest",
                                           "--bits", str(bits))
                    self.assertEqual(result.returncode, 0)
                    line = (result.stderr if name == "-" else result.stdout).decode().split()
                    expected = expected or line[0]
                    self.assertEqual(line, [expected, name])
                    found = self.info("-", data=result.stdout) if name == "-" else self.info(name)
                    self.assertEqual(found["frames"], str(FRAMES))
                    self.assertTrue(found["format"].endswith(f"{bits}-bit"))
                    if name != "-":  # what was written is what is read back
                        back = self.samples("rotate", name, bits=32)
                        again = self.samples("rotate", "o.wav", bits=32)
                        self.assertEqual(back, again)

    def test_mp3_of_any_rate_is_read_back(self):
        """Below 32 kHz frames are so short that an encoder's delay fills the first."""
        self.write("in.wav", wav(noise(9000, 16, 3, 0.2), 1))
        for rate in 8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000:
            self.tool("render", "-s", "in.wav@0,0", "--rate", str(rate), "-o", "o.mp3")
            subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", "in.wav", "-ar", str(rate),
                            "f.mp3"], check=True)
            for name, frames in ("o.mp3", 9127), ("f.mp3", 9000):
                found = self.info(name)
                self.assertLessEqual(abs(int(found["frames"]) - frames * rate / 48000), 1)

    def test_digest_is_of_the_samples_as_words(self):
        self.write("in.wav", wav(FIELD, 4, 32))
        for bits in 16, 24, 32:
            out = self.tool("rotate", "in.wav", "-o", "o.raw", "--raw", "--bits", str(bits),
                            "--digest")
            samples = unpack(self.read("o.raw"), bits)
            self.assertEqual(out.decode(), digest(samples, bits) + "  o.raw\n")

    def test_wav_is_an_ordinary_one_without_loudspeakers(self):
        self.tool("rotate", "-", "-o", "o.wav", "--bits=24", data=wav(FIELD, 4, 32))
        data = self.read("o.wav")
        self.assertEqual((data[:4], data[8:12]), (b"RIFF", b"WAVE"))
        self.assertEqual(struct.unpack("<I", data[4:8])[0], len(data) - 8)
        fmt = data.index(b"fmt ") + 8
        tag, channels, rate, _, frame, bits = struct.unpack("<HHIIHH", data[fmt:fmt + 16])
        mask, kind = struct.unpack("<I16s", data[fmt + 20:fmt + 40])
        self.assertEqual((tag, channels, rate, frame, bits, mask),
                         (0xFFFE, 4, 48000, 12, 24, 0))
        self.assertEqual(kind, bytes.fromhex("0100000000001000800000aa00389b71"))
        self.assertEqual(len(data) - data.index(b"data") - 8, FRAMES * 12)

    def test_two_channels_are_plain_wav(self):
        """Whether the length is known beforehand or not; chunks are whole, and data is the last."""
        mono = noise(5000, 16, 3, 0.1)
        self.write("mono.wav", wav(mono, 1))
        for data in wav(mono, 1), wav(mono, 1, claimed=0xFFFFFFFF):
            for bits in 16, 24, 32:
                self.tool("render", "-s", "-@0,0", "-o", "o.wav", f"--bits={bits}", data=data)
                data_read = self.read("o.wav")
                at, chunks = 12, {}
                while at < len(data_read):
                    name, size = struct.unpack("<4sI", data_read[at:at + 8])
                    chunks[name] = data_read[at + 8:at + 8 + size]
                    at += 8 + size
                self.assertEqual((at, struct.unpack("<I", data_read[4:8])[0] + 8, name),
                                 (len(data_read), len(data_read), b"data"))
                frame = bits // 4
                self.assertEqual(chunks[b"fmt "], struct.pack("<HHIIHH", 1, 2, 48000,
                                                              48000 * frame, frame, bits))
                self.assertEqual(len(chunks[b"data"]), 5127 * frame)
                self.assertEqual(self.info("o.wav")["format"], f"WAV, {bits}-bit")

    def test_au_tells_its_length_where_it_can(self):
        for source, length in (wav(FIELD, 4, 32), FRAMES * 16), \
                              (wav(FIELD, 4, 32, claimed=0xFFFFFFFF), 0xFFFFFFFF):
            out = self.tool("rotate", "-", "-o", "-", data=source)
            self.assertEqual(struct.unpack(">4s5I", out[:24]),
                             (b".snd", 24, length, 5, 48000, 4))
            self.tool("rotate", "-", "-o", "o.au", data=source)
            self.assertEqual(self.read("o.au")[8:12], struct.pack(">I", FRAMES * 16))
            self.assertEqual(self.read("o.au")[24:], out[24:])


def decoded(name, rate):
    """Left and right of a file as ffmpeg decodes it, without any conversion by it."""
    probe = json.loads(subprocess.check_output(
        ["ffprobe", "-v", "error", "-show_entries", "stream=codec_name,channels,sample_rate",
         "-of", "json", name]))["streams"][0]
    if (probe["channels"], probe["sample_rate"]) != (2, str(rate)):
        raise AssertionError(probe)
    data = subprocess.check_output(["ffmpeg", "-v", "error", "-i", name, "-f", "f32le", "-"])
    return probe["codec_name"], channels_of(array.array("f", data), 2)


def power(samples):
    return sum(s * s for s in samples)


class Encoders(ToolTest):
    """What other programs find in the files; two ears' sound with different ears."""

    def setUp(self):
        super().setUp()
        tone = [round(2 ** 29 * math.sin(i * i * 1e-6)) for i in range(60000)]
        self.write("in.wav", wav(tone, 1, 32))

    def render(self, name, *args):
        return self.tool("render", "-s", "in.wav@60,0", "-o", name, *args)

    def test_samples_channels_and_delay(self):
        """The rates ask for a conversion; what is coded is what plain samples of it are."""
        for rate in 48000, 32000:
            self.render("plain.wav", "--bits=32", f"--rate={rate}")
            _, plain = decoded("plain.wav", rate)
            frames = round(60127 * rate / 48000)
            self.assertEqual(len(plain[0]), frames)
            self.assertGreater(power(plain[0]), 2 * power(plain[1]))
            for name, codec, quality, decibels in [
                    ("o.flac", "flac", 3, 100), ("o.aiff", "pcm_s24be", None, 100),
                    ("O.AIF", "pcm_s16be", None, 70), ("o.ogg", "vorbis", 9, 25),
                    ("o.mp3", "mp3", 9, 25), ("o.opus", "opus", 9, 20)]:
                if codec == "opus" and rate == 32000:
                    continue
                with self.subTest(name=name, rate=rate):
                    self.render(name, f"--rate={rate}", *[f"--quality={quality}"] * bool(quality),
                                *["--bits=16"] * (name == "O.AIF"))
                    found, ears = decoded(name, rate)
                    self.assertEqual(found, codec)
                    for ear, exact in zip(ears, plain):
                        # The decoder of MP3 knows where the sound ends; some versions add to it.
                        self.assertEqual(len(ear[:frames] if codec == "mp3" else ear), frames)
                        error = power([a - b for a, b in zip(ear, exact)])
                        self.assertLess(error, power(exact) * 10 ** (-decibels / 10))

    def test_quality_is_size(self):
        self.write("in.wav", wav(noise(48000, 24, 5, 0.2), 1, 24))
        for name in "o.ogg", "o.mp3", "o.opus":
            sizes = []
            for quality in ["--quality=0"], [], ["--quality=10"]:
                self.render(name, *quality)
                sizes.append(os.stat(name).st_size)
            self.assertLess(1.5 * sizes[0], sizes[1])
            self.assertLess(1.2 * sizes[1], sizes[2])
        digests = set()
        for quality in "0", "10":
            digests.add(self.render("o.flac", "--quality", quality, "--digest"))
            sizes.append(os.stat("o.flac").st_size)
        self.assertEqual(len(digests), 1)
        self.assertLess(sizes[-1], sizes[-2])

    def test_no_conversion_where_the_rate_is_there(self):
        digest = self.render("o.wav", "--digest")
        self.assertEqual(self.render("o.wav", "--digest", "--rate=48000"), digest)
        self.assertNotEqual(self.render("o.wav", "--digest", "--rate=44100"), digest)


class Tags(ToolTest):
    """Title, artist and comment of files that ffmpeg made, read back with ffprobe."""
    TEXTS = {"title": "T\u00edtle \u65e5\u672c \U0001f3a7", "artist": "An Artist",
             "comment": "one\nline " + "\u00e9" * 600}

    def found(self, name):
        found = json.loads(subprocess.check_output(
            ["ffprobe", "-v", "error", "-show_entries", "format_tags:stream_tags", "-of", "json",
             name]))
        tags = {**found["format"].get("tags", {}), **found["streams"][0].get("tags", {})}
        tags = {key.lower().replace("author", "artist"): text for key, text in tags.items()}
        return {key: tags[key] for key in self.TEXTS if key in tags}

    def test_one_input(self):
        self.write("plain.wav", wav(noise(4800, 16, 2, 0.1), 1))
        self.write("other.wav", wav(noise(4800, 16, 3, 0.1), 1))
        options = [part for key, text in self.TEXTS.items()
                   for part in ("-metadata", f"{key}={text}")]
        wanted = dict(self.TEXTS, comment="one line " + "\u00e9" * 495)
        for suffix in "wav", "aiff", "flac", "ogg", "opus", "mp3", "caf":
            with self.subTest(suffix=suffix):
                name, out = "in." + suffix, "out." + suffix
                subprocess.check_call(["ffmpeg", "-v", "error", "-i", "plain.wav", *options, name])
                here = {key: wanted[key] for key in self.found(name)}  # not every one in AIFF
                self.assertGreaterEqual(len(here), 2)
                if suffix == "mp3":  # where ffmpeg puts the comment into a frame of its own kind
                    del here["comment"]
                self.tool("encode", name, "-o", "field.wav")
                self.assertEqual(self.found("field.wav"), here)
                mask = self.read("field.wav").index(b"fmt ") + 8 + 20
                self.assertEqual(self.read("field.wav")[mask:mask + 4], bytes(4))
                self.tool("render", "-s", name + "@9,0", "-s", name + "@-9,0", "-o", out)
                self.assertEqual(self.found(out), here)
                self.tool("render", "-s", name + "@9,0", "-s", "other.wav@9,0", "-o", out)
                self.assertEqual(self.found(out), {})


class Dither(ToolTest):
    def errors(self, *args):
        """What a steady level a quarter of a step above a 16-bit value becomes, in steps."""
        steady = [1000 * 65536 + 16384] * 40000
        self.write("in.wav", wav(steady, 1, 32))
        out = self.samples("encode", "in.wav", *args, bits=16)
        return [s - 1000.25 for s in channels_of(out, 4)[0]]

    def test_triangular(self):
        """Mean and power of the error do not depend on the level: 0, and 1/12 + 1/6 of a step."""
        errors = self.errors()
        self.assertAlmostEqual(sum(errors) / len(errors), 0, delta=0.02)
        self.assertAlmostEqual(sum(e * e for e in errors) / len(errors), 0.25, delta=0.02)
        lagged = sum(a * b for a, b in zip(errors, errors[1:])) / len(errors)
        self.assertAlmostEqual(lagged, 0, delta=0.01)
        self.assertEqual(errors, self.errors())

    def test_switched_off(self):
        self.assertEqual(set(self.errors("--no-dither")), {-0.25})

    def test_rounds_half_up_and_counts_clips(self):
        mono = [32768, -32768, 98304, -98304, 0x7FFFFFFF, -0x80000000]
        out = self.samples("encode", wav(mono, 1, 32), "--no-dither", bits=16,
                           says=b"earshot: standard output: 2 samples clipped at full scale on "
                                b"writing\n")
        self.assertEqual(channels_of(out, 4)[0], [1, 0, 2, -1, 32767, -32768])

    def test_nothing_dropped_nothing_added(self):
        for bits in 24, 32:
            mono = noise(5000, bits, bits)
            out = self.samples("encode", wav(mono, 1, bits), bits=32)
            self.assertEqual(channels_of(out, 4)[0], [s << (32 - bits) for s in mono])


class Replacing(ToolTest):
    def test_permissions(self):
        self.write("in.wav", wav(FIELD, 4, 32))
        old = os.umask(0o027)
        self.addCleanup(os.umask, old)
        self.tool("rotate", "in.wav", "-o", "new.wav")
        self.assertEqual(stat.S_IMODE(os.stat("new.wav").st_mode), 0o640)
        os.chmod("new.wav", 0o604)
        self.tool("rotate", "in.wav", "-o", "new.wav")
        self.assertEqual(stat.S_IMODE(os.stat("new.wav").st_mode), 0o604)

    def test_links_and_pipes_stay_what_they_are(self):
        self.write("in.wav", wav(FIELD, 4, 32))
        self.write("target.wav", bytes(10 * len(FIELD)))
        os.symlink("target.wav", "link.wav")
        self.tool("rotate", "in.wav", "-o", "plain.wav")
        self.tool("rotate", "in.wav", "-o", "link.wav")
        self.assertTrue(os.path.islink("link.wav"))
        self.assertEqual(self.read("target.wav"), self.read("plain.wav"))
        # A failure half way leaves nothing that looks like a recording.
        result = self.run_tool("rotate", "-", "-o", "link.wav", data=wav(FIELD, 4, 32)[:90000])
        self.assertEqual((result.returncode, self.read("target.wav")), (2, b""))
        os.mkfifo("pipe")
        reader = subprocess.Popen(["cat", "pipe"], stdout=subprocess.PIPE)
        self.tool("rotate", "in.wav", "-o", "pipe")
        self.tool("rotate", "in.wav", "-o", "plain.au")
        self.assertEqual(reader.communicate()[0], self.read("plain.au"))
        self.assertTrue(stat.S_ISFIFO(os.stat("pipe").st_mode))

    def test_closed_pipe(self):
        self.write("in.wav", wav(FIELD * 10, 4, 32))
        process = subprocess.Popen([EARSHOT, "rotate", "in.wav", "-o", "-"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stdout.close()
        self.assertEqual((process.stderr.read(), process.wait(60)),
                         (b"earshot: standard output: Broken pipe\n", 2))
        process.stderr.close()


class Terminal(ToolTest):
    def on_terminal(self, *args, both=False):
        """Exit code and what a terminal shows of stderr, or of stdout too."""
        try:
            control, terminal = pty.openpty()
        except OSError as error:  # a container need not have any
            self.skipTest(str(error))
        process = subprocess.Popen([EARSHOT, *args], stdin=subprocess.PIPE, stderr=terminal,
                                   stdout=terminal if both else subprocess.DEVNULL)
        os.close(terminal)
        with contextlib.suppress(BrokenPipeError), process.stdin as stream:
            stream.write(wav([], 4, claimed=0xFFFFFFFF))
            for _ in range(3):  # the line appears when a fifth of a second has passed
                stream.write(pack(noise(1 << 15, 16, 1), 16))
                stream.flush()
                time.sleep(0.25)
        shown = b""
        with contextlib.suppress(OSError):  # how Linux reports that the other end is closed
            while piece := os.read(control, 4096):
                shown += piece
        os.close(control)
        return process.wait(60), shown.decode()

    def test_progress(self):
        """The line is taken away again at the end."""
        command = ["rotate", "-", "-o", "out.wav"]
        code, shown = self.on_terminal(*command)
        self.assertEqual(code, 0)
        self.assertRegex(shown, r"^(\r0:00:00 rendered, \d+ x real time\x1b\[K)+\r\x1b\[K$")
        self.assertEqual(self.on_terminal(*command, "-q"), (0, ""))

    def test_no_audio_on_a_terminal(self):
        code, shown = self.on_terminal("rotate", "-", "-o", "-", both=True)
        self.assertEqual((code, shown.strip()), (1, "earshot: standard output: is a terminal; "
                                                    "audio is not written there"))


main()
