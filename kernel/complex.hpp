// The complex and packed operations of the public kernel interface. include/earshot/kernel.h says
// what each computes; the comments here say why it is done this way.
#ifndef EARSHOT_KERNEL_COMPLEX_HPP
#define EARSHOT_KERNEL_COMPLEX_HPP

#include "kernel/scalar.hpp"

namespace earshot {

// --- Parts ----------------------------------------------------------------------------------

constexpr s16 real_part(s32 a) { return ARM_s16_extract_s32_l(a); }
constexpr s16 imaginary_part(s32 a) { return ARM_s16_extract_s32_h(a); }
constexpr s32 real_part(s64 x) { return low_s32(x); }
constexpr s32 imaginary_part(s64 x) { return low_s32(x >> 32); }

constexpr s32 c32_complex_s16_s16(s16 re, s16 im) { return (re & 0xFFFF) | s32_deposit_s16_h(im); }
constexpr s64 c64_complex(s32 re, s32 im) {
    return static_cast<s64>(u64{static_cast<u32>(im)} << 32 | static_cast<u32>(re));
}

// Half of a sum, exact halves to the even neighbour.
constexpr s64 convergent_half(s64 sum) { return (sum + (sum >> 1 & 1)) >> 1; }

// f of the real parts and f of the imaginary parts.
template <class F> constexpr s32 part_by_part(s32 a, s32 b, F f) {
    return c32_complex_s16_s16(f(real_part(a), real_part(b)),
                               f(imaginary_part(a), imaginary_part(b)));
}
template <class F> constexpr s64 part_by_part(s64 a, s64 b, F f) {
    return c64_complex(f(real_part(a), real_part(b)), f(imaginary_part(a), imaginary_part(b)));
}

// --- Sums and averages ----------------------------------------------------------------------

constexpr s32 c32_add_c32_c32_sat(s32 a, s32 b) { return part_by_part(a, b, s16_add_s16_s16_sat); }
constexpr s32 c32_sub_c32_c32_sat(s32 a, s32 b) { return part_by_part(a, b, s16_sub_s16_s16_sat); }

constexpr s32 c32_avrg_c32_c32_rnd(s32 a, s32 b) {
    return part_by_part(a, b, [](s16 x, s16 y) { return low_s16(convergent_half(x + y)); });
}
// Only the difference of the two extremes, halved, leaves its type.
constexpr s32 c32_avrg_c32_c32neg_rnd(s32 a, s32 b) {
    return part_by_part(
        a, b, [](s16 x, s16 y) { return ARM_s16_saturate_s32(low_s32(convergent_half(x - y))); });
}
constexpr s64 s64_complex_average_s64_s64(s64 a, s64 b) {
    return part_by_part(a, b, [](s32 x, s32 y) { return low_s32(convergent_half(s64{x} + y)); });
}
constexpr s64 s64_complex_neg_average_s64_s64_sat(s64 a, s64 b) {
    return part_by_part(
        a, b, [](s32 x, s32 y) { return ARM_s32_saturate_s64(convergent_half(s64{x} - y)); });
}

constexpr s32 s32_complex_conjugate_sat_s32(s32 a) {
    return c32_complex_s16_s16(real_part(a), s16_sub_s16_s16_sat(0, imaginary_part(a)));
}

// --- Q15 products ---------------------------------------------------------------------------

constexpr s32 product_real_q31(s32 a, s32 b) {
    const s32 difference =
        ARM_s32_sub_s32_s32_sat(real_part(a) * real_part(b), imaginary_part(a) * imaginary_part(b));
    return ARM_s32_shl_s32_sat(difference, 1);
}
constexpr s32 product_imaginary_q31(s32 a, s32 b) {
    const s32 sum =
        ARM_s32_add_s32_s32_sat(real_part(a) * imaginary_part(b), imaginary_part(a) * real_part(b));
    return ARM_s32_shl_s32_sat(sum, 1);
}
constexpr s64 c64_mult_c32_c32(s32 a, s32 b) {
    return c64_complex(product_real_q31(a, b), product_imaginary_q31(a, b));
}
constexpr s32 c32_mult_c32_c32(s32 a, s32 b) {
    return c32_complex_s16_s16(ARM_s16_round_s32_sat(product_real_q31(a, b)),
                               ARM_s16_round_s32_sat(product_imaginary_q31(a, b)));
}
constexpr s32 c32_mult_c32_c32conj(s32 a, s32 b) {
    return c32_mult_c32_c32(a, s32_complex_conjugate_sat_s32(b));
}

// One saturation, after the rounding term is in.
constexpr s16 doubled_rounded_high(s64 sum) { return s16_extract_s64_h_sat(2 * sum + 0x8000); }
constexpr s32 s32_complex_mult_rnd_sat_s32_s32(s32 a, s32 b) {
    const s64 re = s64{real_part(a)} * real_part(b) - imaginary_part(a) * imaginary_part(b);
    const s64 im = s64{real_part(a)} * imaginary_part(b) + imaginary_part(a) * real_part(b);
    return c32_complex_s16_s16(doubled_rounded_high(re), doubled_rounded_high(im));
}

constexpr s32 c32_mult_c32_s16_shift_sat(s32 a, s16 s, s32 n) {
    const auto part = [=](s16 x) {
        return ARM_s16_round_s32_sat(ARM_s32_shl_s32_sat(ARM_s32_mult_s16_s16_shift_sat(x, s), n));
    };
    return c32_complex_s16_s16(part(real_part(a)), part(imaginary_part(a)));
}
constexpr s32 c32_mult_c32_s32_shift_sat(s32 a, s32 w, s32 n) {
    const auto part = [=](s16 x) {
        return ARM_s16_round_s32_sat(ARM_s32_shl_s32_sat(ARM_s32_mult_s32_s16_rnd_sat(w, x), n));
    };
    return c32_complex_s16_s16(part(real_part(a)), part(imaginary_part(a)));
}
constexpr s64 c64_mult_c32_s16_sat(s32 a, s16 s) {
    return c64_complex(ARM_s32_mult_s16_s16_shift_sat(real_part(a), s),
                       ARM_s32_mult_s16_s16_shift_sat(imaginary_part(a), s));
}

// --- Q31 x Q15 products ---------------------------------------------------------------------

constexpr s64 c64_mult_c64_s16_shift_sat(s64 x, s16 s, s32 n) {
    return c64_complex(ARM_s32_shl_s32_sat(ARM_s32_mult_s32_s16_rnd_sat(real_part(x), s), n),
                       ARM_s32_shl_s32_sat(ARM_s32_mult_s32_s16_rnd_sat(imaginary_part(x), s), n));
}

constexpr s64 c64_mult_c64_c32_rnd_sat(s64 x, s32 w) {
    const auto m = [](s32 a, s16 b) { return ARM_s32_mult_s32_s16_rnd_sat(a, b); };
    const s32 xr = real_part(x), xi = imaginary_part(x);
    const s16 wr = real_part(w), wi = imaginary_part(w);
    return c64_complex(ARM_s32_sub_s32_s32_sat(m(xr, wr), m(xi, wi)),
                       ARM_s32_add_s32_s32_sat(m(xr, wi), m(xi, wr)));
}

// The form that adds the product of the negated imaginary part. Its one saturating product is taken
// as what it stands for, 2^31, before the sum is saturated.
template <class Add> constexpr s64 mult_with_negated_imaginary(s64 x, s32 w, Add add) {
    const auto m = [](s32 a, s16 b) { return ARM_s32_mult_s32_s16_rnd_sat(a, b); };
    const s32 xr = real_part(x), xi = imaginary_part(x);
    const s16 wr = real_part(w), wi = imaginary_part(w);
    const s32 re = add(m(xr, wr), m(ARM_s32_neg_s32_sat(xi), wi));
    const bool is_unit = xr == s32_min && wi == s16_min;
    const s32 im =
        is_unit ? ARM_s32_saturate_s64(m(xi, wr) + (s64{1} << 31)) : add(m(xi, wr), m(xr, wi));
    return c64_complex(re, im);
}
constexpr s64 c64_mult_c64_c32_rnd_sat_q6(s64 x, s32 w) {
    return mult_with_negated_imaginary(x, w,
                                       [](s32 a, s32 b) { return ARM_s32_add_s32_s32_sat(a, b); });
}
constexpr s64 s64_complex_mult_rnd_sat_s64_s32(s64 x, s32 w) {
    return mult_with_negated_imaginary(x, w, [](s32 a, s32 b) { return wrap_add(a, b); });
}

constexpr s64 c64_mult_c64_c64_shift(s64 a, s64 b, s32 n) {
    const auto reduced = [=](s64 p, s64 q) {
        return ARM_s32_saturate_s64(wrap_add(shift(wrap_add(p, q), s64{n} - 31), s64{1}) >> 1);
    };
    const s64 ar = real_part(a), ai = imaginary_part(a), br = real_part(b), bi = imaginary_part(b);
    return c64_complex(reduced(ar * br, -(ai * bi)), reduced(ai * br, ar * bi));
}

// --- Bits and lanes -------------------------------------------------------------------------

constexpr s32 s32_bitrev_s32(s32 x, s32 n) {
    u32 reversed = 0;
    const s32 bits = n > 32 ? 32 : n;
    for (s32 i = 0; i < bits; ++i) reversed = reversed << 1 | (static_cast<u32>(x) >> i & 1);
    return static_cast<s32>(reversed);
}

constexpr s16 lane(s64 v, int k) { return low_s16(v >> 16 * k); }

template <class F> constexpr s64 for_each_lane(F f) {
    u64 v = 0;
    for (int k = 0; k < 4; ++k) v |= u64{static_cast<u16>(f(k))} << 16 * k;
    return static_cast<s64>(v);
}
constexpr s64 v64_vaddh_v64_v64_sat(s64 a, s64 b) {
    return for_each_lane([=](int k) { return s16_add_s16_s16_sat(lane(a, k), lane(b, k)); });
}
constexpr s64 v64_vsubh_v64_v64_sat(s64 a, s64 b) {
    return for_each_lane([=](int k) { return s16_sub_s16_s16_sat(lane(a, k), lane(b, k)); });
}
constexpr s64 v64_vasrh_v64(s64 v, s32 n) {
    return for_each_lane([=](int k) { return low_s16(shift(lane(v, k), -s64{n})); });
}
constexpr s64 v64_vsplath_s32(s32 x) {
    return for_each_lane([=](int) { return low_s16(x); });
}
constexpr s64 v64_vmpyh_v32_v32_sat(s32 a, s32 b) {
    return c64_complex(real_part(a) * real_part(b), imaginary_part(a) * imaginary_part(b));
}
constexpr s64 s64_vrmpyhacc_v64_v64(s64 acc, s64 a, s64 b) {
    for (int k = 0; k < 4; ++k) acc = wrap_add(acc, lane(a, k) * s64{lane(b, k)});
    return acc;
}

// Words of a times every other lane of b, from first on; each product keeps 32 bits.
constexpr s64 multiply_words_by_lanes(s64 acc, s64 a, s64 b, int first) {
    const s32 low = low_s32(s64{real_part(a)} * lane(b, first));
    const s32 high = low_s32(s64{imaginary_part(a)} * lane(b, first + 2));
    return wrap_add(wrap_add(acc, s64{low}), s64{high});
}
constexpr s64 s64_vrmpywehacc_v64_v64(s64 acc, s64 a, s64 b) {
    return multiply_words_by_lanes(acc, a, b, 0);
}
constexpr s64 s64_vrmpywohacc_v64_v64(s64 acc, s64 a, s64 b) {
    return multiply_words_by_lanes(acc, a, b, 1);
}

} // namespace earshot

#endif
