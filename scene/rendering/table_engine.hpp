// Filters sources with the library's front and back end and its tables: sound comes from the
// nearest direction that was measured. Where that changes, the frame's first 32 samples fade over.
//
// Headroom: inside, sums wrap. The samples of a filter's impulse response add up, without their
// signs, to less than 2^b, so samples that are shifted down by b bits, and by one more for every
// doubling of the number of sources, cannot leave the range, whatever they are.
#pragma once

#include <bit>
#include <optional>
#include <vector>

#include <earshot/head.h>
#include <earshot/hrtf.h>

#include "scene/rendering/binaural_engine.hpp"
#include "scene/rendering/library_memory.hpp"

namespace earshot_scenes {

// The filter tables of the library by their selectors.
enum class filter_tables : u32 {
    directions = 0,
    field_channels = 2, // filters of ambisonic channels: channel k stands at azimuth k
};

// The b above: the sums are below 8 in the one tables, below 4 in the other.
constexpr int filter_gain_bits(filter_tables tables) {
    return tables == filter_tables::directions ? 3 : 2;
}

// Bits by which samples have to be shifted down.
constexpr int safe_guard(filter_tables tables, std::size_t sources) {
    return filter_gain_bits(tables) + static_cast<int>(std::bit_width(sources - 1));
}

class table_engine : public binaural_engine {
  public:
    // frame_length: 96, or 128 where no source ever moves. guard: bits, 0 to safe_guard(tables,
    // sources).
    table_engine(filter_tables tables, std::size_t sources, std::size_t frame_length, int guard);

    void place(std::size_t source, s32 azimuth, s32 elevation) override;
    void place_everywhere(std::size_t source) override;

    // The front end shifts on and drops the bits below.
    sample_lowering lowering() const override;

    int process(const s32 *const *windows, s32 *ears) override;
    void skip_frame() override;

    std::optional<int> guard() const override { return guard_; }

    // Those in which the sum of the sources' peaks after the shift, times the bound on the filters'
    // sums, reaches 2^31. There are none with the full guard, where the windows are not looked at.
    u64 unsafe_frames() const override { return unsafe_frames_; }

  private:
    void make_front(filter_tables tables, u32 sources);
    void make_back(u32 frame_length);
    bool is_unsafe(const s32 *const *windows) const;

    int guard_;
    int safe_guard_;
    int filter_gain_bits_;
    bool started_ = false;
    bool changed_ = false;
    u64 unsafe_frames_ = 0;
    library_memory front_memory_;
    library_memory back_memory_;
    library_memory front_scratch_;
    library_memory back_scratch_;
    hrtf_filt_front_instance *front_ = nullptr;
    hrtf_filt_back_instance *back_ = nullptr;
    std::vector<s32> spectra_; // of both ears
    std::optional<earshot_filter_pair> everywhere_;
};

} // namespace earshot_scenes
