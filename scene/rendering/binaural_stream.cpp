#include "scene/rendering/binaural_stream.hpp"

#include <algorithm>
#include <cstdint>
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

s64 binaural_stream::skip(s64 frames) {
    s64 done = use(frames);
    done += skip_whole((frames - done) / static_cast<s64>(engine_.frame_length()) - 1);
    while (done < frames) {
        unsafe_skipped_ = engine_.unsafe_frames();
        if (!render_frame()) break;
        done += use(frames - done);
    }
    if (used_ == made_) unsafe_skipped_ = engine_.unsafe_frames();
    return done;
}

// Takes what has been made, up to so many frames.
s64 binaural_stream::use(s64 frames) {
    const s64 count = std::min(frames, static_cast<s64>(made_ - used_));
    used_ += static_cast<std::size_t>(count);
    return count;
}

// Between two of the engine's frames: past so many of them, or to the end. Returns the samples.
s64 binaural_stream::skip_whole(s64 count) {
    if (count <= 0) return 0;
    const s64 length = static_cast<s64>(engine_.frame_length());
    for (sliding_window &window : windows_) window.skip(count);
    const s64 begin = position_ + static_cast<s64>(made_);
    position_ = begin;
    made_ = used_ = 0;
    const s64 target = std::min(begin + count * length, end().value_or(INT64_MAX));
    move_until(target);
    position_ = target;
    return target - begin;
}

// What came long ago hardly ever matters to where sources are and how they got there. So from the
// beginning, a short way back is tried first, and longer ones until one is long enough.
void binaural_stream::move_until(s64 time) {
    if (position_ > 0) return move_through(position_, time);
    const s64 length = static_cast<s64>(engine_.frame_length());
    const s64 last = (time + length - 1) / length;
    const mover at_first = move_;
    for (s64 back = 16;; back *= 8) {
        const s64 from = std::max<s64>(last - back, 0);
        move_ = at_first;
        engine_.forget_places();
        move_through(from * length, time);
        if (from == 0 || engine_.knows_enough()) return;
    }
}

void binaural_stream::move_through(s64 from, s64 until) {
    for (; from < until; from += static_cast<s64>(engine_.frame_length())) {
        if (move_) move_(engine_, from + static_cast<s64>(engine_.placed_at()));
        engine_.skip_frame();
    }
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
    const auto last = end();
    return static_cast<std::size_t>(last ? std::clamp<s64>(*last - position_, 0, whole) : whole);
}

// Where the stream ends, as soon as the windows have come that far.
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

} // namespace earshot_scene
