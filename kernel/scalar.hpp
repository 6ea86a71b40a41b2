// The scalar operations of the public kernel interface, inline for the rest of the library.
// include/earshot/kernel.h says what each computes; the comments here say why it is done this way.
#ifndef EARSHOT_KERNEL_SCALAR_HPP
#define EARSHOT_KERNEL_SCALAR_HPP

#include "kernel/saturate.hpp"

#include <earshot/kernel.h>

#include <bit>

namespace earshot {

// --- Sums -----------------------------------------------------------------------------------

constexpr s16 s16_add_s16_s16_sat(s16 a, s16 b) { return ARM_s16_saturate_s32(a + b); }
constexpr s16 s16_sub_s16_s16_sat(s16 a, s16 b) { return ARM_s16_saturate_s32(a - b); }
constexpr s32 ARM_s32_add_s32_s32_sat(s32 a, s32 b) { return ARM_s32_saturate_s64(s64{a} + b); }
constexpr s32 ARM_s32_sub_s32_s32_sat(s32 a, s32 b) { return ARM_s32_saturate_s64(s64{a} - b); }
constexpr s32 ARM_s32_neg_s32_sat(s32 a) { return ARM_s32_saturate_s64(-s64{a}); }
constexpr u16 ARM_u16_abs_s16_sat(s16 a) {
    return static_cast<u16>(ARM_s16_saturate_s32(a < 0 ? -a : a));
}

// Raises the sticky flag, the only arithmetic that does. The flag is reached under its exported
// name, so that a program that names giOverflow sees the change.
inline u32 u32_abs_s32_sat(s32 a) {
    if (a == s32_min) {
        giOverflow = 1;
        return s32_max;
    }
    return magnitude(a);
}

// --- Halves ---------------------------------------------------------------------------------

constexpr s16 ARM_s16_extract_s32_l(s32 a) { return low_s16(a); }
constexpr s16 ARM_s16_extract_s32_h(s32 a) { return low_s16(a >> 16); }
constexpr s16 ARM_s16_round_s32_sat(s32 a) {
    return ARM_s16_extract_s32_h(ARM_s32_add_s32_s32_sat(a, 0x8000));
}
constexpr s16 s16_extract_s64_h_rnd(s64 x) { return low_s16(wrap_add(low_s32(x), 0x8000) >> 16); }
constexpr s16 s16_extract_s64_h_sat(s64 x) {
    return ARM_s16_extract_s32_h(ARM_s32_saturate_s64(x));
}
constexpr s32 s32_deposit_s16_l(s16 a) { return a; }
constexpr s32 s32_deposit_s16_h(s16 a) { return low_s32(shift_left(a, 16)); }

// --- Counting bits --------------------------------------------------------------------------

constexpr s32 s32_cl0_s32(s32 a) { return std::countl_zero(static_cast<u32>(a)); }
constexpr s32 s32_cl1_s32(s32 a) { return std::countl_one(static_cast<u32>(a)); }
constexpr s32 s32_cl0_s64(s64 x) { return std::countl_zero(static_cast<u64>(x)); }
constexpr s32 s32_cl1_s64(s64 x) { return std::countl_one(static_cast<u64>(x)); }
constexpr u32 cl0(s32 a) { return static_cast<u32>(s32_cl0_s32(a)); }

constexpr s16 ARM_s16_norm_s32(s32 a) {
    return low_s16(a == 0 ? 0 : (a < 0 ? s32_cl1_s32(a) : s32_cl0_s32(a)) - 1);
}
constexpr s16 ARM_s16_norm_s16(s16 a) {
    return a == 0 ? s16{0} : low_s16(ARM_s16_norm_s32(a) - 16);
}
constexpr s16 s16_norm_s64(s64 x) {
    return low_s16(x == 0 ? 0 : (x < 0 ? s32_cl1_s64(x) : s32_cl0_s64(x)) - 1 - 32);
}

// --- Products -------------------------------------------------------------------------------

constexpr s32 ARM_s32_mult_s16_s16(s16 a, s16 b) { return a * b; }
constexpr s32 ARM_s32_mult_s16_u16(s16 a, u16 b) { return a * b; }
constexpr u32 ARM_u32_mult_u16_u16(u16 a, u16 b) { return u32{a} * b; }
constexpr s64 ARM_s64_mult_s32_s32(s32 a, s32 b) { return s64{a} * b; }
constexpr s64 ARM_s64_mult_s32_s16(s32 a, s16 b) { return s64{a} * b; }
constexpr u64 u64_mult_u32_u32(u32 a, u32 b) { return u64{a} * b; }

constexpr s32 ARM_s32_mult_s16_s16_shift_sat(s16 a, s16 b) {
    return ARM_s32_saturate_s64(2 * s64{a} * b);
}
constexpr s16 s16_mult_s16_s16_shift_sat(s16 a, s16 b) {
    return ARM_s16_extract_s32_h(ARM_s32_mult_s16_s16_shift_sat(a, b));
}

// The halves saturate one by one: with b = -32768 the result can be one below the 48-bit product
// rounded as a whole. The low product cannot reach a bound.
constexpr s32 ARM_s32_mult_s32_s16_rnd_sat(s32 a, s16 b) {
    const s32 high = ARM_s32_saturate_s64(2 * (s64{a} >> 16) * b);
    const s32 low = ((a & 0xFFFF) * b + 0x4000) >> 15;
    return ARM_s32_add_s32_s32_sat(low, high);
}

constexpr s32 s32_mult_s32_s32_rnd_sat(s32 a, s32 b) {
    return ARM_s32_saturate_s64((s64{a} * b + 0x8000) >> 16);
}

constexpr s32 s32_mls_s32_s16_sat(s32 x, s16 y) {
    return ARM_s32_saturate_s64((s64{x & 0xFFFF} * y >> 15) + (s64{x} >> 16) * y);
}

// A product shifted right by width - n; beyond n = width no result is defined, 0 shifts are done.
constexpr s64 shift_product(s64 product, s32 width, s32 n) {
    return n >= width ? product : shift_right(product, s64{width} - n);
}
constexpr s64 s64_mult_s32_s32_shift(s32 a, s32 b, s32 n) {
    return shift_product(s64{a} * b, 32, n);
}
constexpr s64 s64_mult_s32_u32_shift(s32 a, u32 b, s32 n) {
    return shift_product(s64{a} * b, 32, n);
}
constexpr s64 s64_mult_s32_s16_shift(s32 a, s16 b, s32 n) {
    return shift_product(s64{a} * b, 16, n);
}
constexpr s64 s64_mult_s32_u16_shift(s32 a, u16 b, s32 n) {
    return shift_product(s64{a} * b, 16, n);
}
constexpr s64 s64_mult_u32_s16_shift(u32 a, s16 b, s32 n) {
    return shift_product(s64{a} * b, 16, n);
}

constexpr s64 low_halves_product(s64 a, s64 b) { return (a & 0xFFFF) * (b & 0xFFFF); }
constexpr s64 s64_mult_lp_s32_s32_shift(s32 a, s32 b, s32 n) {
    return shift_product(s64{a} * b - low_halves_product(a, b), 32, n);
}
constexpr s64 s64_mult_lp_s32_u32_shift(s32 a, u32 b, s32 n) {
    return shift_product(s64{a} * b - low_halves_product(a, b), 32, n);
}

constexpr s64 s64_mult_s16_s16_shift(s16 a, s16 b, s32 n) { return shift(a * b, n); }
constexpr s64 s64_mult_s16_u16_shift(s16 a, u16 b, s32 n) { return shift(a * b, n); }
constexpr s64 s64_mult_u16_u16_shift(u16 a, u16 b, s32 n) { return shift(u32{a} * b, n); }

// --- Multiply and accumulate ----------------------------------------------------------------

constexpr s64 s64_mac_s32_s32(s64 acc, s32 a, s32 b) { return wrap_add(acc, s64{a} * b); }
constexpr s64 s64_mac_s64_s16_s16_s1(s64 acc, s16 a, s16 b) {
    return wrap_add(acc, 2 * s64{a} * b);
}
constexpr s64 s64_mac_s64_s16_s16_shift(s64 acc, s16 a, s16 b, s32 n) {
    return wrap_add(acc, s64_mult_s16_s16_shift(a, b, n));
}
constexpr s64 s64_mac_s64_s16_s16_shift_sat(s64 acc, s16 a, s16 b, s32 n) {
    return ARM_s32_saturate_s64(s64_mac_s64_s16_s16_shift(acc, a, b, n));
}
constexpr s32 s32_mac_s32_s16_s16_sat(s32 acc, s16 a, s16 b) {
    return ARM_s32_saturate_s64(acc + s64{a} * b);
}
// -32768 squared and doubled wraps to -2^31 before it is subtracted.
constexpr s32 s32_msu_s32_s16_s16_sat(s32 acc, s16 a, s16 b) {
    const s32 doubled = low_s32(2 * s64{a} * b);
    return ARM_s32_saturate_s64(s64{acc} - doubled);
}
constexpr s16 s16_mac_s32_s16_s16_sat_rnd(s32 acc, s16 a, s16 b) {
    return ARM_s16_round_s32_sat(s32_mac_s32_s16_s16_sat(acc, a, b));
}
constexpr s16 s16_msu_s32_s16_s16_sat_rnd(s32 acc, s16 a, s16 b) {
    return ARM_s16_round_s32_sat(s32_msu_s32_s16_s16_sat(acc, a, b));
}
constexpr s32 s32_mac_s32_s32_s1_sat(s32 acc, s32 a, s32 b) {
    return ARM_s32_saturate_s64(acc + (s64{a} * b >> 31));
}
constexpr s32 s32_mac_s32_s32_s1_rnd_sat(s32 acc, s32 a, s32 b) {
    return ARM_s32_saturate_s64(acc + ((s64{a} * b + 0x40000000) >> 31));
}

// --- Shifts that round or accumulate --------------------------------------------------------

constexpr bool is_imm5(s32 n) { return n >= 0 && n < 32; }

constexpr s32 s32_accu_asr_s32_imm5(s32 acc, s32 a, s32 n) {
    return is_imm5(n) ? wrap_add(acc, a >> n) : acc;
}
constexpr s32 s32_accu_asl_s32_imm5(s32 acc, s32 a, s32 n) {
    return is_imm5(n) ? wrap_add(acc, low_s32(shift_left(a, n)))
                      : ARM_s32_saturate_s64(s64{acc} + (a > 0 ? s32_max : s32_min));
}

// a >> n rounded half up by adding the last bit shifted out, n >= 1.
constexpr s64 shift_right_rounded(s64 a, s32 n) {
    return shift_right(a, n) + (shift_right(a, n - 1) & 1);
}
constexpr s32 s32_shl_s32_rnd_sat(s32 a, s32 n) {
    if (n >= 0) return ARM_s32_shl_s32_sat(a, n);
    return n < -31 ? 0 : low_s32(shift_right_rounded(a, -n));
}
constexpr s16 s16_shl_s16_sat_rnd(s16 a, s32 n) {
    if (n >= 0) return ARM_s16_shl_s16_sat(a, n);
    return n < -15 ? s16{0} : low_s16(shift_right_rounded(a, -n));
}
constexpr s32 L_shift_r(s32 a, s32 n) {
    const s16 count = low_s16(n);
    return count >= 0 ? ARM_s32_shl_s32_sat(a, count) : low_s32(shift_right_rounded(a, -count));
}

// --- Division -------------------------------------------------------------------------------

// The remainder needs more than 16 bits when the denominator is above 2^14. It saturates at 32 so
// that operands outside the contract do no harm.
constexpr s16 ARM_s16_div_s16_s16_sat(s16 num, s16 den) {
    s32 remainder = num;
    s32 quotient = 0;
    for (int bit = 0; bit < 15; ++bit) {
        remainder = ARM_s32_shl_s32_sat(remainder, 1);
        quotient *= 2;
        if (remainder >= den) {
            remainder = ARM_s32_sub_s32_s32_sat(remainder, den);
            ++quotient;
        }
    }
    return low_s16(quotient);
}

// --- Change helpers -------------------------------------------------------------------------

constexpr u32 changed(u32 a, u32 b) { return a != b; }
constexpr u32 change_if_valid(u32 old, u32 updated) {
    return updated == 0xFFFFFFFF ? old : updated;
}

template <class T> constexpr u32 clip(T *value, T lo, T hi) {
    if (*value < lo) return *value = lo, 1;
    if (*value > hi) return *value = hi, 1;
    return 0;
}

} // namespace earshot

#endif
