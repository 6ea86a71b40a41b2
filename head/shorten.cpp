// Filters of a direction for frames that fill the block: 128 taps, none of them before the sound.
#include <earshot/head.h>

#include "fft/real.hpp"
#include "kernel/memory.hpp"

namespace earshot {
namespace {

constexpr s32 points = 256, taps = 128;

// The taps add up, without their signs, to less than 16 in Q29 in any filter of a head; three bits
// less leave the transform its room.
constexpr s32 lowered = 3;

void keep_taps(s32 *filter) {
    s32 spectrum[points + 2], samples[points];
    memcpy(spectrum, filter, points * sizeof *filter);
    spectrum[points] = spectrum[1]; // Nyquist, from where it shares an entry with DC
    spectrum[1] = spectrum[points + 1] = 0;
    rifft_32x32_scaled(spectrum, points, samples);
    memset(samples + taps, 0, taps * sizeof *samples);
    rfft_of_shifted(samples, lowered, points, spectrum);
    spectrum[1] = spectrum[points];
    for (s32 i = 0; i < points; ++i)
        filter[i] = static_cast<s32>(static_cast<u32>(spectrum[i]) << lowered);
}

u64 square_of(s32 re, s32 im) {
    return static_cast<u64>(s64{re} * re) + static_cast<u64>(s64{im} * im);
}

u64 largest_square(const s32 *filter) {
    u64 most = square_of(filter[0], 0);
    const u64 nyquist = square_of(filter[1], 0);
    if (nyquist > most) most = nyquist;
    for (s32 i = 2; i < points; i += 2) {
        const u64 square = square_of(filter[i], filter[i + 1]);
        if (square > most) most = square;
    }
    return most;
}

// The square root, rounded up, bit by bit.
u64 root(u64 square) {
    u64 found = 0;
    for (u64 bit = u64{1} << 31; bit != 0; bit >>= 1)
        if ((found + bit) * (found + bit) < square) found += bit;
    return found + 1;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_head_shorten(earshot_filter_pair *pair) {
    using namespace earshot;
    if (pair == nullptr) return EARSHOT_BAD_MEMORY;
    u64 most = 0;
    for (s32 *filter : pair->ear) {
        keep_taps(filter);
        const u64 square = largest_square(filter);
        if (square > most) most = square;
    }
    pair->gain = static_cast<u32>((root(most) + 8191) >> 13); // from Q29 to Q16, up
    return EARSHOT_OK;
}

} // extern "C"
