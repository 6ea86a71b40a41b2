// A sample is two numbers that add up to it, upper * 2^15 + lower. Both are narrow enough for the
// library's blocker, in which differences of samples have 18 bits, and the filter is linear: the
// sum of what becomes of them is what would have become of the sample, but for rounding. The lower
// part is shifted up by two bits, which makes it as wide as the upper.
//
// The library's stage keeps its output with 14 more fraction bits than it hands out, so that it is
// the one to take. But a call for every sample costs many times the arithmetic. Here the same
// numbers are made over blocks: the output is the input less a mean of all inputs before, and
//
//     y(n) = x(n) - x(n-1) + round(a y(n-1))
//
// is, to the last bit, y(n) = x(n) - m(n) with m(n) = m(n-1) + round((1 - a) y(n-1)), where the one
// rounds halves up and the other down. x, y and m have those 14 bits from the beginning. With
// inputs from -2^30 to 2^30 the mean stays half of 1 / (1 - a) units within them, 126, and the
// output within the 32 bits: of the library's saturating steps only the difference of two inputs
// ever saturates.

#include "scene/rendering/dc_blocker.hpp"

#include <algorithm>
#include <cstdint>

#include "scene/description/scene.hpp"

namespace earshot_scenes {

namespace {

constexpr int guard_bits = 14; // of the library's stage
constexpr int lower_bits = 15;

constexpr s64 upper_part(s32 sample) {
    constexpr s64 half = 1 << (lower_bits - 1);
    return ((sample + half) >> lower_bits) * (1 << guard_bits);
}

// The 15 bits as a signed number, in the upper half of a word and one bit lower.
constexpr s64 lower_part(s32 sample) {
    return static_cast<s32>(static_cast<u32>(sample) << (32 - lower_bits)) >> 1;
}

// To the nearest, halves down.
constexpr s64 part_of(s64 share, s64 output) { return (share * output + (1 << 14) - 1) >> 15; }

// What is set in any of the samples.
s32 all_bits(const s32 *samples, std::size_t count) {
    s32 bits = 0;
    for (std::size_t i = 0; i < count; ++i) bits |= samples[i];
    return bits;
}

} // namespace

dc_blocker::dc_blocker() {
    u16 pole = 0;
    s32 input[2];
    s32 output[2];
    dc_block_handle storage{};
    dc_block_init(&pole, &storage, scene_rate, input, output);
    share_ = (1 << 15) - pole;
}

void dc_blocker::process(s32 *samples, std::size_t count) {
    if (count == 0) return;
    if (lower_mean_ == 0 && (all_bits(samples, count) & 0xFFFF) == 0)
        process_upper(samples, count);
    else
        process_both(samples, count);
}

// Of samples of 16 bits, which have no lower part.
void dc_blocker::process_upper(s32 *samples, std::size_t count) {
    const s64 share = share_;
    s64 mean = 2 * upper_mean_; // in units of the sample, which saves a shift
    const auto step = [&](s32 &sample) {
        const s64 output = (sample - mean) >> 1;
        sample = static_cast<s32>(output);
        mean += 2 * part_of(share, output);
    };
    upper_input_ = upper_part(samples[count - 1]);
    // Eight instructions each: to count them one by one would cost a third more.
    constexpr std::size_t turns = 16;
    std::size_t i = 0;
    for (; i + turns <= count; i += turns)
        for (std::size_t k = 0; k < turns; ++k) step(samples[i + k]);
    for (; i < count; ++i) step(samples[i]);
    upper_mean_ = mean >> 1;
}

void dc_blocker::process_both(s32 *samples, std::size_t count) {
    const s64 share = share_;
    s64 last = upper_input_;
    s64 upper_mean = upper_mean_;
    s64 lower_mean = lower_mean_;
    for (std::size_t i = 0; i < count; ++i) {
        const s64 input = upper_part(samples[i]);
        // The difference from the lowest input to the highest is one unit too much.
        upper_mean += input - last > INT32_MAX ? 1 : 0;
        const s64 upper = input - upper_mean;
        const s64 lower = lower_part(samples[i]) - lower_mean;
        last = input;
        upper_mean += part_of(share, upper);
        lower_mean += part_of(share, lower);
        // From units of the lower output, 2^(-2 - 14), to those of the upper, 2^(15 - 14).
        const s64 sum = upper + ((lower + (1 << 16)) >> 17);
        samples[i] = static_cast<s32>(std::clamp<s64>(sum, INT32_MIN, INT32_MAX));
    }
    upper_input_ = last;
    upper_mean_ = upper_mean;
    lower_mean_ = lower_mean;
}

} // namespace earshot_scenes
