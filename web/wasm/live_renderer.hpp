// Sounds that arrive in blocks, heard from where their sources are by then: what a live audio graph
// needs between its own blocks and the renderer's frames. After construction nothing is allocated.
#pragma once

#include <vector>

#include "scene/rendering/head_engine.hpp"

namespace earshot_web {

using earshot_scenes::shared_head;

// Where a source is: degrees in Q16, and a factor in Q26.
struct live_place {
    s32 azimuth;
    s32 elevation;
    s32 gain;

    bool operator==(const live_place &) const = default;
};

// From one place to another in as many samples as Web Audio's blocks have: where a caller sets
// places block by block, sources move in straight lines, though frames have another length.
class live_glide {
  public:
    static constexpr s32 length = 128;

    void go_to(const live_place &target);
    void advance(std::size_t samples);

    live_place now() const { return after(0); }

    // In place; each sample at the gain that it meets.
    void apply_gain(s32 *samples, std::size_t count, u64 &clipped) const;

  private:
    live_place after(std::size_t samples) const;

    live_place from_{};
    live_place to_{};
    s32 done_ = length;
    bool placed_ = false;
};

class live_renderer {
  public:
    static constexpr std::size_t longest_block = 1024;
    static constexpr std::size_t frame_length = EARSHOT_HEAD_FRAME;
    // Samples beyond the frame that its window has, and of the frame itself all but one.
    static constexpr std::size_t latency = 256 - EARSHOT_HEAD_LEAD - 1;

    live_renderer(std::size_t sources, shared_head head);

    std::size_t sources() const { return glides_.size(); }

    // Before a block. The first place is one at once.
    void place(std::size_t source, const live_place &place) { glides_[source].go_to(place); }

    // Where the next block of a source belongs: process() takes it from there.
    s32 *input(std::size_t source) { return inputs_.data() + source * longest_block; }

    // The ears' samples of the last block, left and right.
    s32 *output(std::size_t ear) { return outputs_.data() + ear * longest_block; }

    void process(std::size_t count);

    // Counts what is clipped, the caller's conversions as well.
    u64 &clipped() { return clipped_; }
    u64 clipped() const { return clipped_; }

  private:
    s32 *window(std::size_t source) { return windows_.data() + source * window_length; }
    void take(std::size_t at, std::size_t count);
    void render_frame();
    void hand_out(std::size_t count);

    static constexpr std::size_t window_length = earshot_scenes::window_length;

    earshot_scenes::head_engine engine_;
    std::vector<live_glide> glides_;
    std::vector<s32> inputs_;
    std::vector<s32> outputs_;
    std::vector<s32> windows_; // of the next frame, as far as they are known
    std::vector<const s32 *> window_starts_;
    std::size_t known_ = EARSHOT_HEAD_LEAD;
    std::vector<s32> ears_; // interleaved, what has not been handed out yet
    std::size_t ready_ = latency;
    u64 clipped_ = 0;
};

} // namespace earshot_web
