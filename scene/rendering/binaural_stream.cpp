#include "scene/rendering/binaural_stream.hpp"

#include <algorithm>
#include <utility>

namespace earshot_scene {

namespace {

constexpr s64 tail_frames = filter_taps - 1;

} // namespace

binaural_stream::binaural_stream(binaural_engine &engine, const std::vector<frame_source *> &inputs,
                                 mover move, int lowered)
    : rendered_stream(2, engine.frame_length(), lowered), engine_(engine), inputs_(inputs),
      move_(std::move(move)), sources_(engine.sources()) {
    for (frame_source *input : inputs_)
        windows_.emplace_back(*input, window_length, engine.lead(), engine.frame_length(),
                              engine.lowering());
}

std::optional<s64> binaural_stream::frames() const {
    if (duration_) return duration_;
    const auto longest = longest_of(inputs_);
    if (!longest) return std::nullopt;
    return *longest + tail_frames;
}

rendered_stream::rendered_frame binaural_stream::render_frame(s32 *pairs, s64 time) {
    auto source = sources_.begin();
    for (sliding_window &window : windows_) {
        window.advance();
        for (std::size_t k = 0; k < window.channels(); ++k) *source++ = window.channel(k);
    }
    const std::size_t length = frames_to_come(time);
    if (length == 0) return {0, 0};
    if (move_) move_(engine_, time + static_cast<s64>(engine_.placed_at()));
    return {length, engine_.process(sources_.data(), pairs)};
}

// A window reaches past the frame's end by no more than the tail: where one of the inputs goes on,
// the frame is a whole one.
std::size_t binaural_stream::frames_to_come(s64 time) const {
    const s64 whole = static_cast<s64>(engine_.frame_length());
    const auto until = [&](s64 end) {
        return static_cast<std::size_t>(std::clamp<s64>(end - time, 0, whole));
    };
    if (duration_) return until(*duration_);
    std::optional<s64> longest;
    for (std::size_t k = 0; k < inputs_.size(); ++k) {
        if (inputs_[k]->endless()) continue;
        const auto length = windows_[k].source_frames();
        if (!length) return engine_.frame_length();
        longest = std::max(longest.value_or(0), *length);
    }
    return longest ? until(*longest + tail_frames) : engine_.frame_length();
}

} // namespace earshot_scene
