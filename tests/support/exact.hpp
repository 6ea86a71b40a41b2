/* Exact arithmetic for the definitions that tests compare with: plain steps, no shift operators. */
#ifndef EARSHOT_TESTS_SUPPORT_EXACT_HPP
#define EARSHOT_TESTS_SUPPORT_EXACT_HPP

#include <earshot/types.h>

#include <algorithm>

namespace earshot::test {

constexpr s64 min32 = INT32_MIN, max32 = INT32_MAX;

constexpr s64 clamp16(s64 v) { return std::clamp<s64>(v, -32768, 32767); }
constexpr s64 clamp32(s64 v) { return std::clamp(v, min32, max32); }

/* v modulo 2^32 as a signed number, in either type; sums modulo 2^64; quotients toward minus
 * infinity. */
constexpr s32 wrap(s64 v) { return static_cast<s32>(v); }
constexpr s64 wrap32(s64 v) { return wrap(v); }
constexpr s64 sum64(s64 v, s64 w) {
    return static_cast<s64>(static_cast<u64>(v) + static_cast<u64>(w));
}
constexpr s64 floor_div(s64 v, s64 d) { return v / d - (v % d < 0 ? 1 : 0); }

/* floor(v 2^n), exact up to a magnitude of 2^40 and at least that beyond; the same modulo 2^64. */
constexpr s64 scaled(s64 v, s64 n) {
    constexpr s64 enough = s64{1} << 40;
    for (; n < 0 && v != 0 && v != -1; ++n) v = (v - (v & 1)) / 2;
    for (; n > 0 && v != 0 && v < enough && v > -enough; --n) v *= 2;
    return v;
}
constexpr s64 scaled64(s64 v, s64 n) {
    for (; n > 0 && v != 0; --n) v = sum64(v, v);
    return scaled(v, std::min<s64>(n, 0));
}

/* floor(v 2^n + 1/2) in two steps, modulo 2^64: the last bit falls after one was added. */
constexpr s64 rounded64(s64 v, s64 n) { return scaled(sum64(scaled64(v, n + 1), 1), -1); }

/* The high half of v, rounded half up and saturated. */
constexpr s64 high_rounded(s64 v) { return scaled(clamp32(v + 0x8000), -16); }

/* Q31 x Q15 by halves of a. */
constexpr s64 mult_halves(s64 a, s64 b) {
    const s64 high = clamp32(2 * scaled(a, -16) * b);
    return clamp32(scaled(clamp32((a & 0xFFFF) * b + 0x4000), -15) + high);
}

} // namespace earshot::test

#endif
