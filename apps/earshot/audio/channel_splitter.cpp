#include "audio/channel_splitter.hpp"

#include <algorithm>

namespace earshot_tool {

std::size_t channel_splitter::reader::read(s32 *mono, std::size_t frames) {
    while (kept() < frames && !all_.ended_) all_.fill(frames - kept());
    const std::size_t count = std::min(frames, kept());
    std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(used_), count, mono);
    use(count);
    return count;
}

// The source follows when all have gone past; where its end is not known it has to be read.
s64 channel_splitter::reader::skip(s64 frames) {
    const auto length = this->frames();
    if (!endless() && !length) return frame_source::skip(frames);
    if (!endless()) frames = std::min(frames, *length - position_);
    const s64 here = std::min(frames, static_cast<s64>(kept()));
    use(static_cast<std::size_t>(here));
    position_ += frames - here;
    return frames;
}

void channel_splitter::reader::use(std::size_t frames) {
    used_ += frames;
    position_ += static_cast<s64>(frames);
}

// Frames of which the first is at the place; those that the reader has gone past are left out.
void channel_splitter::reader::append(const s32 *interleaved, std::size_t frames, s64 place) {
    const auto past =
        static_cast<std::size_t>(std::clamp<s64>(position_ - place, 0, static_cast<s64>(frames)));
    const auto width = static_cast<std::size_t>(all_.source_.channels());
    frames -= past;
    const s32 *sample = interleaved + past * width + channel_;
    const std::size_t before = samples_.size();
    samples_.resize(before + frames);
    s32 *added = samples_.data() + before;
    for (std::size_t i = 0; i < frames; ++i, sample += width) added[i] = *sample;
}

void channel_splitter::reader::drop_used() {
    samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(used_));
    used_ = 0;
}

// A source that has ended is not asked again. Channels are taken out of a few frames at a time,
// which stay in the first-level cache.
void channel_splitter::fill(std::size_t frames) {
    constexpr std::size_t few = 64;
    if (ended_) return;
    s64 first = readers_.front().position();
    for (const reader &one : readers_) first = std::min(first, one.position());
    if (first > position_) position_ += source_.skip(first - position_);
    const auto width = static_cast<std::size_t>(source_.channels());
    block_.resize(std::max(block_.size(), frames * width));
    const std::size_t got = source_.read(block_.data(), frames);
    ended_ = got < frames;
    for (reader &one : readers_) one.drop_used();
    for (std::size_t i = 0; i < got; i += few)
        for (reader &one : readers_)
            one.append(block_.data() + i * width, std::min(few, got - i),
                       position_ + static_cast<s64>(i));
    position_ += static_cast<s64>(got);
}

} // namespace earshot_tool
