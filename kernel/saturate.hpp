// Clamping, wrapping and shifting without undefined behaviour: the ground that all other
// arithmetic of the library stands on. The functions with names of the public interface are
// exported from kernel/exports.cpp.
#ifndef EARSHOT_KERNEL_SATURATE_HPP
#define EARSHOT_KERNEL_SATURATE_HPP

#include <earshot/types.h>

namespace earshot {

inline constexpr s16 s16_min = -32768;
inline constexpr s16 s16_max = 32767;
inline constexpr s32 s32_min = -2147483647 - 1;
inline constexpr s32 s32_max = 2147483647;
inline constexpr s64 s64_max = INT64_MAX;

constexpr s16 low_s16(s64 x) { return static_cast<s16>(x); }
constexpr s32 low_s32(s64 x) { return static_cast<s32>(x); }

constexpr s32 wrap_add(s32 a, s32 b) {
    return static_cast<s32>(static_cast<u32>(a) + static_cast<u32>(b));
}
constexpr s32 wrap_sub(s32 a, s32 b) {
    return static_cast<s32>(static_cast<u32>(a) - static_cast<u32>(b));
}
constexpr s64 wrap_add(s64 a, s64 b) {
    return static_cast<s64>(static_cast<u64>(a) + static_cast<u64>(b));
}
constexpr s64 wrap_sub(s64 a, s64 b) {
    return static_cast<s64>(static_cast<u64>(a) - static_cast<u64>(b));
}

constexpr s16 ARM_s16_saturate_s32(s32 a) {
    return a > s16_max ? s16_max : a < s16_min ? s16_min : static_cast<s16>(a);
}
constexpr s32 ARM_s32_saturate_s64(s64 a) {
    return a > s32_max ? s32_max : a < s32_min ? s32_min : static_cast<s32>(a);
}

// The bound of the sign of x, or 0: what a non-zero value saturates to when it is shifted out.
constexpr s32 s32_bound_of(s64 x) { return x == 0 ? 0 : x > 0 ? s32_max : s32_min; }

// Magnitude as an unsigned value, so that the smallest operand has one as well.
constexpr u32 magnitude(s32 x) { return x < 0 ? 0u - static_cast<u32>(x) : static_cast<u32>(x); }
constexpr u64 magnitude(s64 x) {
    return x < 0 ? u64{0} - static_cast<u64>(x) : static_cast<u64>(x);
}

// Counts are s64 in these three, so that callers may negate or offset any s32 count first.

// x >> n for n >= 0; the sign fill from 64 on.
constexpr s64 shift_right(s64 x, s64 n) { return x >> (n > 63 ? 63 : n); }

// x << n, wrapping, for n >= 0; 0 from 64 on.
constexpr s64 shift_left(s64 x, s64 n) {
    return n > 63 ? 0 : static_cast<s64>(static_cast<u64>(x) << n);
}

// Wrapping shift to the left by n, for negative n arithmetic to the right.
constexpr s64 shift(s64 x, s64 n) { return n > 0 ? shift_left(x, n) : shift_right(x, -n); }

// sat32(x << n) for n >= 0 and any x.
constexpr s32 shift_left_sat32(s64 x, s64 n) {
    if (n > 31) return s32_bound_of(x);
    return x > (s64{s32_max} >> n)   ? s32_max
           : x < (s64{s32_min} >> n) ? s32_min
                                     : static_cast<s32>(static_cast<u64>(x) << n);
}

constexpr s32 ARM_s32_shl_s32_sat(s32 a, s64 n) {
    return n >= 0 ? shift_left_sat32(a, n) : low_s32(shift_right(a, -n));
}
constexpr s32 ARM_s32_shr_s32_sat(s32 a, s64 n) { return ARM_s32_shl_s32_sat(a, -n); }

constexpr s16 ARM_s16_shl_s16_sat(s16 a, s64 n) {
    return n >= 0 ? ARM_s16_saturate_s32(shift_left_sat32(a, n)) : low_s16(shift_right(a, -n));
}
constexpr s16 ARM_s16_shr_s16_sat(s16 a, s64 n) { return ARM_s16_shl_s16_sat(a, -n); }

} // namespace earshot

#endif
