// What happens to a source's sound before it reaches the head: it waits for its start, loses its
// constant part, is brought to its gain, and rolls off with the distance.
#pragma once

#include <optional>
#include <vector>

#include "scene/rendering/dc_blocker.hpp"
#include "scene/rendering/distance_gain.hpp"
#include "scene/rendering/frame_source.hpp"
#include "scene/rendering/output_level.hpp"

namespace earshot_scenes {

// The largest factor by which a source's samples grow, Q20, rounded up: its gain, times two where a
// DC blocker is in its way.
s64 growth_of(const scene_source &source);

class source_chain : public frame_source {
  public:
    // input: mono, at 48000 Hz, without end for a source that loops. What comes out is lowered by
    // `headroom` bits; the growth is at most 2^headroom, so that nothing clips. All three outlive
    // the chain.
    source_chain(const scene_source &source, const scene_listener &listener, frame_source &input,
                 int headroom);

    int channels() const override { return 1; }
    int rate() const override { return scene_rate; }
    bool endless() const override { return source_.loop; }
    std::optional<s64> frames() const override;
    std::size_t read(s32 *mono, std::size_t frames) override;
    s64 skip(s64 frames) override;

  private:
    bool fill();
    s64 use(s64 frames);
    s64 skip_blocks(s64 count);
    std::optional<s64> left() const;
    s64 silence() const;
    void wait();
    void condition(s32 *mono, std::size_t frames);

    const scene_source &source_;
    frame_source &input_;
    std::optional<dc_blocker> blocker_;
    output_level level_;
    std::optional<distance_gain> rolloff_;
    std::vector<s32> block_; // what is handed out, and how much of it has been
    std::size_t used_ = 0;
    std::size_t made_ = 0;
    s64 position_ = 0; // of the end of the block
    s64 owed_ = 0;     // frames of the next block that have been skipped
    bool ended_ = false;
};

} // namespace earshot_scenes
