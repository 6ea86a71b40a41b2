"""Recordings for loudspeakers, made by ffmpeg and sox: which channel is heard from where, how loud
and when."""

import json
import math
import shutil
import subprocess
import unittest

from harness import ToolTest, channels_of, main, noise, pack, unpack, wav

# Azimuth and elevation; nothing: of no direction.
STEREO = [(30, 0), (-30, 0)]
QUAD = STEREO + [(135, 0), (-135, 0)]
FRONT = STEREO + [(0, 0), None]
FIVE = FRONT + [(110, 0), (-110, 0)]
SEVEN = FRONT + [(135, 0), (-135, 0), (90, 0), (-90, 0)]
LAYOUTS = {
    "stereo": STEREO, "quad": QUAD, "5.1": FIVE, "7.1": SEVEN,
    "5.1.4": FIVE + [(30, 30), (-30, 30), (110, 30), (-110, 30)],
    "7.1.4": SEVEN + [(45, 30), (-45, 30), (135, 30), (-135, 30)]}
TOPS = "+TFL+TFR+TBL+TBR"

# What ffmpeg calls them, what they are taken as, and where the channels are.
NAMED = [
    ("stereo", "stereo (L R), by its number of channels", STEREO),
    ("quad", "quad (L R Lb Rb), as its header says", QUAD),
    ("5.1", "5.1 (L R C LFE Lb Rb), as its header says", FIVE),
    ("5.1(side)", "5.1 (L R C LFE Ls Rs), as its header says", FIVE),
    ("7.1", "7.1 (L R C LFE Lb Rb Ls Rs), as its header says", SEVEN),
    ("FL+FR+FC+LFE+SL+SR" + TOPS, "5.1.4 (L R C LFE Ls Rs Ltf Rtf Ltb Rtb), as its header says",
     LAYOUTS["5.1.4"]),
    ("FL+FR+FC+LFE+BL+BR+SL+SR" + TOPS,
     "7.1.4 (L R C LFE Lb Rb Ls Rs Ltf Rtf Ltb Rtb), as its header says", LAYOUTS["7.1.4"]),
    ("quad(side)", "L R Ls Rs, as its header says", STEREO + [(110, 0), (-110, 0)]),
    ("4.0", "L R C Cb, as its header says", STEREO + [(0, 0), (180, 0)]),
    ("6.1", "L R C LFE Cb Ls Rs, as its header says", FRONT + [(180, 0), (110, 0), (-110, 0)]),
    ("7.1(wide)", "L R C LFE Lb Rb Lc Rc, as its header says", FIVE + [(15, 0), (-15, 0)])]


@unittest.skipUnless(shutil.which("ffmpeg") and shutil.which("sox"), "no ffmpeg or no sox")
class BedTest(ToolTest):
    def ffmpeg(self, name, samples, layout, *args, rate=48000):
        subprocess.run(["ffmpeg", "-y", "-v", "error", "-f", "s16le", "-ar", str(rate), "-channel_layout",
                        layout, "-i", "-", *args, "-bitexact", name], input=pack(samples, 16),
                       check=True)

    def render(self, *args, data=b""):
        """Samples of 32 bits, and what is said."""
        result = self.run_tool("render", *args, "-o", "-", "--raw", "--bits=32", data=data)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout, result.stderr.decode()

    def ears(self, *args):
        return channels_of(unpack(self.render(*args)[0], 32), 2)

    def apart(self, samples, places, gain="", rate=48000):
        """The channels as sources, each of a file of its own."""
        sources = []
        for k, (mono, place) in enumerate(zip(channels_of(samples, len(places)), places), 1):
            if place is not None:
                self.write(f"{k}.wav", wav(mono, 1, rate=rate))
                sources += ["-s", f"{k}.wav@{place[0]},{place[1]}{gain}"]
        return sources


class Loudspeakers(BedTest):
    def test_every_channel_is_heard_from_its_loudspeaker(self):
        """The same bits as sources at its direction, with the layout named and without."""
        for name, taken, places in NAMED:
            with self.subTest(layout=name):
                count = len(places)
                samples = noise(count * 700, 16, count, 0.1)
                self.ffmpeg("f.wav", samples, name)
                expected, _ = self.render(*self.apart(samples, places))
                off = ["--lfe=off"] if None in places or count == 2 else []
                found, says = self.render("f.wav", *off)
                self.assertEqual(found, expected)
                self.assertIn(f"earshot: f.wav: taken as {taken}; '-s f.wav", says)
                layout = taken.split()[0]
                if layout in LAYOUTS:
                    self.assertEqual(self.render("-s", f"f.wav@{layout}", *off), (expected, ""))
                listed = self.info("f.wav")["channels"]
                names = taken.split(",")[0].replace(layout + " (", "").rstrip(")")
                self.assertEqual(listed, f"{count}: {names}" if count > 2 else "2")

    def test_all_turn_together(self):
        samples = noise(12 * 900, 16, 3, 0.1)
        self.ffmpeg("f.wav", samples, NAMED[6][0])
        apart = self.apart(samples, LAYOUTS["7.1.4"])
        for args in ["--orbit=0.3"], ["--placement=measured"], ["--orbit=-1", "--frame=96"]:
            self.assertEqual(self.render("-s", "f.wav@7.1.4", "--lfe=off", "--guard=3", *args),
                             self.render(*apart, "--guard=3", *args))

    def test_orders_of_other_formats(self):
        """A noise in every channel, one after the other, comes from where it comes in WAV."""
        slot = 2400
        for layout, count, formats in [
                ("5.1", 6, ("flac", "aiff", "ogg", "opus", "caf")), ("6.1", 7, ("caf", "flac", "ogg")),
                ("7.1", 8, ("flac", "opus", "ogg"))]:
            samples = [0] * (count * slot * count)
            for k in range(count):
                for i, sample in enumerate(noise(slot // 2, 16, k, 0.1)):
                    samples[(k * slot + i) * count + k] = sample
            # An LFE channel is a low one, for those who code it.
            for i in range(slot // 2):
                samples[(3 * slot + i) * count + 3] = round(3000 * math.sin(i * math.pi / 240))
            self.ffmpeg("f.wav", samples, layout)
            expected, _ = self.render("f.wav")
            wanted = self.levels(expected, slot, count)
            for kind in formats:
                with self.subTest(layout=layout, format=kind):
                    coder = {"ogg": ["-c:a", "libvorbis", "-q:a", "10"],
                             "opus": ["-c:a", "libopus", "-mapping_family", "1", "-b:a", "1M"]}
                    self.ffmpeg(f"f.{kind}", samples, layout, *coder.get(kind, []))
                    found, _ = self.render(f"f.{kind}")
                    if kind not in coder:
                        self.assertEqual(found, expected)
                    for a, b in zip(self.levels(found, slot, count), wanted):
                        self.assertLess(abs(a - b), 2.5)

    def levels(self, data, slot, count):
        """Decibels of both ears while a channel sounds."""
        ears = channels_of(unpack(data, 32), 2)
        return [10 * math.log10(sum(s * s for s in ear[k * slot:k * slot + slot // 2]))
                for k in range(count) for ear in ears]

    def test_a_layout_stands_above_what_a_file_says(self):
        samples = noise(4 * 700, 16, 1, 0.1)
        self.ffmpeg("f.wav", samples, "4.0")
        expected, _ = self.render(*self.apart(samples, QUAD))
        self.assertEqual(self.render("-s", "f.wav@quad"), (
            expected, "earshot: f.wav: its header has the channels L R C Cb; they are taken as quad "
                      "(L R Lb Rb)\n"))
        self.write("bare.wav", wav(samples, 4))
        found, says = self.render("bare.wav")
        self.assertEqual(found, expected)
        self.assertEqual(says, "earshot: bare.wav: taken as quad (L R Lb Rb), by its number of "
                               "channels; '-s bare.wav:CHANNEL@AZ,EL' places a channel elsewhere, "
                               "'earshot binauralize bare.wav' as a field\n")

    def test_what_is_no_bed(self):
        for count, message in [
                (3, "has 3 channels, of which its header does not tell the loudspeakers; place each "
                    "with '-s f.wav:CHANNEL@AZ,EL'"),
                (9, "has 9 channels, as a field of order 2; 'earshot binauralize f.wav' renders "
                    "fields")]:
            self.write("f.wav", wav([0] * count * 9, count))
            self.fails(2, "f.wav: " + message, "render", "f.wav", "-o", "out.wav")


class Gains(BedTest):
    def test_gains_of_sources(self):
        """As in a scene; a layout's number is told from an azimuth by the file or the unit."""
        samples = noise(6 * 900, 16, 5, 0.1)
        self.ffmpeg("f.wav", samples, "5.1")
        expected, _ = self.render(*self.apart(samples, FIVE, ",-6.5"))
        for source in "f.wav@5.1,-6.5", "f.wav@5.1,-6.5dB", "f.wav@5.1, -6.5 dB":
            self.assertEqual(self.render("-s", source, "--lfe=off")[0], expected, source)
        self.assertEqual(self.render("-s", "-@5.1,-6.5dB", "--lfe=off",
                                     data=self.read("f.wav"))[0], expected)
        scene = {"version": 1, "sources": [{"file": "1.wav", "direction": [5.1, -6.5], "gain": 3}]}
        for source in "1.wav@5.1,-6.5,3", "1.wav:1@5.1,-6.5,+3dB":
            self.assertEqual(self.render("-s", source, "--frame=96")[0],
                             self.render("-", data=json.dumps(scene).encode())[0])
        self.assertEqual(self.render("-s", "1.wav@5.1,-6.5"), self.render("-s", "1.wav@5.1,-6.5,0"))
        self.assertEqual(self.render("-s", "-@5.1,-6.5", data=self.read("1.wav")),
                         self.render("-s", "1.wav@5.1,-6.5,0dB"))

    def test_scenes_say_the_same(self):
        """Also with another rate, a start, a loop, and a listener who turns: the room stays."""
        rate = 44100
        samples = noise(6 * 900, 16, 6, 0.1)
        self.ffmpeg("f.wav", samples, "5.1", rate=rate)
        self.apart(samples, FIVE, rate=rate)
        for keys, listener, args in [
                ({}, {}, []), ({"gain": -6.5}, {}, [",-6.5dB"]),
                ({"lfe": -3.25}, {}, ["", "--lfe=-3.25"]), ({"lfe": "off"}, {}, ["", "--lfe=off"]),
                ({"start": 0.01, "loop": True, "lfe": "off"},
                 {"orientation_track": [[0, 0, 0, 0], [0.05, 80, 20, -10]]}, None)]:
            with self.subTest(keys=keys):
                bed = {"file": "f.wav", "layout": "5.1", **keys}
                scene = {"version": 1, "duration": 0.06, "sources": [bed], "listener": listener}
                found, _ = self.render("-", data=json.dumps(scene).encode())
                if args is not None:
                    place, *more = args or [""]
                    plain, _ = self.render("-s", "f.wav@5.1" + place, "--frame=96", *more)
                    self.assertEqual(found[:len(plain)], plain[:len(found)])
                    continue
                del bed["lfe"], bed["layout"]
                scene["sources"] = [{**bed, "file": f"{k}.wav", "direction": place}
                                    for k, place in enumerate(FIVE, 1) if place]
                self.assertEqual(found, self.render("-", data=json.dumps(scene).encode())[0])


class LowFrequencies(BedTest):
    def tone(self, samples, frequency):
        """Amplitude and degrees of phase, over whole periods of 10 Hz, once it stands."""
        part = range(9600, 9600 + 24000)
        cos, sin = (sum(samples[i] * f(2 * math.pi * frequency * i / 48000) for i in part)
                    for f in (math.cos, math.sin))
        return math.hypot(cos, sin), math.degrees(math.atan2(cos, sin))

    def test_in_time_with_the_front(self):
        """10 dB louder than the loudspeaker there, alike in both ears, whatever turns."""
        for frequency, args in [(30, []), (60, []), (120, ["--placement=measured"]),
                                (60, ["--orbit=3", "--frame=96"])]:
            with self.subTest(frequency=frequency, args=args):
                sox = ["sox", "-D", "-n", "-r", "48000", "-b", "24", "mono.wav", "synth", "0.75",
                       "sine", str(frequency), "vol", "0.05"]
                subprocess.run(sox, check=True)
                subprocess.run(["sox", "-D", "mono.wav", "f.wav", "remix", "0", "0", "0", "1", "0",
                                "0"], check=True)
                still = [arg for arg in args if "orbit" not in arg]
                front = self.tone(self.ears("-s", "mono.wav@0,0", *still)[0], frequency)
                for level, option in (10, []), (-3.5, ["--lfe=-3.5"]):
                    left, right = self.ears("-s", "f.wav@5.1", *args, *option)
                    self.assertEqual(left, right)
                    self.assertEqual(len(left), 36000 + 127)
                    amplitude, phase = self.tone(left, frequency)
                    self.assertAlmostEqual(20 * math.log10(amplitude / front[0]), level, delta=0.2)
                    self.assertAlmostEqual(phase, front[1], delta=1)
        self.assertEqual(max(self.ears("-s", "f.wav@5.1", "--lfe=off")[0]), 0)

    def test_a_loud_one_does_not_wrap(self):
        """Full scale and 10 dB more: clipped where it leaves the range and nowhere else."""
        self.ffmpeg("f.wav", [0, 0, 0, 32767, 0, 0] * 2000, "5.1")
        for placement in "continuous", "measured":
            left, _ = self.ears("-s", "f.wav@5.1", f"--placement={placement}")
            self.assertEqual(set(left[400:1900]), {2 ** 31 - 1})


main()
