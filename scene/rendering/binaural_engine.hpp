// Filters sources for two ears with the library's binaural front and back end, a frame at a time.
//
// A frame takes a window of 256 samples of every source and yields the convolution of the windows
// with the sources' filters, which have 128 taps, at the window's positions from 128 on: as many as
// a frame is long. The tool has windows begin 128 samples before the frame, so that output sample n
// belongs to input sample n.
//
// Headroom: inside, sums wrap. The samples of a filter's impulse response add up, without their
// signs, to less than 2^b, so samples that are shifted down by b bits, and by one more for every
// doubling of the number of sources, cannot leave the range, whatever they are.
#pragma once

#include <bit>
#include <cstddef>
#include <vector>

#include <earshot/hrtf.h>

#include "scene/rendering/fixed_point.hpp"

namespace earshot_scene {

// The filter tables of the library by their selectors.
enum class filter_tables : u32 {
    directions = 0,
    field_channels = 2, // filters of ambisonic channels: channel k stands at azimuth k
};

inline constexpr std::size_t window_length = 256;
inline constexpr std::size_t window_lead = window_length / 2; // samples before the frame's first
inline constexpr std::size_t filter_taps = 128;
inline constexpr std::size_t most_sources = 4096;
inline constexpr int binaural_rate = 48000; // Hz

// The b above: the sums are below 8 in the one tables, below 4 in the other.
constexpr int filter_gain_bits(filter_tables tables) {
    return tables == filter_tables::directions ? 3 : 2;
}

// Bits by which samples have to be shifted down.
constexpr int safe_guard(filter_tables tables, std::size_t sources) {
    return filter_gain_bits(tables) + static_cast<int>(std::bit_width(sources - 1));
}

class binaural_engine {
  public:
    // frame_length: 96, or 128 where no source ever moves. guard: bits, 0 to safe_guard(tables,
    // sources).
    binaural_engine(filter_tables tables, std::size_t sources, std::size_t frame_length, int guard);
    // The library's instances point into memory of this object.
    binaural_engine(const binaural_engine &) = delete;
    binaural_engine &operator=(const binaural_engine &) = delete;

    std::size_t sources() const { return sources_; }
    std::size_t frame_length() const { return frame_length_; }
    int guard() const { return guard_; }
    int safe_guard() const { return safe_guard_; }

    // Direction of a source from the next frame on, degrees in Q16; every source needs one before
    // the first frame. Where that changes its filters, the frame fades over to them.
    void place(std::size_t source, s32 azimuth, s32 elevation);

    // What has to be done to a source's samples, Q31, before they get here. The front end shifts on
    // and drops the bits below.
    sample_lowering lowering() const;

    // windows: one of 256 lowered samples for every source. ears: frame_length pairs, left and
    // right, lower than the natural level by the guard bits.
    void process(const s32 *const *windows, s32 *ears);

    // Frames in which a sum could have left the range: in which the sum of the sources' peaks after
    // the shift, times the bound on the filters' sums, reaches 2^31. There are none with the full
    // guard, where the windows are not looked at.
    u64 unsafe_frames() const { return unsafe_frames_; }

  private:
    void make_front(filter_tables tables, u32 sources);
    void make_back(u32 frame_length);
    bool is_unsafe(const s32 *const *windows) const;

    std::size_t sources_;
    std::size_t frame_length_;
    int guard_;
    int safe_guard_;
    int filter_gain_bits_;
    bool started_ = false;
    bool changed_ = false;
    u64 unsafe_frames_ = 0;
    std::vector<std::max_align_t> front_memory_;
    std::vector<std::max_align_t> back_memory_;
    std::vector<std::max_align_t> front_scratch_;
    std::vector<std::max_align_t> back_scratch_;
    hrtf_filt_front_instance *front_ = nullptr;
    hrtf_filt_back_instance *back_ = nullptr;
    std::vector<s32> spectra_; // of both ears
};

} // namespace earshot_scene
