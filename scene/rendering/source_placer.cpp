#include "scene/rendering/source_placer.hpp"

#include <algorithm>

namespace earshot_scenes {

namespace {

void go_through(source_placer &placer, source_mover &move, s64 from, s64 until, s64 frame_length) {
    for (; from < until; from += frame_length) {
        if (move) move(placer, from + static_cast<s64>(placer.placed_at()));
        placer.skip_frame();
    }
}

} // namespace

// What came long ago hardly ever matters to where sources are and how they got there. So from the
// beginning, a short way back is tried first, and longer ones until one is long enough.
void skip_places(source_placer &placer, source_mover &move, s64 from, s64 until,
                 std::size_t frame_length) {
    const s64 length = static_cast<s64>(frame_length);
    if (from > 0) return go_through(placer, move, from, until, length);
    const s64 frames = (until + length - 1) / length;
    const source_mover at_first = move;
    for (s64 back = 16;; back *= 8) {
        const s64 first = std::max<s64>(frames - back, 0);
        move = at_first;
        placer.forget_places();
        go_through(placer, move, first * length, until, length);
        if (first == 0 || placer.knows_enough()) return;
    }
}

} // namespace earshot_scenes
