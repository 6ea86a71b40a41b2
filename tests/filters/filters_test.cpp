/* Recursive filters: to the bit against their recurrences, and against the transfer functions. */
#include "../support/exact.hpp"
#include "../support/operands.hpp"

#include <earshot/filters.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <initializer_list>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

namespace earshot::test {
namespace {

using words = std::vector<s32>;
using complex = std::complex<double>;

/* v w modulo 2^64; round(v / 2^n) of such a sum, whose rounding term wraps too. */
s64 product(s64 v, s64 w) { return static_cast<s64>(static_cast<u64>(v) * static_cast<u64>(w)); }
s64 rounded(s64 v, s64 n) {
    return n < 1 ? scaled64(v, -n) : scaled(sum64(v, scaled64(1, n - 1)), -n);
}

s32 all_pass(s32 x, const words &c, words &state, s64 shift) {
    s64 sum = sum64(product(c[0], x), product(c[1], state[0]));
    sum = sum64(sum, scaled64(state[1], shift));
    sum = sum64(sum, product(-1, sum64(product(c[1], state[2]), product(c[0], state[3]))));
    const s32 y = static_cast<s32>(clamp32(rounded(sum, shift)));
    state = {x, state[0], y, state[2]};
    return y;
}

template <class Sample> Sample biquad(Sample x, const s32 *c, s64 *state, s64 shift) {
    constexpr s64 top = std::numeric_limits<Sample>::max();
    const s64 y = std::clamp(rounded(sum64(product(c[0], x), state[0]), shift), -top - 1, top);
    state[0] = sum64(sum64(product(c[1], x), product(-y, c[3])), state[1]);
    state[1] = sum64(product(c[2], x), product(-y, c[4]));
    return static_cast<Sample>(y);
}

/* 14 guard bits; a quarter of a unit is added on the way back. */
s32 dc_stage(s32 x, s64 a, s32 &xprev, s32 &yprev) {
    const s64 difference = clamp32(16384 * clamp32(s64{x} - xprev));
    yprev = static_cast<s32>(clamp32(difference + mult_halves(yprev, a)));
    xprev = x;
    return static_cast<s32>(floor_div(clamp32(s64{yprev} + 4096), 16384));
}

template <class Sample> std::vector<Sample> samples(operand_source &source, std::size_t count) {
    std::vector<Sample> s(count);
    const u64 smaller = source.below(8 * sizeof(Sample));
    for (Sample &v : s) v = static_cast<Sample>(source.next<Sample>() >> smaller);
    return s;
}

/* The same samples and state through model, one sample at a time, and through filter, by blocks of
 * random lengths, empty and negative ones too, half the time in place. */
template <class Sample, class State>
void compare(operand_source &source, State state, const auto &model, const auto &filter) {
    std::vector<Sample> in = samples<Sample>(source, 24), out(25, 77), expected = in;
    State expected_state = state;
    for (Sample &v : expected) v = model(v, expected_state);
    const bool in_place = source.below(2);
    std::vector<Sample> &result = in_place ? in : out;
    for (s32 done = 0, n; done < 24; done += std::max(n, 0)) {
        n = std::min(source.between(-2, 9), 24 - done);
        filter(in.data() + done, result.data() + done, n, state);
        ASSERT_TRUE(in_place || out[static_cast<u32>(done + std::max(n, 0))] == 77);
    }
    result.resize(24);
    ASSERT_TRUE(result == expected && state == expected_state);
}

/* Shifts that filters are used with and all around the width of a sum, then any. */
s32 shift_of(int round, operand_source &source) {
    return round < 400 ? round % 140 - 70 : source.count();
}

TEST(all_pass, follows_its_recurrence_for_every_shift) {
    operand_source source;
    for (int round = 0; round < rounds / 5 && !HasFailure(); ++round) {
        const s32 shift = shift_of(round, source);
        const words coefs = samples<s32>(source, 2);
        SCOPED_TRACE(shift);
        compare<s32>(
            source, samples<s32>(source, 4),
            [&](s32 x, words &state) { return all_pass(x, coefs, state, shift); },
            [&](const s32 *in, s32 *out, s32 n, words &state) {
                iirDF1_32_ap(in, out, n, coefs.data(), state.data(), shift);
            });
    }
}

using states = std::vector<s64>;

/* The two widths under one name. */
void cascade(const s32 *in, s32 *out, s32 n, const words &c, states &s, s32 sections, s32 shift) {
    iirTDF2_32(in, out, n, c.data(), s.data(), sections, shift);
}
void cascade(const s16 *in, s16 *out, s32 n, const words &c, states &s, s32 sections, s32 shift) {
    iirTDF2_16(in, out, n, c.data(), s.data(), sections, shift);
}

template <class Sample> void check_biquad() {
    operand_source source;
    for (int round = 0; round < rounds / 5 && !::testing::Test::HasFailure(); ++round) {
        const s32 shift = shift_of(round, source), sections = source.between(-1, 4);
        const words coefs = samples<s32>(source, 20);
        SCOPED_TRACE(shift);
        compare<Sample>(
            source, samples<s64>(source, 8),
            [&](Sample v, states &state) {
                for (s32 s = 0; s < sections; ++s)
                    v = biquad(v, coefs.data() + 5 * s, state.data() + 2 * s, shift);
                return v;
            },
            [&](const Sample *in, Sample *out, s32 n, states &state) {
                cascade(in, out, n, coefs, state, sections, shift);
            });
    }
}

TEST(biquad, follows_its_recurrence_over_32_bits) { check_biquad<s32>(); }
TEST(biquad, follows_its_recurrence_over_16_bits) { check_biquad<s16>(); }

TEST(dc_block, follows_its_recurrence) {
    operand_source source;
    for (int round = 0; round < rounds / 5 && !HasFailure(); ++round) {
        const s32 stages = source.between(1, 5);
        const s16 pole = source.next<s16>();
        compare<s32>(
            source, samples<s32>(source, 12),
            [&](s32 v, words &state) {
                for (u32 s = 0; s < u32(stages); ++s) v = dc_stage(v, pole, state[s], state[6 + s]);
                return v;
            },
            [&](const s32 *in, s32 *out, s32 n, words &state) {
                EXPECT_EQ(dc_block(in, out, pole, &state[0], &state[6], stages, n), n);
            });
    }
}

TEST(dc_block, without_stages_copies_upwards_over_any_overlap) {
    operand_source source;
    for (s32 n = -1; n <= 40; ++n)
        for (s32 lag = -9; lag <= 9; ++lag) {
            words memory = samples<s32>(source, 64), expected = memory;
            s32 *const model = &expected[12], *const in = &memory[12];
            for (s32 i = 0; i < n; ++i) model[i + lag] = model[i];
            ASSERT_EQ(dc_block(in, in + lag, 1, nullptr, nullptr, -(n & 1), n), n);
            ASSERT_EQ(memory, expected) << n << " words, " << lag << " on";
        }
}

TEST(dc_block, takes_its_pole_from_the_rate) {
    const std::pair<s32, u16> cases[] = {
        {INT32_MIN, 29490}, {8000, 29490},  {8001, 31456},  {16000, 31456},    {16001, 32440},
        {22050, 32440},     {22051, 32570}, {32000, 32570}, {32001, 32638},    {48000, 32638},
        {48001, 32670},     {64000, 32670}, {64001, 32702}, {INT32_MAX, 32702}};
    for (const auto &[rate, expected] : cases) {
        words x(3, 77), y(3, 77);
        u16 pole[2] = {0, 77};
        dc_block_handle handle = {};
        EXPECT_EQ(dc_block_init(pole, &handle, rate, x.data(), y.data()), 0u);
        EXPECT_TRUE(pole[0] == expected && pole[1] == 77) << rate << ": " << pole[0];
        EXPECT_TRUE(handle.xprev == x.data() && handle.yprev == y.data());
        EXPECT_TRUE(x == (words{0, 0, 77}) && y == x);
    }
}

/* --- Against the transfer functions ------------------------------------------------------------*/

/* The response of an impulse of the given height at w radians a sample. */
template <class Sample>
complex response(const std::vector<Sample> &impulse, double height, double w) {
    complex sum = 0;
    for (std::size_t n = 0; n < impulse.size(); ++n)
        sum += impulse[n] / height * std::polar(1.0, -w * static_cast<double>(n));
    return sum;
}

/* (b0 + b1 / z + b2 / z^2) / (1 + a1 / z + a2 / z^2) at z = e^jw. */
complex transfer(const double *c, double w) {
    const complex z1 = std::polar(1.0, -w), z2 = z1 * z1;
    return (c[0] + c[1] * z1 + c[2] * z2) / (1.0 + c[3] * z1 + c[4] * z2);
}

/* The largest distance between the response of an impulse and that of a row of equal sections. */
template <class Sample>
double error(const std::vector<Sample> &impulse, double height, const double *c, int sections) {
    double worst = 0;
    for (double w = 0; w < 3.15; w += std::numbers::pi / 64) {
        const complex exact = std::pow(transfer(c, w), sections);
        worst = std::max(worst, std::abs(response(impulse, height, w) - exact));
    }
    return worst;
}

/* The response differs by so little from one of magnitude 1 that it is flat within 0.0001 dB. */
TEST(all_pass, is_flat_and_turns_the_phase) {
    const double pairs[][2] = {{0, 0}, {0.5, 0}, {0.8125, -1.6875}, {-0.25, 0.25}, {0.875, 1.5}};
    for (const auto &[c0, c1] : pairs) {
        const s32 coefs[] = {s32(c0 * 0x1p30), s32(c1 * 0x1p30)};
        const double exact[] = {c0, c1, 1, c1, c0};
        words impulse(512), state(4);
        impulse[0] = 1 << 28;
        iirDF1_32_ap(impulse.data(), impulse.data(), 512, coefs, state.data(), 30);
        EXPECT_LT(error(impulse, 0x1p28, exact, 1), 1e-5) << c0 << ' ' << c1;
    }
}

/* Two sections of a low-pass; the shorter samples are rounded in the recursion. */
TEST(biquad, has_the_response_of_the_design) {
    const double low_pass[] = {0.0625, 0.125, 0.0625, -1.25, 0.5};
    words coefs, impulse(128);
    for (int i = 0; i < 10; ++i) coefs.push_back(s32(low_pass[i % 5] * 0x1p29));
    states state(4);
    std::vector<s16> short_impulse(128);
    impulse[0] = 1 << 29;
    cascade(impulse.data(), impulse.data(), 128, coefs, state, 2, 29);
    EXPECT_LT(error(impulse, 0x1p29, low_pass, 2), 1e-6);
    short_impulse[0] = 1 << 14;
    cascade(short_impulse.data(), short_impulse.data(), 128, coefs, state = states(4), 2, 29);
    EXPECT_LT(error(short_impulse, 0x1p14, low_pass, 2), 0.01);
}

/* 3 dB below its gain at half the rate where cos w = 2 a / (1 + a^2); a constant decays by a. */
TEST(dc_block, has_the_corner_and_the_decay_of_its_pole) {
    for (const s16 pole : std::initializer_list<s16>{29490, 31456, 32440, 32570, 32670, 32702}) {
        const double a = pole / 32768.0, corner = std::acos(2 * a / (1 + a * a));
        words impulse(8192), decay(8192, 1 << 16), state(4);
        impulse[0] = 1 << 16;
        dc_block(impulse.data(), impulse.data(), pole, &state[0], &state[1], 1, 8192);
        const double top = std::norm(response(impulse, 0x1p16, std::numbers::pi));
        EXPECT_LT(std::norm(response(impulse, 0x1p16, 0.99 * corner)), top / 2) << pole;
        EXPECT_GT(std::norm(response(impulse, 0x1p16, 1.01 * corner)), top / 2) << pole;
        dc_block(decay.data(), decay.data(), pole, &state[2], &state[3], 1, 8192);
        double exact = 1 << 16;
        for (const s32 v : decay) EXPECT_NEAR(v, std::exchange(exact, a * exact), 1);
        EXPECT_EQ(decay.back(), 0);
    }
}

} // namespace
} // namespace earshot::test
