// A renderer in the caller's memory: what it knows of its sources, and the working memory of a
// frame.
#ifndef EARSHOT_BINAURAL_INSTANCE_HPP
#define EARSHOT_BINAURAL_INSTANCE_HPP

#include "binaural/kernels.hpp"

#include <stddef.h>

namespace earshot {

struct binaural_source {
    const earshot_filter_pair *filters; // those of the last frame; null before the first one
    const earshot_filter_pair *next;    // those of the next frame; null until they are given
    s32 shift;                          // of the window in this frame; negative: it is silent

    bool is_silent() const { return shift < 0; }
    bool is_fading() const { return filters != next; }
};

// The spectra and then the samples of a frame by one choice of filters.
struct binaural_mix {
    both_ears spectra;
    s32 samples[2][window_length];
};

inline constexpr s32 follows = -1; // in place of the bits of a fixed headroom
inline constexpr s32 most_fixed_bits = 22;
inline constexpr u32 most_sources = 65536, most_frame_length = 128;

// Vectors are at their best where none of them lies across two cache lines.
inline constexpr size_t line_size = 64;

} // namespace earshot

// At the first whole line of the caller's memory.
struct alignas(earshot::line_size) earshot_binaural {
    s32 weights[earshot::most_frame_length]; // of what a frame fades from, Q31
    s32 spectrum[earshot::both_ears::room];  // of a source
    // By the filters that the frame ends with, and those that it begins with where any source
    // fades.
    earshot::binaural_mix after, before;
    earshot_binaural_config config;
    u32 without_filters; // sources that were never given any
    s32 fixed_bits;      // or follows
    u64 unsafe_frames;

    earshot::binaural_source *sources() {
        return reinterpret_cast<earshot::binaural_source *>(this + 1);
    }
};

#endif
