#include "audio/channel_splitter.hpp"

#include <algorithm>

namespace earshot_tool {

std::size_t channel_splitter::reader::read(s32 *mono, std::size_t frames) {
    if (frames > kept()) all_.fill(frames - kept());
    const std::size_t count = std::min(frames, kept());
    std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(used_), count, mono);
    used_ += count;
    return count;
}

void channel_splitter::reader::append(const s32 *interleaved, std::size_t frames) {
    const auto width = static_cast<std::size_t>(all_.source_.channels());
    const s32 *sample = interleaved + channel_;
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
    const auto width = static_cast<std::size_t>(source_.channels());
    block_.resize(std::max(block_.size(), frames * width));
    const std::size_t got = source_.read(block_.data(), frames);
    ended_ = got < frames;
    for (reader &one : readers_) one.drop_used();
    for (std::size_t i = 0; i < got; i += few)
        for (reader &one : readers_) one.append(block_.data() + i * width, std::min(few, got - i));
}

} // namespace earshot_tool
