#include "scene/rendering/looping_source.hpp"

namespace earshot_scene {

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

} // namespace earshot_scene
