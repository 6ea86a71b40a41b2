// Filters of a direction for frames that fill the block: 128 taps, none of them before the sound.
#include <earshot/head.h>

#include "fft/real.hpp"
#include "head/gain.hpp"
#include "kernel/saturate.hpp"

#include <string.h>

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
    for (s32 i = 0; i < points; ++i) filter[i] = shift_left_sat32(spectrum[i], lowered);
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_head_shorten(earshot_filter_pair *pair) {
    using namespace earshot;
    if (pair == nullptr) return EARSHOT_BAD_MEMORY;
    u64 most = 0;
    for (auto &filter : pair->ear) {
        keep_taps(filter);
        const u64 square = largest_square(filter);
        if (square > most) most = square;
    }
    pair->gain = least_bound(most);
    return EARSHOT_OK;
}

} // extern "C"
