// Makes an ambisonic field (ACN, SN3D) of sources at directions, a frame at a time. The gains of
// what moves go in straight lines from where it is at the beginning of a frame to where it is at
// the end; what jumps glides.
//
// Every product of a sample and a gain (Q31, Q30) is added up whole, and the sum is rounded once.
// So that no sum leaves its 64 bits, samples are lowered before in a frame in which the peaks of
// all sources add up to four times full scale or more: by a bit, and one more for every doubling.
#pragma once

#include <array>
#include <vector>

#include <earshot/field.h>

#include "scene/rendering/gliding_placement.hpp"
#include "scene/rendering/source_placer.hpp"

namespace earshot_scenes {

class field_mixer : public source_placer {
  public:
    static constexpr std::size_t frame_length = 96;

    // Order 1 to 4.
    field_mixer(int order, std::size_t sources);

    std::size_t channels() const { return channels_; }

    bool is_continuous() const override { return true; }
    std::size_t placed_at() const override { return frame_length; }
    void place(std::size_t source, s32 azimuth, s32 elevation) override;
    void stays(std::size_t source) override { sources_[source].placement.stay(); }
    // From no direction: of all channels, W alone.
    void place_everywhere(std::size_t source) override;
    void skip_frame() override;
    void forget_places() override;
    bool knows_enough() const override;

    // samples: frame_length of every source, Q31, source after source. field: as many interleaved
    // frames of words, which times 2^(what is returned) are Q31. The exponent is never below
    // lowest_exponent; where it is below 0 words are cut, not rounded, so that whoever rounds them
    // to whole units of Q31 rounds the sum itself.
    static constexpr int lowest_exponent = -8;
    int process(const s32 *samples, s32 *field);

  private:
    using gains = std::array<s32, EARSHOT_FIELD_CHANNELS>; // Q30

    struct placed_source {
        gliding_placement placement;
        gains begin{}; // of a frame, and its end
        gains end{};
        bool started = false;
    };

    void advance(placed_source &source) const;
    void add(const placed_source &source, const s32 *samples);
    void add_lowered(const placed_source &source, const s32 *samples, int bits);
    int exponent(int fraction_bits) const;
    void write(int shift, bool rounded, s32 *field) const;

    u32 order_;
    std::size_t channels_;
    std::vector<placed_source> sources_;
    std::vector<s64> sums_; // channel after channel
};

} // namespace earshot_scenes
