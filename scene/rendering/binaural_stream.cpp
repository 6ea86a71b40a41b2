#include "scene/rendering/binaural_stream.hpp"

#include <algorithm>
#include <utility>

namespace earshot_scene {

namespace {

constexpr s64 tail_frames = filter_taps - 1;

} // namespace

binaural_stream::binaural_stream(binaural_engine &engine, const std::vector<frame_source *> &inputs,
                                 mover move, int lowered)
    : engine_(engine), inputs_(inputs), move_(std::move(move)), lowered_(lowered),
      sources_(engine.sources()), frame_(2 * engine.frame_length()) {
    set_level({}, {});
    for (frame_source *input : inputs_)
        windows_.emplace_back(*input, window_length, engine.lead(), engine.frame_length(),
                              engine.lowering());
}

void binaural_stream::set_level(const output_level &level, const sample_range &range) {
    level_ = level.raised(lowered_);
    range_ = range;
}

std::optional<s64> binaural_stream::frames() const {
    if (duration_) return duration_;
    std::optional<s64> longest;
    for (const frame_source *input : inputs_) {
        if (input->endless()) continue;
        const auto length = input->frames();
        if (!length) return std::nullopt;
        longest = std::max(longest.value_or(0), *length);
    }
    if (!longest) return std::nullopt;
    return *longest + tail_frames;
}

std::size_t binaural_stream::read(s32 *interleaved, std::size_t frames) {
    std::size_t got = 0;
    while (got < frames && (used_ < made_ || render_frame())) {
        const std::size_t count = std::min(frames - got, made_ - used_);
        const s32 *made = frame_.data() + 2 * used_;
        const sample_extremes extremes = extremes_of(made, 2 * count);
        note_peak(extremes.peak());
        frame_level_.apply(made, interleaved, 2 * count, extremes, range_, clipped_);
        interleaved += 2 * count;
        used_ += count;
        got += count;
    }
    return got;
}

bool binaural_stream::render_frame() {
    auto source = sources_.begin();
    for (sliding_window &window : windows_) {
        window.advance();
        for (std::size_t k = 0; k < window.channels(); ++k) *source++ = window.channel(k);
    }
    position_ += static_cast<s64>(made_);
    made_ = frames_to_come();
    used_ = 0;
    if (made_ == 0) return false;
    if (move_) move_(engine_, position_ + static_cast<s64>(engine_.placed_at()));
    frame_exponent_ = engine_.process(sources_.data(), frame_.data());
    frame_level_ = level_.raised(frame_exponent_);
    return true;
}

// The natural level is that of what the engine made, raised by the bits of the inputs as well. No
// engine makes samples with more bits below the point than the peak has.
void binaural_stream::note_peak(s64 peak) {
    const int shift = frame_exponent_ + lowered_ + peak_fraction;
    constexpr s64 most = s64{1} << 62; // 138 dB above full scale
    peak_ = std::max(peak_, peak > most >> shift ? most : peak << shift);
}

// A window reaches past the frame's end by no more than the tail: where one of the inputs goes on,
// the frame is a whole one.
std::size_t binaural_stream::frames_to_come() const {
    const s64 whole = static_cast<s64>(engine_.frame_length());
    const auto until = [&](s64 end) {
        return static_cast<std::size_t>(std::clamp<s64>(end - position_, 0, whole));
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
