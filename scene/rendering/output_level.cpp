#include "scene/rendering/output_level.hpp"

#include <algorithm>

namespace earshot_scenes {

namespace {

constexpr int mantissa_bits = 30;
constexpr int widest_shift = 62; // beyond it only the sign of a product is left

// A positive number with 64 significant bits: mantissa (Q63, 1 to 2) * 2^exponent.
struct wide_number {
    u64 mantissa;
    int exponent;
};

u64 upper_product(u64 a, u64 b) {
    constexpr u64 low = 0xFFFFFFFF;
    const u64 first = (a >> 32) * (b & low) + ((a & low) * (b & low) >> 32);
    const u64 second = (a & low) * (b >> 32) + (first & low);
    return (a >> 32) * (b >> 32) + (first >> 32) + (second >> 32);
}

wide_number operator*(const wide_number &a, const wide_number &b) {
    const u64 product = upper_product(a.mantissa, b.mantissa); // Q62, 1 to 4
    const int exponent = a.exponent + b.exponent;
    if (product >> 63 != 0) return {product, exponent + 1};
    return {product << 1, exponent};
}

wide_number divided(wide_number a, u64 divisor) {
    a.mantissa /= divisor;
    while (a.mantissa >> 63 == 0) {
        a.mantissa <<= 1;
        --a.exponent;
    }
    return a;
}

} // namespace

// Squaring the step 10^(1/20000) and multiplying where the number has a bit gives the gain from
// -120 dB up; 43 bits of it are exact after the division by a million, 31 are kept.
output_level output_level::decibels(s32 thousandths) {
    wide_number gain{u64{1} << 63, 0};
    wide_number power{9224433977931805165u, 0}; // round(10^(1/20000) * 2^63)
    for (u32 rest = static_cast<u32>(thousandths + 120000); rest != 0; rest >>= 1) {
        if (rest & 1) gain = gain * power;
        power = power * power;
    }
    gain = divided(gain, 1000000);
    const u64 rounded = (gain.mantissa >> 33) + (gain.mantissa >> 32 & 1);
    return {static_cast<u32>(rounded), gain.exponent};
}

// Division bit by bit: the quotient has more bits than a word can hold shifted up.
output_level output_level::reaching(s64 target, s64 peak) {
    int exponent = 0;
    for (; target >= 2 * peak; peak *= 2) ++exponent;
    for (; target < peak; target *= 2) --exponent;
    u32 mantissa = 0;
    for (int bit = 0; bit <= mantissa_bits; ++bit) {
        mantissa <<= 1;
        if (target >= peak) {
            target -= peak;
            mantissa |= 1;
        }
        target *= 2;
    }
    return {mantissa, exponent};
}

output_level output_level::operator*(const output_level &other) const {
    const u64 product = u64{mantissa_} * other.mantissa_; // Q60, 1 to 4
    const int carry = product >> (2 * mantissa_bits + 1) != 0 ? 1 : 0;
    return {static_cast<u32>(product >> (mantissa_bits + carry)),
            exponent_ + other.exponent_ + carry};
}

s32 output_level::apply(s32 sample, const sample_range &range, u64 &clipped) const {
    s64 product = s64{sample} * mantissa_; // 62 bits and the sign
    const int shift = mantissa_bits - exponent_;
    if (shift > 0) {
        product = rounded_shift(product, std::min(shift, widest_shift));
    } else {
        // Whatever is above the bound is out of range after any shift.
        constexpr s64 bound = s64{1} << 33;
        product = std::clamp(product, -bound, bound) * (s64{1} << std::min(-shift, 29));
    }
    const s64 inside = std::clamp(product, range.low, range.high);
    clipped += inside != product;
    return static_cast<s32>(inside);
}

// Nothing is clipped where the extremes are not: a louder sample does not become a softer one.
bool output_level::keeps_inside(const sample_extremes &extremes, const sample_range &range) const {
    u64 outside = 0;
    apply(extremes.low, range, outside);
    apply(extremes.high, range, outside);
    return outside == 0;
}

// A product of unsigned words is one that vectors have everywhere: 2^31 is added to the samples.
// What that adds to the products is filled up to whole units of the result, which are taken off
// again.
void output_level::apply_inside(const s32 *in, s32 *out, std::size_t count) const {
    const int shift = std::min(mantissa_bits - exponent_, widest_shift);
    const u64 factor = mantissa_;
    const u64 unit = u64{1} << shift;
    const u64 surplus = ((factor << 31) + unit - 1) >> shift;
    const u64 added = (surplus << shift) - (factor << 31) + unit / 2;
    for (std::size_t i = 0; i < count; ++i) {
        const u32 biased = static_cast<u32>(in[i]) ^ 0x80000000;
        const u64 product = biased * factor + added;
        out[i] = static_cast<s32>(static_cast<u32>(product >> shift) - static_cast<u32>(surplus));
    }
}

void output_level::apply(const s32 *in, s32 *out, std::size_t count,
                         const sample_extremes &extremes, const sample_range &range,
                         u64 &clipped) const {
    if (exponent_ >= mantissa_bits || !keeps_inside(extremes, range)) {
        for (std::size_t i = 0; i < count; ++i) out[i] = apply(in[i], range, clipped);
    } else if (mantissa_ != u32{1} << mantissa_bits || exponent_ != 0) {
        apply_inside(in, out, count);
    } else if (in != out) {
        std::copy_n(in, count, out);
    }
}

} // namespace earshot_scenes
