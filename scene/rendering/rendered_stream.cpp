#include "scene/rendering/rendered_stream.hpp"

#include <algorithm>

namespace earshot_scenes {

std::optional<s64> longest_of(const std::vector<frame_source *> &sources) {
    std::optional<s64> longest;
    for (const frame_source *source : sources) {
        if (source->endless()) continue;
        const auto length = source->frames();
        if (!length) return std::nullopt;
        longest = std::max(longest.value_or(0), *length);
    }
    return longest;
}

rendered_stream::rendered_stream(int channels, std::size_t frame_length, int lowered)
    : channels_(channels), frame_length_(static_cast<s64>(frame_length)), lowered_(lowered),
      words_(static_cast<std::size_t>(channels) * frame_length) {
    set_level({}, {});
}

void rendered_stream::set_level(const output_level &level, const sample_range &range) {
    level_ = level.raised(lowered_);
    range_ = range;
}

std::size_t rendered_stream::read(s32 *interleaved, std::size_t frames) {
    const auto channels = static_cast<std::size_t>(channels_);
    std::size_t got = 0;
    while (got < frames && (used_ < frame_.length || next_frame())) {
        const std::size_t count = std::min(frames - got, frame_.length - used_);
        const s32 *made = words_.data() + channels * used_;
        const sample_extremes extremes = extremes_of(made, channels * count);
        note_peak(extremes.peak());
        frame_level_.apply(made, interleaved, channels * count, extremes, range_, clipped_);
        interleaved += channels * count;
        used_ += count;
        got += count;
    }
    return got;
}

s64 rendered_stream::skip(s64 frames) {
    s64 done = use(frames);
    const s64 whole = (frames - done) / frame_length_ - 1;
    if (whole > 0) {
        position_ += static_cast<s64>(frame_.length);
        frame_ = {0, 0};
        used_ = 0;
        const s64 skipped = skip_frames(position_, whole);
        position_ += skipped;
        done += skipped;
    }
    while (done < frames && (used_ < frame_.length || next_frame())) done += use(frames - done);
    return done;
}

// Takes what has been made, up to so many samples.
s64 rendered_stream::use(s64 samples) {
    const s64 count = std::min(samples, static_cast<s64>(frame_.length - used_));
    used_ += static_cast<std::size_t>(count);
    return count;
}

bool rendered_stream::next_frame() {
    position_ += static_cast<s64>(frame_.length);
    used_ = 0;
    frame_ = render_frame(words_.data(), position_);
    frame_level_ = level_.raised(frame_.exponent);
    return frame_.length != 0;
}

// The natural level is that of the frame's words, raised by the bits that its samples are below it
// as well.
void rendered_stream::note_peak(s64 peak) {
    const int shift = frame_.exponent + lowered_ + peak_fraction;
    constexpr s64 most = s64{1} << 62; // 138 dB above full scale
    peak_ = std::max(peak_, peak > most >> shift ? most : peak << shift);
}

} // namespace earshot_scenes
