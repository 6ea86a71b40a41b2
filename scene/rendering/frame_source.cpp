#include "scene/rendering/frame_source.hpp"

#include <algorithm>
#include <vector>

namespace earshot_scenes {

s64 frame_source::skip(s64 frames) {
    if (frames <= 0) return 0;
    std::vector<s32> block(block_frames * static_cast<std::size_t>(channels()));
    s64 done = 0;
    while (done < frames) {
        const s64 wanted = std::min(frames - done, static_cast<s64>(block_frames));
        const auto got = static_cast<s64>(read(block.data(), static_cast<std::size_t>(wanted)));
        done += got;
        if (got < wanted) break;
    }
    return done;
}

} // namespace earshot_scenes
