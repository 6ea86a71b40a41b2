// Filters sources with those of a head for exactly the directions that they are in. A source that
// moves gets new filters in every frame, which fades over to them from its first sample to its
// last. A source that jumps glides there in five frames (10 ms).
#pragma once

#include <array>

#include "scene/rendering/following_engine.hpp"

namespace earshot_scene {

class head_engine : public following_engine {
  public:
    // frame_length: 96, or 128 where no source ever moves.
    head_engine(shared_head head, std::size_t sources, std::size_t frame_length,
                std::optional<int> guard);

    void place(std::size_t source, s32 azimuth, s32 elevation) override;
    void place_everywhere(std::size_t source) override;
    int process(const s32 *const *windows, s32 *ears) override;

  private:
    struct placement {
        s32 azimuth = 0; // where it is at the end of the last frame
        s32 elevation = 0;
        s32 target_azimuth = 0; // where it is going
        s32 target_elevation = 0;
        s64 last_turn = 0; // how it has come there
        s64 last_rise = 0;
        int frames_left = 0;
        bool placed = false;
        int filters = 0; // which of the two the last frame ended with
    };

    void advance(std::size_t source);
    void filter(std::size_t source);

    shared_head head_;
    std::vector<placement> sources_;
    // Two for every source: a frame fades from the one to the other. Whole lines of a cache.
    struct alignas(64) aligned_pair : earshot_filter_pair {};
    std::vector<std::array<aligned_pair, 2>> filters_;
    std::optional<aligned_pair> everywhere_;
};

} // namespace earshot_scene
