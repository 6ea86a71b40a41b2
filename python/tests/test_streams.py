"""Blocks of any length and dtype through the renderer, fields, the effect and the transforms."""

import math
import unittest
from fractions import Fraction

import numpy as np

import earshot
from earshot import fft
from earshot._library import ffi, lib
from earshot._samples import from_words, words_of
from support import FolderTest, noise

DTYPES = [np.dtype(name) for name in ("int16", "int32", "float32", "float64")]


def cuts(length, seed):
    """Places where blocks begin and end, some of them empty."""
    inner = np.random.default_rng(seed).integers(0, length, 12).tolist()
    return sorted([0, length, length // 2, length // 2, *inner])


def through(process, block, seed):
    """A block in pieces."""
    places = cuts(len(block), seed)
    return np.concatenate([process(block[a:b]) for a, b in zip(places, places[1:])])


class Border(unittest.TestCase):
    def test_floats_round_to_the_nearest_word(self):
        one = 2.0 ** -31
        values = [0.0, -0.0, 1.0, -1.0, one / 2, 1.5 * one, 2.5 * one, -one / 2, -1.5 * one,
                  1 - one, 1 - 1.5 * one, 1 + one, -1 - one, 3e38, -3e38, 5e-324, 0.1, -0.7]
        values += (np.random.default_rng(1).normal(size=2000) * 0.6).tolist()
        for dtype in ("float32", "float64"):
            array = np.array(values).astype(dtype)
            words, clipped = words_of(array, "x")
            exact = [Fraction(float(v)) * 2 ** 31 for v in array]
            self.assertEqual(words.tolist(),
                             [max(-2 ** 31, min(2 ** 31 - 1, round(v))) for v in exact])
            self.assertEqual(clipped, sum(abs(v) > 2 ** 31 for v in exact))

    def test_words_come_out_exactly(self):
        words = np.concatenate((noise(3000, 1, 0), np.array(
            [2 ** 31 - 1, -2 ** 31, 0x7FFF7FFF, 0x7FFF8000, 0x8000, 0x7FFF, -0x8000, -0x8001])))
        words = words.astype(np.int32)
        half, clipped = from_words(words, DTYPES[0])
        exact = [(int(w) + 0x8000) >> 16 for w in words]
        self.assertEqual(half.tolist(), [min(v, 32767) for v in exact])
        self.assertEqual(clipped, sum(v > 32767 for v in exact) - 1)
        for dtype in DTYPES[2:]:
            self.assertTrue((from_words(words, dtype)[0] ==
                             np.array([int(w) / 2 ** 31 for w in words], dtype)).all())
        self.assertTrue((words_of(from_words(words, DTYPES[3])[0], "x")[0] == words).all())

    def test_arrays_of_every_kind(self):
        pairs = noise(2 * 700, 2).reshape(-1, 2) >> 16 << 16
        expected = self.ears(pairs)
        for dtype in DTYPES:
            samples = from_words(pairs, dtype)[0]
            wide = np.zeros((1400, 4), dtype)
            wide[::2, 1::2] = samples
            for kind in (samples, np.asfortranarray(samples), wide[::2, 1::2],
                         samples.astype(dtype.newbyteorder(">"))):
                kind.flags.writeable = False
                made = self.ears(kind)
                self.assertEqual(made.dtype, dtype)
                self.assertTrue((made == from_words(expected, dtype)[0]).all(), dtype)
                self.assertTrue((self.ears(kind, "int32") == expected).all(), dtype)
        for k in (0, 1):  # one channel needs no second axis
            alone = earshot.Binaural()
            self.assertTrue((alone.process(pairs[:, k]) ==
                             earshot.Binaural().process(pairs[:, k:k + 1])).all())
        self.assertEqual(earshot.Binaural(3).process(np.zeros((0, 3), "f4")).shape, (0, 2))

    @staticmethod
    def ears(block, dtype=None):
        binaural = earshot.Binaural(2)
        binaural.place(1, 80, -10)
        return binaural.process(block, dtype)


class Renderer(unittest.TestCase):
    MOVES = {0: [(0, 30, 0), (1, -90, 10)], 500: [(0, 40, 5)], 511: [(0, 45, 5), (1, 170, 90)],
             1400: [(1, -720.5, -40)]}

    def play(self, block, extra):
        """The block with its moves, cut at further places."""
        binaural = earshot.Binaural(2)
        places = sorted({len(block), *self.MOVES, *extra})
        ears = []
        for a, b in zip(places, places[1:]):
            for move in self.MOVES.get(a, []):
                binaural.place(*move)
            ears.append(binaural.process(block[a:b]))
        return np.concatenate([*ears, binaural.flush()]), binaural

    def by_the_interface(self, block):
        """The same with the functions of C, frame by frame."""
        length, lead = lib.EARSHOT_HEAD_FRAME, lib.EARSHOT_HEAD_LEAD
        config = ffi.new("earshot_binaural_config *", (2, length, lead))
        size = ffi.new("size_t *")
        lib.earshot_binaural_get_size(config, size)
        memory, renderer = ffi.new("u64[]", size[0] // 8 + 1), ffi.new("earshot_binaural **")
        lib.earshot_binaural_init(renderer, config, memory, size[0])
        head, pairs, ears = earshot.Head.builtin(), [], []
        padded = np.zeros((2, lead + len(block) + 512), np.int32)
        padded[:, lead:lead + len(block)] = block.T
        latency = earshot.Binaural.latency
        for s in range(0, len(block) + 139, length):
            # Heard of before the frame is computed: when the last sample of its window is there.
            for time, moves in self.MOVES.items():
                if s == 0 and time == 0 or s - length + latency < time <= s + latency and time > 0:
                    for source, azimuth, elevation in moves:
                        pairs.append(ffi.new("earshot_filter_pair *"))
                        lib.earshot_head_filter(head._head, round(math.fmod(azimuth, 360) * 65536),
                                                elevation * 65536, pairs[-1])
                        lib.earshot_binaural_set(renderer[0], source, pairs[-1])
            windows = np.ascontiguousarray(padded[:, s:s + 256])
            pointers = [ffi.cast("s32 *", row.ctypes.data) for row in windows]
            out, exponent = ffi.new("s32[]", 2 * length), ffi.new("s32 *")
            lib.earshot_binaural_process(renderer[0], pointers, out, exponent)
            ears += [math.floor(Fraction(word) * Fraction(2) ** exponent[0] + Fraction(1, 2))
                     for word in out]
        clipped = np.clip(np.array(ears), -2 ** 31, 2 ** 31 - 1)
        return clipped.reshape(-1, 2)[:len(block) + 139].astype(np.int32)

    def test_cuts_change_nothing_and_the_bits_are_those_of_c(self):
        for lowered in (0, 3):
            block = noise(2 * 3000, 5, lowered).reshape(-1, 2)
            whole, binaural = self.play(block, [])
            self.assertEqual(len(whole), 3000 + binaural.latency + 139)
            self.assertFalse(whole[:binaural.latency].any())
            expected = self.by_the_interface(block)
            self.assertTrue((whole[binaural.latency:] == expected).all())
            self.assertEqual(binaural.clipped > 0, lowered == 0)
            for seed in range(4):
                self.assertTrue((self.play(block, cuts(3000, seed))[0] == whole).all(), seed)

    def test_what_follows_a_flush_begins_anew(self):
        block = noise(2 * 1000, 6).reshape(-1, 2)
        whole, binaural = self.play(block, [])
        self.assertEqual(whole.shape, (1254, 2))
        for move in ((0, 30, 0), (1, -90, 10)):
            binaural.place(*move)
        binaural.process(np.zeros((96, 2), np.int32))  # the way there
        binaural.flush()
        again = np.concatenate((binaural.process(block[:500]), binaural.flush()))
        fresh = earshot.Binaural(2)
        for move in ((0, 30, 0), (1, -90, 10)):
            fresh.place(*move)
        self.assertTrue((again == np.concatenate((fresh.process(block[:500]),
                                                  fresh.flush()))).all())

    def test_a_click_is_the_response_of_the_head(self):
        head = earshot.Head(bytes(earshot.Head.builtin()))
        for azimuth, elevation in ((0, 0), (75.3, 20), (-140, -35)):
            binaural = earshot.Binaural(head=head)
            binaural.place(0, azimuth, elevation)
            click = np.zeros(96 * 3)
            click[96] = 0.5
            ears = np.concatenate((binaural.process(click), binaural.flush()))
            begin = binaural.latency + 96 - 20
            response = head.impulse_response(azimuth, elevation)
            np.testing.assert_allclose(ears[begin:begin + 160] * 2, response, atol=1e-7)
            gains = np.fft.rfft(response, 256, axis=0).T
            np.testing.assert_allclose(abs(gains), abs(head.filter(azimuth, elevation)), atol=3e-3)


class Fields(FolderTest):
    def test_bits_are_those_of_the_tool(self):
        mono = noise(5000, 8, 3)
        self.write("mono.wav", mono)
        for order in (1, 4):
            field = earshot.Field(order)
            made = field.encode(mono, -400.25, 33.3)
            self.check(made, "encode", "mono.wav", "--azimuth=-400.25", "--elevation", "33.3",
                       "--order", str(order))
            self.write("field.wav", made)
            turned = field.rotate(made, 100.5, -20, 45)
            self.check(turned, "rotate", "field.wav", "--yaw", "100.5", "--pitch=-20", "--roll",
                       "45")
            self.write("field.wav", turned)
            ears = np.concatenate((through(field.to_ears, turned, order), field.flush()))
            self.check(ears[field.latency:], "binauralize", "field.wav")

    def check(self, made, *args):
        expected = self.tool(*args).reshape(-1, made.shape[1])
        self.assertTrue((made[:len(expected)] == expected).all(), args)
        self.assertEqual(len(made), len(expected), args)

    def test_a_turning_head_moves_in_a_straight_line(self):
        field = earshot.Field(1)
        sound = field.encode(np.full(200, 0.5), 0)
        field.rotate(sound[:10], 0)
        turned = field.rotate(sound, yaw=90)
        way = np.arange(1, 201) / 200
        np.testing.assert_allclose(turned[:, 3], 0.5 * (1 - way), atol=1e-8)  # front
        np.testing.assert_allclose(turned[:, 1], -0.5 * way, atol=1e-8)  # to the right
        field.reset()
        np.testing.assert_allclose(field.rotate(sound, yaw=90)[0, 1], -0.5, atol=1e-8)

    def test_effect(self):
        field = earshot.Field(1).encode(noise(4000, 9, 3), 50)
        for dtype in ("int16", "int32"):
            effect = earshot.Effect(dtype=dtype)
            effect.set_rotation(50)
            effect.set_focus(-20.5, 10)
            self.assertEqual((effect.rotation, effect.focus), ((50, 0), (-20.5, 10, True)))
            effect.set_focus(0, enable=False)
            block = from_words(field, np.dtype(dtype))[0]
            out = through(effect.process, block, 3)
            self.assertEqual(out.dtype, block.dtype)
            # Once the ramp is over the sound comes from the front.
            near = 2.0 ** -12 if dtype == "int16" else 2.0 ** -20
            scale = 2.0 ** (8 * block.itemsize - 1)
            front = earshot.Field(1).encode(noise(4000, 9, 3), 0) / 2.0 ** 31
            np.testing.assert_allclose(out[1024:] / scale, front[1024:], atol=near)
            again = earshot.Effect(dtype=dtype)
            again.set_rotation(50)
            again.set_focus(-20.5, 10)
            again.set_focus(0, enable=False)
            self.assertTrue((again.process(block) == out).all())


class Transforms(unittest.TestCase):
    def test_against_floating_point(self):
        generator = np.random.default_rng(10)
        for n in (16, 32, 64, 128, 256, 512, 1024):
            # Headroom for the sums, and for 16 bits none; errors in units of the last place.
            cases = [(np.int32, 2 ** (28 - n.bit_length()), 1, 40), (np.int16, 2 ** 14, n, 3.5)]
            for dtype, bound, factor, near in cases:
                z = generator.integers(-bound, bound, (2, 3, n, 2)).astype(dtype)
                x = generator.integers(-bound, bound, (4, n)).astype(dtype)
                full = 2.0 ** (8 * z.itemsize - 1)
                values = fft.as_complex(z) * full
                self.near(fft.as_complex(fft.fft(z)) * full, np.fft.fft(values) / factor, near)
                self.near(fft.as_complex(fft.ifft(z)) * full, np.fft.ifft(values), near)
                if dtype == np.int32 and n == 16:
                    continue
                spectrum = fft.rfft(x)
                self.near(fft.as_complex(spectrum) * full, np.fft.rfft(x) / factor, near)
                kept = spectrum.copy()
                self.near(fft.irfft(spectrum), np.fft.irfft(fft.as_complex(spectrum) * full), near)
                self.assertTrue((spectrum == kept).all())
                if dtype == np.int32:
                    self.near(fft.irfft(spectrum, scaled=False), n * x.astype(float), 40 * n)
                    continue
                for made, exponents in (fft.fft_block(z >> 9), fft.fft_block(z >> 9, inverse=True)):
                    self.assertEqual((made.shape, exponents.shape), (z.shape, (2, 3)))
                made, exponents = fft.rfft_block(x >> 9)
                self.near(fft.as_complex(made) * full, np.fft.rfft(x >> 9) /
                          2.0 ** exponents[:, None], near)
                back, more = fft.irfft_block(made)
                self.near(back * 2.0 ** (exponents + more)[:, None], n * (x >> 9).astype(float),
                          0.01 * n * 64)

    def near(self, made, expected, bound):
        self.assertEqual(made.shape, expected.shape)
        self.assertLess(abs(made - expected).max(), bound)


if __name__ == "__main__":
    unittest.main()
