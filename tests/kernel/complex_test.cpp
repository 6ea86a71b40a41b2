/* Complex and packed operations against their definitions in exact 64-bit arithmetic. */
#include "../support/exact.hpp"
#include "../support/operands.hpp"

#include <earshot/kernel.h>

#include <algorithm>
#include <tuple>

namespace earshot::test {
namespace {

/* Of 32 bits. */
s64 shl(s64 v, s64 n) { return clamp32(scaled64(v, std::min<s64>(n, 32))); }
s64 doubled(s64 v) { return clamp32(2 * clamp32(v)); }
/* v / 2 to the nearest, ties to the even neighbour. */
s64 half(s64 v) { return scaled64(v, -1) + (v % 2 != 0 && scaled64(v, -1) % 2 != 0); }
/* v / 2^(32 - n), halves rounded up, modulo 2^64 on the way. */
s64 reduced(s64 v, s64 n) { return clamp32(scaled64(sum64(scaled64(v, n - 31), 1), -1)); }
/* Q31 x Q15, short for the rows below. */
s64 m(s64 v, s64 w) { return mult_halves(v, w); }
/* The imaginary part of a product of such, where m(-2^31, -32768) stands for 2^31. */
template <class Bound> s64 cross(s64 re, s64 im, s64 w_re, s64 w_im, Bound bound) {
    if (re == min32 && w_im == -32768) return clamp32(m(im, w_re) - min32);
    return bound(m(im, w_re) + m(re, w_im));
}
s64 reversed(s64 v, s64 n) {
    s64 result = 0;
    for (s64 bit = 0; bit < std::min<s64>(n, 32); ++bit) result = 2 * result + (v >> bit & 1);
    return wrap32(result);
}

s32 c32(s64 re, s64 im) { return static_cast<s32>((re & 0xFFFF) | (im & 0xFFFF) << 16); }
s64 c64(s64 re, s64 im) { return sum64(re & 0xFFFFFFFF, scaled64(im, 32)); }
s64 v64(s64 l0, s64 l1, s64 l2, s64 l3) { return c64(c32(l0, l1), c32(l2, l3)); }

/* Lanes of a and b, whose first two are complex values too, complex values x and y, w and n; in a
 * definition all of them are s64. */
template <typename T16, typename T32, typename T64>
using operands_of =
    std::tuple<T16, T16, T16, T16, T16, T16, T16, T16, T32, T32, T32, T32, T64, T32>;
using operands = operands_of<s16, s32, s64>;
using wide_operands = operands_of<s64, s64, s64>;
using row = std::tuple<const char *, s64 (*)(const operands &), s64 (*)(const wide_operands &)>;

#define IN_OPERANDS(expression)                                                                    \
    [](const auto &in) {                                                                           \
        [[maybe_unused]] const auto [a0, a1, a2, a3, b0, b1, b2, b3, xr, xi, yr, yi, w, n] = in;   \
        return static_cast<s64>(expression);                                                       \
    }
#define ROW(function, arguments, definition)                                                       \
    { #function, IN_OPERANDS(function arguments), IN_OPERANDS(definition) }
#define A c32(a0, a1)
#define B c32(b0, b1)
#define RE (a0 * b0 - a1 * b1)
#define IM (a0 * b1 + a1 * b0)
#define X c64(xr, xi)
#define Y c64(yr, yi)
#define VA v64(a0, a1, a2, a3)
#define VB v64(b0, b1, b2, b3)
#define LANES(of) v64(of(a0, b0), of(a1, b1), of(a2, b2), of(a3, b3))
#define SUM_16(p, q) clamp16((p) + (q))
#define DIFFERENCE_16(p, q) clamp16((p) - (q))
#define ASR(p, q) scaled64(p, 0 - n)

const row rows[] = {
    ROW(c32_complex_s16_s16, (a0, a1), A),
    ROW(s32_complex_s16_s16, (a0, a1), A),
    ROW(c32_add_c32_c32_sat, (A, B), c32(clamp16(a0 + b0), clamp16(a1 + b1))),
    ROW(c32_sub_c32_c32_sat, (A, B), c32(clamp16(a0 - b0), clamp16(a1 - b1))),
    ROW(c32_avrg_c32_c32_rnd, (A, B), c32(half(a0 + b0), half(a1 + b1))),
    ROW(c32_avrg_c32_c32neg_rnd, (A, B), c32(clamp16(half(a0 - b0)), clamp16(half(a1 - b1)))),
    ROW(s32_complex_conjugate_sat_s32, (A), c32(a0, clamp16(-a1))),
    ROW(c32_mult_c32_c32, (A, B), c32(high_rounded(doubled(RE)), high_rounded(doubled(IM)))),
    ROW(c32_mult_c32_c32conj, (A, B), c32_mult_c32_c32(A, c32(b0, clamp16(-b1)))),
    ROW(s32_complex_mult_rnd_sat_s32_s32, (A, B), c32(high_rounded(2 * RE), high_rounded(2 * IM))),
    ROW(c32_mult_c32_s16_shift_sat, (A, b0, n),
        c32(high_rounded(shl(doubled(b0 *a0), n)), high_rounded(shl(doubled(b0 *a1), n)))),
    ROW(c32_mult_c32_s32_shift_sat, (A, xr, n),
        c32(high_rounded(shl(m(xr, a0), n)), high_rounded(shl(m(xr, a1), n)))),
    ROW(c64_mult_c32_c32, (A, B), c64(doubled(RE), doubled(IM))),
    ROW(c64_mult_c32_s16_sat, (A, b0), c64(doubled(b0 *a0), doubled(b0 *a1))),
    ROW(c64_mult_c64_s16_shift_sat, (X, b0, n), c64(shl(m(xr, b0), n), shl(m(xi, b0), n))),
    ROW(c64_mult_c64_c32_rnd_sat, (X, B),
        c64(clamp32(m(xr, b0) - m(xi, b1)), clamp32(m(xr, b1) + m(xi, b0)))),
    ROW(c64_mult_c64_c32_rnd_sat_q6, (X, B),
        c64(clamp32(m(xr, b0) + m(clamp32(-xi), b1)), cross(xr, xi, b0, b1, clamp32))),
    ROW(s64_complex_mult_rnd_sat_s64_s32, (X, B),
        c64(m(xr, b0) + m(clamp32(-xi), b1), cross(xr, xi, b0, b1, wrap32))),
    ROW(c64_mult_c64_c64_shift, (X, Y, n),
        c64(reduced(xr *yr - xi * yi, n), reduced(sum64(xi *yr, xr *yi), n))),
    ROW(s64_complex_average_s64_s64, (X, Y), c64(half(xr + yr), half(xi + yi))),
    ROW(s64_complex_neg_average_s64_s64_sat, (X, Y),
        c64(clamp32(half(xr - yr)), clamp32(half(xi - yi)))),
    ROW(s32_bitrev_s32, (xr, n), reversed(xr, n)),
    ROW(s32_bitrev_s32, (xr, n & 63), reversed(xr, n & 63)),

    ROW(v64_vaddh_v64_v64_sat, (VA, VB), LANES(SUM_16)),
    ROW(v64_vsubh_v64_v64_sat, (VA, VB), LANES(DIFFERENCE_16)),
    ROW(v64_vasrh_v64, (VA, n), LANES(ASR)),
    ROW(v64_vsplath_s32, (xr), v64(xr, xr, xr, xr)),
    ROW(v64_vmpyh_v32_v32_sat, (A, B), c64(b0 *a0, b1 *a1)),
    ROW(s64_vrmpyhacc_v64_v64, (w, VA, VB), sum64(w, a0 *b0 + a1 * b1 + a2 * b2 + a3 * b3)),
    ROW(s64_vrmpywehacc_v64_v64, (w, X, VB), sum64(w, wrap32(b0 *xr) + wrap32(b2 * xi))),
    ROW(s64_vrmpywohacc_v64_v64, (w, X, VB), sum64(w, wrap32(b1 *xr) + wrap32(b3 * xi))),
};

/* In a quarter of the rounds every operand is a bound, so that all of them meet. */
TEST(complex, is_as_defined) {
    for (const auto &[name, call, definition] : rows) {
        operand_source source;
        for (int round = 0; round < rounds; ++round) {
            const auto draw = [&]<typename T>(T &v) {
                const bool low = source.below(2), bound = round % 4 == 0;
                v = bound ? low ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max()
                          : source.next<T>();
            };
            operands in;
            std::apply([&](auto &...v) { (draw(v), ...); }, in);
            if (round % 8 != 0) std::get<13>(in) = source.count();
            ASSERT_EQ(call(in), definition(in)) << name << ::testing::PrintToString(in);
        }
    }
}

} // namespace
} // namespace earshot::test
