// Filters of a direction for frames that fill the block: 128 taps, none of them before the sound.
#include "head/gain.hpp"
#include "head/response.hpp"
#include "kernel/saturate.hpp"

namespace earshot {
namespace {

constexpr u32 taps = 128;

void keep_taps(s32 *filter) {
    s32 bins[filter_words + 2];
    change_response(filter, bins, [](s32 *samples) {
        memset(samples + taps, 0, (filter_words - taps) * sizeof *samples);
    });
    bins[1] = bins[filter_words];
    for (u32 i = 0; i < filter_words; ++i) filter[i] = shift_left_sat32(bins[i], response_lowered);
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_head_shorten(earshot_filter_pair *pair) {
    if (pair == nullptr) return EARSHOT_BAD_MEMORY;
    for (s32 *filter : pair->ear) earshot::keep_taps(filter);
    pair->gain = earshot::least_gain(*pair);
    return EARSHOT_OK;
}

} // extern "C"
