/* Scalar operations against their definitions in exact 64-bit arithmetic, over random operands. */
#include "../support/exact.hpp"
#include "../support/operands.hpp"

#include <earshot/kernel.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>

namespace earshot::test {
namespace {

/* v modulo 2^16, as a signed and as an unsigned number, and modulo 2^32; products modulo 2^64. */
s64 wrap16(s64 v) { return static_cast<s16>(v); }
s64 low16(s64 v) { return v & 0xFFFF; }
s64 low32(s64 v) { return v & 0xFFFFFFFF; }
s64 product(s64 v, s64 w) { return static_cast<s64>(static_cast<u64>(v) * static_cast<u64>(w)); }

/* Shifted to the right; rounded half up. */
s64 right(s64 v, s64 n) { return scaled(v, -std::max<s64>(n, 0)); }
s64 rounded(s64 v, s64 n) { return n < 0 ? scaled(scaled(v, n + 1) + 1, -1) : scaled(v, n); }

/* The largest n that keeps v 2^n within 32 bits. */
s64 norm(s64 v, s64 n = 31) {
    if (v == 0) return 0;
    return clamp32(scaled(v, n)) == scaled(v, n) ? n : norm(v, n - 1);
}
s64 leading_zeros(s64 v, int width) {
    const u64 half = static_cast<u64>(v) / 2;
    return v == 0 ? width : leading_zeros(static_cast<s64>(half), width - 1);
}

/* What a clip function leaves of v within bounds p and q, if it tells so rightly. */
template <typename T> s64 clipped(u32 (*clip)(T *, T, T), T v, T p, T q) {
    const T before = v;
    return clip(&v, std::min(p, q), std::max(p, q)) == (v != before) ? v : s64{1} << 40;
}
s64 clamp_between(s64 v, s64 p, s64 q) { return std::clamp(v, std::min(p, q), std::max(p, q)); }

/* A divisor above 0 and a dividend from 0 to it. */
template <typename T> T divisor(T b) { return static_cast<T>(b & 0x7FFF ? b & 0x7FFF : 1); }
template <typename T> T dividend(T a, T b) {
    return static_cast<T>((a & 0x7FFF) % (divisor(b) + 1));
}

/* a, b (16 bits), x, y, z (32), w (64) and a shift count n; in a definition all of them are s64. */
using operands = std::tuple<s16, s16, s32, s32, s32, s64, s32>;
using wide_operands = std::tuple<s64, s64, s64, s64, s64, s64, s64>;

using row = std::tuple<const char *, s64 (*)(const operands &), s64 (*)(const wide_operands &)>;

#define IN_OPERANDS(expression)                                                                    \
    [](const auto &in) {                                                                           \
        [[maybe_unused]] const auto [a, b, x, y, z, w, n] = in;                                    \
        return static_cast<s64>(expression);                                                       \
    }
#define ROW(function, arguments, definition)                                                       \
    { #function, IN_OPERANDS(function arguments), IN_OPERANDS(definition) }
#define U16(value) static_cast<u16>(value)
#define U32(value) static_cast<u32>(value)

const row rows[] = {
    ROW(changed, (U32(x), U32(y)), x != y),
    ROW(changed, (U32(x), U32(x) ^ 1u << (n & 31)), 1),
    ROW(clipped, (clip_16, a, b, static_cast<s16>(x)), clamp_between(a, b, wrap16(x))),
    ROW(clipped, (clip_32, x, y, z), clamp_between(x, y, z)),
    ROW(change_if_valid, (U32(x), U32(y)), low32(y == -1 ? x : y)),

    ROW(ARM_s16_add_s16_s16_sat, (a, b), clamp16(a + b)),
    ROW(ARM_s32_add_s32_s32_sat, (x, y), clamp32(x + y)),
    ROW(ARM_s16_sub_s16_s16_sat, (a, b), clamp16(a - b)),
    ROW(ARM_s32_sub_s32_s32_sat, (x, y), clamp32(x - y)),
    ROW(ARM_s32_mult_s16_s16, (a, b), product(a, b)),
    ROW(ARM_s32_mult_s16_u16, (a, U16(b)), product(a, low16(b))),
    ROW(ARM_u32_mult_u16_u16, (U16(a), U16(b)), low16(a) * low16(b)),
    ROW(ARM_s64_mult_s32_s16, (x, a), product(x, a)),
    ROW(ARM_s64_mult_s32_s32, (x, y), product(x, y)),
    ROW(ARM_s32_mult_s16_s16_shift_sat, (a, b), clamp32(2 * a * b)),
    ROW(ARM_s32_mult_s32_s16_rnd_sat, (x, a), mult_halves(x, a)),
    ROW(s32_mult_s32_s16_rnd_sat, (x, a), mult_halves(x, a)),
    ROW(ARM_s16_shr_s16_sat, (a, n), clamp16(scaled(a, -n))),
    ROW(ARM_s16_shl_s16_sat, (a, n), clamp16(scaled(a, n))),
    ROW(ARM_s32_shr_s32_sat, (x, n), clamp32(scaled(x, -n))),
    ROW(ARM_s32_shl_s32_sat, (x, n), clamp32(scaled(x, n))),
    ROW(ARM_u16_abs_s16_sat, (a), clamp16(std::abs(a))),
    ROW(ARM_s32_neg_s32_sat, (x), clamp32(-x)),
    ROW(ARM_s16_extract_s32_l, (x), wrap16(x)),
    ROW(ARM_s16_extract_s32_h, (x), scaled(x, -16)),
    ROW(ARM_s16_round_s32_sat, (x), high_rounded(x)),
    ROW(ARM_s16_norm_s32, (x), norm(x)),
    ROW(ARM_s16_norm_s16, (a), norm(a * 65536)),
    ROW(ARM_s16_saturate_s32, (x), clamp16(x)),
    ROW(ARM_s32_saturate_s64, (w), clamp32(w)),
    ROW(ARM_s16_div_s16_s16_sat, (dividend(a, b), divisor(b)),
        std::min<s64>(32768 * dividend(a, b) / divisor(b), 32767)),

    ROW(s16_add_s16_s16_sat, (a, b), clamp16(a + b)),
    ROW(s16_sub_s16_s16_sat, (a, b), clamp16(a - b)),
    ROW(s16_mult_s16_s16_shift_sat, (a, b), scaled(clamp32(2 * a * b), -16)),
    ROW(s16_extract_s64_h_rnd, (w), wrap16(scaled(low32(sum64(w, 0x8000)), -16))),
    ROW(s16_extract_s64_h_sat, (w), scaled(clamp32(w), -16)),
    ROW(s32_deposit_s16_l, (a), a),
    ROW(s32_deposit_s16_h, (a), a * 65536),
    ROW(u32_abs_s32_sat, (x), clamp32(std::abs(x))),
    ROW(u64_mult_u32_u32, (U32(x), U32(y)), product(low32(x), low32(y))),
    ROW(s64_mac_s32_s32, (w, x, y), sum64(w, product(x, y))),
    ROW(s64_mac_s64_s16_s16_s1, (w, a, b), sum64(w, 2 * a * b)),
    ROW(s64_mac_s64_s16_s16_shift, (w, a, b, n), sum64(w, scaled64(product(a, b), n))),
    ROW(s64_mac_s64_s16_s16_shift_sat, (w, a, b, n), clamp32(sum64(w, scaled64(product(a, b), n)))),
    ROW(s32_mac_s32_s16_s16_sat, (x, a, b), clamp32(x + a * b)),
    ROW(s32_msu_s32_s16_s16_sat, (x, a, b), clamp32(x - wrap32(2 * a * b))),
    ROW(s16_mac_s32_s16_s16_sat_rnd, (x, a, b), high_rounded(clamp32(x + a * b))),
    ROW(s16_msu_s32_s16_s16_sat_rnd, (x, a, b), high_rounded(clamp32(x - wrap32(2 * a * b)))),
    ROW(s32_mac_s32_s32_s1_sat, (z, x, y), clamp32(z + scaled(x * y, -31))),
    ROW(s32_mac_s32_s32_s1_rnd_sat, (z, x, y), clamp32(z + rounded(x * y, -31))),
    ROW(s32_mls_s32_s16_sat, (x, a), clamp32(scaled(low16(x) * a, -15) + scaled(x, -16) * a)),
    ROW(s32_accu_asr_s32_imm5, (x, y, n), wrap32(x + (n < 0 || n > 31 ? 0 : scaled(y, -n)))),
    ROW(s32_accu_asl_s32_imm5, (x, y, n),
        n<0 || n> 31 ? clamp32(x + (y > 0 ? max32 : min32)) : wrap32(x + scaled64(y, n))),
    ROW(s32_mult_s32_s32_rnd_sat, (x, y), clamp32(rounded(product(x, y), -16))),
    ROW(s32_shl_s32_rnd_sat, (x, n), clamp32(rounded(x, n))),
    ROW(s16_shl_s16_sat_rnd, (a, n), clamp16(rounded(a, n))),
    ROW(L_shift_r, (x, n), clamp32(rounded(x, wrap16(n)))),

    ROW(s64_mult_s32_s32_shift, (x, y, std::min(n, 32)), right(product(x, y), 32 - n)),
    ROW(s64_mult_s32_u32_shift, (x, U32(y), std::min(n, 32)), right(product(x, low32(y)), 32 - n)),
    ROW(s64_mult_s32_s16_shift, (x, a, std::min(n, 16)), right(product(x, a), 16 - n)),
    ROW(s64_mult_s32_u16_shift, (x, U16(a), std::min(n, 16)), right(product(x, low16(a)), 16 - n)),
    ROW(s64_mult_u32_s16_shift, (U32(x), a, std::min(n, 16)), right(low32(x) * a, 16 - n)),
    ROW(s64_mult_lp_s32_s32_shift, (x, y, std::min(n, 32)),
        right(product(x, y) - low16(x) * low16(y), 32 - n)),
    ROW(s64_mult_lp_s32_u32_shift, (x, U32(y), std::min(n, 32)),
        right(product(x, low32(y)) - low16(x) * low16(y), 32 - n)),
    ROW(s64_mult_s16_s16_shift, (a, b, n), scaled64(product(a, b), n)),
    ROW(s64_mult_s16_u16_shift, (a, U16(b), n), scaled64(product(a, low16(b)), n)),
    ROW(s64_mult_u16_u16_shift, (U16(a), U16(b), n), scaled64(low16(a) * low16(b), n)),

    ROW(cl0, (x), leading_zeros(low32(x), 32)),
    ROW(s32_cl0_s32, (x), leading_zeros(low32(x), 32)),
    ROW(s32_cl1_s32, (x), leading_zeros(low32(-1 - x), 32)),
    ROW(s32_cl0_s64, (w), leading_zeros(w, 64)),
    ROW(s32_cl1_s64, (w), leading_zeros(-1 - w, 64)),
    ROW(s16_norm_s64, (w), norm(w)),
};

/* ... and the overflow flag rises for the one operation that raises it. */
TEST(scalar, is_as_defined) {
    for (const auto &[name, call, definition] : rows) {
        operand_source source;
        for (int round = 0; round < rounds; ++round) {
            const operands in = {source.next<s16>(), source.next<s16>(), source.next<s32>(),
                                 source.next<s32>(), source.next<s32>(), source.next<s64>(),
                                 source.count()};
            const bool raises = std::get<2>(in) == min32 && name == std::string("u32_abs_s32_sat");
            giOverflow = round % 2;
            giOldOverflow = round / 2 % 2;
            EXPECT_EQ(call(in), definition(in));
            EXPECT_EQ(giOverflow, raises ? 1 : round % 2);
            EXPECT_EQ(giOldOverflow, round / 2 % 2);
            ASSERT_FALSE(HasFailure()) << name << ::testing::PrintToString(in);
        }
    }
}

TEST(overflow_flag, is_saved_once) {
    giOverflow = 1;
    giOldOverflow = 0;
    /* Call, returned flag, flag and saved flag after. */
    const std::tuple<s32 (*)(void), s32, s32, s32> steps[] = {
        {clearOverflow, 1, 0, 1}, {isOverflow, 0, 0, 1},  {popOverflow, 0, 1, 1},
        {popOverflow, 1, 1, 1},   {setOverflow, 1, 1, 1}, {clearOverflow, 1, 0, 1},
        {setOverflow, 0, 1, 0},   {isOverflow, 1, 1, 0},  {popOverflow, 1, 0, 0}};
    for (const auto &[call, returned, flag, saved] : steps) {
        EXPECT_EQ(call(), returned);
        EXPECT_EQ(giOverflow, flag);
        EXPECT_EQ(giOldOverflow, saved);
    }
}

} // namespace
} // namespace earshot::test
