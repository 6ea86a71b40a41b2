// Filters as responses: what is done to their samples.
#ifndef EARSHOT_HEAD_RESPONSE_HPP
#define EARSHOT_HEAD_RESPONSE_HPP

#include "fft/real.hpp"
#include "head/format.hpp"

#include <string.h>

namespace earshot {

// Taps add up, without their signs, to less than 16 in Q29 in any filter of a head: three bits less
// leave the transform its room.
constexpr s32 response_lowered = 3;

// The bins of a filter, Q29, once change(samples) has been made to its 256 samples: 0 to 128, each
// with a word for the imaginary part, lower by these bits.
template <class Change>
void change_response(const s32 *filter, s32 (&bins)[filter_words + 2], const Change &change) {
    constexpr s32 points = filter_words;
    s32 samples[points];
    memcpy(bins, filter, sizeof samples);
    bins[points] = bins[1]; // Nyquist, from where it shares an entry with DC
    bins[1] = bins[points + 1] = 0;
    rifft_32x32_scaled(bins, points, samples);
    change(samples);
    rfft_of_shifted(samples, response_lowered, points, bins);
}

} // namespace earshot

#endif
