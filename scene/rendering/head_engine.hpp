// Filters sources with those of a head for exactly the directions that they are in. A source that
// moves gets new filters in every frame, which fades over to them from its first sample to its
// last. A source that jumps glides there.
#pragma once

#include <array>

#include "scene/rendering/following_engine.hpp"
#include "scene/rendering/gliding_placement.hpp"

namespace earshot_scenes {

class head_engine : public following_engine {
  public:
    // frame_length: 96, or 128 where no source ever moves.
    head_engine(shared_head head, std::size_t sources, std::size_t frame_length,
                std::optional<int> guard);

    void place(std::size_t source, s32 azimuth, s32 elevation) override;
    void stays(std::size_t source) override { sources_[source].placement.stay(); }
    void place_everywhere(std::size_t source) override;
    int process(const s32 *const *windows, s32 *ears) override;
    void skip_frame() override;
    void forget_places() override;
    bool knows_enough() const override;

  private:
    struct placed_source {
        gliding_placement placement;
        int filters = 0; // which of the two the last frame ended with
    };

    void filter(std::size_t source);

    shared_head head_;
    std::vector<placed_source> sources_;
    // Two for every source: a frame fades from the one to the other. Whole lines of a cache.
    struct alignas(64) aligned_pair : earshot_filter_pair {};
    std::vector<std::array<aligned_pair, 2>> filters_;
    std::optional<aligned_pair> everywhere_;
};

} // namespace earshot_scenes
