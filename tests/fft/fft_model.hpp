/*
 * The transforms once more, one value at a time and without a thought for speed, and what their
 * tests share: tables, operands, calls, checks and a plain DFT.
 */
#ifndef EARSHOT_TESTS_FFT_FFT_MODEL_HPP
#define EARSHOT_TESTS_FFT_FFT_MODEL_HPP

#include "../support/digest.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"

#include <earshot/fft.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace earshot::test {

using words = std::vector<s32>;
using number = double; /* a hundred dB better than what it measures; long double is slow emulated */
using index = std::size_t;

struct bin {
    s64 re, im;
};
inline bin get(const words &x, index i) { return {x[2 * i], x[2 * i + 1]}; }
inline void put(words &x, index i, bin v) {
    x[2 * i] = static_cast<s32>(v.re);
    x[2 * i + 1] = static_cast<s32>(v.im);
}

inline s64 clamp(s64 v) { return std::clamp<s64>(v, INT32_MIN, INT32_MAX); }
/* Q31 product, rounded half up. */
inline s64 product(s64 v, s64 w) { return clamp((v * w + (s64{1} << 30)) >> 31); }
inline bin times(bin v, bin w) {
    return {clamp(product(v.re, w.re) - product(v.im, w.im)),
            clamp(product(v.im, w.re) + product(v.re, w.im))};
}

/* What an addition does about the bit too many. */
enum class carry { saturates, halves, wraps };
inline s64 add(carry rule, s64 v, s64 w) {
    if (rule == carry::halves) return (v + w) >> 1;
    return rule == carry::saturates ? clamp(v + w) : static_cast<s32>(v + w);
}
inline bin add(carry rule, bin v, bin w) { return {add(rule, v.re, w.re), add(rule, v.im, w.im)}; }
inline bin subtract(carry rule, bin v, bin w) { return add(rule, v, {-w.re, -w.im}); }

/* The low log2 n bits of i in reverse order. */
inline index reversed(index i, index n) {
    return n == 1 ? 0 : i % 2 * (n / 2) + reversed(i / 2, n / 2);
}

struct kind {
    carry rule;
    bool inverse;
};
constexpr kind forward{carry::saturates, false};
constexpr kind scaled{carry::halves, true}, unscaled{carry::wraps, true};

struct fft_model {
    kind is;
    const words &twiddles, &pairs;
    index stride;

    /* The results go to y, y + step, ... */
    void butterfly(bin x0, bin x1, bin x2, bin x3, index entry, words &to, index y,
                   index step) const {
        const bin a = add(is.rule, x0, x1), b = subtract(is.rule, x0, x1);
        const bin c = add(is.rule, x2, x3), d = subtract(is.rule, x2, x3);
        // j b, in the inverses -j b, as the first and the last factor are a quarter turn off.
        const bin turned = is.inverse ? bin{b.im, clamp(-b.re)} : bin{clamp(-b.im), b.re};
        put(to, y, add(is.rule, a, c));
        put(to, y + step, times(add(is.rule, turned, d), factor(twiddles, 3 * entry)));
        put(to, y + 2 * step, times(subtract(is.rule, a, c), factor(twiddles, 3 * entry + 1)));
        put(to, y + 3 * step, times(subtract(is.rule, turned, d), factor(twiddles, 3 * entry + 2)));
    }
    bin factor(const words &table, index i) const {
        const bin w = get(table, i);
        return {w.re, is.inverse ? clamp(-w.im) : w.im};
    }
    words first_stage(const words &x) const {
        const index n = x.size() / 2;
        words out(x.size());
        for (index i = 0; i < n / 4; ++i)
            butterfly(get(x, i), get(x, i + n / 2), get(x, i + n / 4), get(x, i + n / 4 * 3),
                      reversed(i, n) / 4, out, reversed(i, n), 1);
        return out;
    }
    void later_stages(words &x) const {
        for (index s = 4; 4 * s <= x.size() / 2; s *= 4)
            for (index i = 0; i < x.size() / 2; ++i)
                if (i / s % 4 == 0)
                    butterfly(get(x, i), get(x, i + s), get(x, i + 2 * s), get(x, i + 3 * s),
                              i / (4 * s), x, i, s);
    }
    void radix2_stage(words &x) const {
        for (index i = 0, half = x.size() / 4; i < half; ++i) {
            const bin a = get(x, i), b = get(x, i + half);
            put(x, i, add(is.rule, a, b));
            put(x, i + half, subtract(is.rule, a, b));
        }
    }
    words transform(const words &x) const {
        words out = first_stage(x);
        later_stages(out);
        if (std::countr_zero(x.size() / 2) % 2 == 1) radix2_stage(out);
        return out;
    }

    /* From half-length to packed spectrum; in the inverses back, where the last bin stays. */
    void recombine(words &x) const {
        const index half = x.size() / 2 - 1;
        const s64 a = x[0], b = is.inverse ? x[2 * half] : x[1];
        put(x, 0, {add(is.rule, a, b), is.inverse ? add(is.rule, a, -b) : 0});
        if (!is.inverse) put(x, half, {add(is.rule, a, -b), 0});
        const carry rule = is.inverse ? is.rule : carry::halves;
        for (index k = 1; k <= half / 2; ++k) {
            const bin w = factor(pairs, k * stride - 1);
            const bin s = add(rule, get(x, k), get(x, half - k));
            const bin d = subtract(rule, get(x, k), get(x, half - k));
            const s64 t1 = clamp(product(s.im, w.re) + product(d.re, w.im));
            const s64 t2 = clamp(product(d.re, w.re) - product(s.im, w.im));
            put(x, half - k, {clamp(s.re + t2), clamp(-clamp(d.im + t1))});
            put(x, k, {clamp(s.re - t2), clamp(d.im - t1)});
        }
    }
};

inline constexpr number pi = std::numbers::pi;
/* unit sin(2 pi i / 1024), to the nearest. */
inline s32 sine(index i, number unit) {
    return static_cast<s32>(clamp(std::llround(unit * std::sin(2 * pi * number(i) / 1024))));
}
inline words complex_table() {
    words table;
    for (index g = 0; g < 256; ++g) {
        const index r = reversed(g, 256), half = 512, quarter = 256;
        for (const index i : {half + r, half + quarter - r, quarter + 2 * r, 1024 - 2 * r,
                              half + 3 * r, half + quarter - 3 * r})
            table.push_back(sine(i, 0x80000000));
    }
    return table;
}
inline words recombine_table() {
    words table;
    for (index e = 1; e <= 256; ++e)
        table.insert(table.end(), {sine(e, 0x7FFFFFFF), sine(256 + e, 0x7FFFFFFF)});
    return table;
}
inline const words true_twiddles = complex_table(), true_pairs = recombine_table();

/* The buffers of a call in a row, aligned to a word, with as many guard words around each; but an
 * even number of them leaves the input at the end, for a sanitizer to see what goes beyond. */
struct memory {
    words all;
    std::array<s32 *, 4> at;

    memory(index guards, const words &in, const words &out, const words &twiddles = true_twiddles,
           const words &pairs = true_pairs) {
        all.reserve(in.size() + out.size() + 2048 + 4 * guards + guards % 2 * guards);
        const auto append = [&](const words &buffer) {
            all.insert(all.end(), guards, 0x5AFE600D);
            all.insert(all.end(), buffer.begin(), buffer.end());
            return all.data() + all.size() - buffer.size();
        };
        at = {append(out), append(twiddles), append(pairs), append(in)};
        all.insert(all.end(), guards % 2 * guards, 0x5AFE600D);
    }
};

/* An exported routine, what the model does to input and output, and how many words these have for
 * size n: per_n n and some more. */
struct routine {
    const char *name;
    kind is;
    s32 per_n, more_in, more_out;
    void (*run)(const memory &, s32 n, s32 stride);
    void (*expect)(const fft_model &, words &in, words &out);

    s32 smallest() const { return 32 / per_n; }
    /* Of full range, rich in corners, extremes alone or small. */
    words input(operand_source &draw, s32 n, int sort = 0, int headroom = 0) const {
        words result(index(per_n * n + more_in));
        for (s32 &v : result) {
            const s32 any = static_cast<s32>(draw.below(u64{1} << 32));
            const s32 sorts[] = {any, draw.next<s32>(), any >> 31 ^ INT32_MAX, any >> 24};
            v = sorts[sort % 4] >> headroom;
        }
        return result;
    }
    words output(const words &in, s32 n) const {
        const memory m(4, in, words(index(per_n * n + more_out)));
        run(m, n, 1024 / n);
        return {m.at[0], m.at[0] + per_n * n + more_out};
    }
};
#define RUN(statement)                                                                             \
    [](const memory &m, s32 n, [[maybe_unused]] s32 stride) {                                      \
        [[maybe_unused]] const auto [out, twiddles, pairs, in] = m.at;                             \
        statement;                                                                                 \
    }
#define EXPECTED(statements)                                                                       \
    [](const fft_model &model, words &in, [[maybe_unused]] words &out) { statements; }
#define ROUTINE(is, per_n, more_in, more_out, function, arguments, effect)                         \
    { #function, is, per_n, more_in, more_out, RUN(function arguments), EXPECTED(effect) }

/* Bit for bit as the model in all of the memory, on the true tables and on any; the results at
 * each size in a number. */
inline std::vector<u64> check_bits(const routine &r, operand_source draw) {
    std::vector<u64> digests;
    for (s32 n = r.smallest(); n <= 1024; n *= 2) {
        digest d;
        for (int round = 0; round < 16; ++round) {
            words twiddles = true_twiddles, pairs = true_pairs;
            for (s32 &v : twiddles) v = round % 8 == 5 ? draw.next<s32>() : v;
            for (s32 &v : pairs) v = round % 8 == 5 ? draw.next<s32>() : v;
            const s32 stride = round < 8 ? 1024 / n : draw.between(1, 1024 / n);
            words in = r.input(draw, n, round), out(index(r.per_n * n + r.more_out));
            const memory actual(index(5 + round / 2), in, out, twiddles, pairs);
            r.run(actual, n, stride);
            r.expect({r.is, twiddles, pairs, index(stride)}, in, out);
            const memory expected(index(5 + round / 2), in, out, twiddles, pairs);
            EXPECT_EQ(actual.all, expected.all) << r.name << ' ' << n << ", round " << round;
            for (const s32 *w = actual.at[0]; w < actual.at[0] + out.size(); ++w) d.add(*w);
        }
        digests.push_back(d.value());
    }
    return digests;
}

/* Nothing is written for what is no size or, in real transforms, no stride. */
inline void expect_refusals(const routine &r) {
    operand_source draw;
    const memory m(5, r.input(draw, 2100), r.input(draw, 2100));
    const words before = m.all;
    for (const s32 n : {INT32_MIN, -1024, -16, -1, 0, 1, 2, 4, r.smallest() / 2, 15, 17, 24, 48,
                        1000, 1025, 2048, 65536, INT32_MAX})
        r.run(m, n, 1);
    for (s32 n = 32; n <= 1024 && r.per_n == 1; n *= 2)
        for (const s32 stride : {INT32_MIN, -1, 0, 1024 / n + 1, 1025, 1 << 16, INT32_MAX})
            r.run(m, n, stride);
    EXPECT_EQ(m.all, before) << r.name;
}

/* On every isa; the digests of the first routines are the same on every target. */
template <index count>
void expect_bits(const routine (&routines)[count], const std::vector<u64> (&golden)[3]) {
    on_every_isa([&](isa) {
        for (const routine &r : routines) check_bits(r, operand_source());
        for (const routine &r : routines) expect_refusals(r);
        for (index i = 0; i < 3; ++i)
            EXPECT_EQ(check_bits(routines[i], operand_source(1)), golden[i]) << routines[i].name;
    });
}

/* The sums of in[m] e^(sign j 2 pi m k / N), of powers of two; by halves, as all N^2 products would
 * take an emulator long. */
using bins = std::vector<std::complex<number>>;
inline bins sums_of(const bins &in, int sign) {
    const index n = in.size();
    if (n == 1) return in;
    bins halves[2], result(n);
    for (index i = 0; i < n; ++i) halves[i % 2].push_back(in[i]);
    for (bins &half : halves) half = sums_of(half, sign);
    for (index k = 0; k < n / 2; ++k) {
        const auto odd = halves[1][k] * std::polar(1.0, 2 * pi * sign * number(k) / number(n));
        result[k] = halves[0][k] + odd;
        result[k + n / 2] = halves[0][k] - odd;
    }
    return result;
}
/* Over a divisor, of interleaved complex values. */
inline std::vector<number> dft(const words &in, int sign, s32 divisor) {
    bins values;
    for (index i = 0; i < in.size(); i += 2) values.emplace_back(in[i], in[i + 1]);
    std::vector<number> parts;
    for (const auto &sum : sums_of(values, sign))
        parts.insert(parts.end(), {sum.real() / divisor, sum.imag() / divisor});
    return parts;
}

/* At most so many units off, at least so many dB between signal and error. */
inline void expect_accuracy(const words &actual, const std::vector<number> &exact, number units,
                            number least_dB) {
    number worst = 0, signal = 0, noise = 0;
    for (index i = 0; i < actual.size(); ++i) {
        const number error = std::abs(number(actual[i]) - exact[i]);
        worst = std::max(worst, error);
        signal += exact[i] * exact[i];
        noise += error * error;
    }
    const number dB = 10 * std::log10(signal / noise);
    EXPECT_LE(worst, units) << actual.size() << " words";
    EXPECT_GE(dB, least_dB) << actual.size() << " words";
}

} // namespace earshot::test

#endif
