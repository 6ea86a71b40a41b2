#include "scene/rendering/binaural_stream.hpp"

#include <algorithm>
#include <utility>

namespace earshot_scenes {

namespace {

constexpr s64 tail_frames = filter_taps - 1;

} // namespace

binaural_stream::binaural_stream(binaural_engine &engine, const std::vector<frame_source *> &inputs,
                                 source_mover move, int lowered)
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
    const s64 whole = static_cast<s64>(engine_.frame_length());
    const s64 length = std::clamp<s64>(end().value_or(INT64_MAX) - time, 0, whole);
    if (length == 0) return {0, 0};
    if (move_) move_(engine_, time + static_cast<s64>(engine_.placed_at()));
    return {static_cast<std::size_t>(length), engine_.process(sources_.data(), pairs)};
}

s64 binaural_stream::skip(s64 frames) {
    const s64 skipped = rendered_stream::skip(frames);
    unsafe_skipped_ = engine_.unsafe_frames();
    return skipped;
}

s64 binaural_stream::skip_frames(s64 time, s64 count) {
    skip_windows(count);
    const s64 target = time + count * static_cast<s64>(engine_.frame_length());
    const s64 until = std::min(target, end().value_or(INT64_MAX));
    skip_places(engine_, move_, time, until, engine_.frame_length());
    return until - time;
}

void binaural_stream::skip_windows(s64 count) {
    const s64 most = longest_lead / static_cast<s64>(engine_.frame_length());
    for (; count > 0; count -= most)
        for (sliding_window &window : windows_) window.skip(std::min(count, most));
}

// Where the stream ends, as soon as the windows have come that far. A window reaches past its
// frame's end by no more than the tail.
std::optional<s64> binaural_stream::end() const {
    if (duration_) return duration_;
    std::optional<s64> longest;
    for (std::size_t k = 0; k < inputs_.size(); ++k) {
        if (inputs_[k]->endless()) continue;
        const auto length = windows_[k].source_frames();
        if (!length) return std::nullopt;
        longest = std::max(longest.value_or(0), *length);
    }
    if (!longest) return std::nullopt;
    return *longest + tail_frames;
}

} // namespace earshot_scenes
