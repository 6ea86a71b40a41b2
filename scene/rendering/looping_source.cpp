#include "scene/rendering/looping_source.hpp"

namespace earshot_scenes {

std::size_t looping_source::read(s32 *interleaved, std::size_t frames) {
    const auto width = static_cast<std::size_t>(channels());
    std::size_t got = source_.read(interleaved, frames);
    while (got < frames) {
        source_.rewind();
        const std::size_t more = source_.read(interleaved + got * width, frames - got);
        if (more == 0) break; // there is nothing to repeat
        got += more;
    }
    return got;
}

// Once round, the length is known, and so is where the last of the other rounds ends.
s64 looping_source::skip(s64 frames) {
    s64 left = frames - source_.skip(frames);
    if (left == 0) return frames;
    source_.rewind();
    const s64 length = source_.skip(left);
    if (length == 0) return frames - left; // there is nothing to repeat
    left -= length;
    if (left == 0) return frames;
    source_.rewind();
    source_.skip(left % length);
    return frames;
}

} // namespace earshot_scenes
