// Gains of filters in the renderer's format.
#ifndef EARSHOT_HEAD_GAIN_HPP
#define EARSHOT_HEAD_GAIN_HPP

#include "head/format.hpp"

namespace earshot {

// The largest square of an entry's modulus, Q58; of the two real gains in entry 0 each counts
// alone.
inline u64 largest_square(const s32 (&filter)[filter_words]) {
    const auto square = [](s32 x) { return static_cast<u64>(s64{x} * x); };
    u64 largest = square(filter[0]);
    if (square(filter[1]) > largest) largest = square(filter[1]);
    for (u32 i = 2; i < filter_words; i += 2) {
        const u64 sum = square(filter[i]) + square(filter[i + 1]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

// Whether a gain, Q16 and below 8, is not less than the moduli of such squares.
inline bool bounds(u32 gain, u64 square) {
    const u64 modulus = u64{gain} << 13; // Q29
    return square <= modulus * modulus;
}

// The least gain that does, bit by bit.
inline u32 least_bound(u64 square) {
    u32 below = 0;
    for (u32 bit = 1u << 18; bit != 0; bit >>= 1)
        if (!bounds(below + bit, square)) below += bit;
    return square == 0 ? 0 : below + 1;
}

// The least gain of a pair.
inline u32 least_gain(const earshot_filter_pair &pair) {
    const u64 first = largest_square(pair.ear[0]), second = largest_square(pair.ear[1]);
    return least_bound(first > second ? first : second);
}

} // namespace earshot

#endif
