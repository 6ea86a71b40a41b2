#include "scene/rendering/head_engine.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <earshot/math.h>

#include "scene/motion/track.hpp"
#include "scene/rendering/library_status.hpp"

namespace earshot_scene {

namespace {

constexpr int glide_frames = 5;
// What goes farther in a frame of 2 ms has jumped: 5000 degrees a second.
constexpr s64 longest_step = 10 << 16;

// Close to the poles a long way round is a short one.
s64 cosine_q31(s32 elevation) {
    const s64 radians = s64{elevation} * EARSHOT_PI_Q31 / (whole_turn / 2);
    return high_precision_sin(radians + EARSHOT_HALF_PI_Q31);
}

bool is_long(s64 turn, s64 rise, s32 elevation) {
    if (std::abs(rise) > longest_step) return true;
    return std::abs(turn) > longest_step &&
           std::abs(turn) * cosine_q31(elevation) >> 31 > longest_step;
}

} // namespace

head_engine::head_engine(shared_head head, std::size_t sources, std::size_t frame_length,
                         std::optional<int> guard)
    : following_engine(frame_length == longest_frame
                           ? shape{sources, longest_frame, window_length / 2, true}
                           : shape{sources, frame_length, EARSHOT_HEAD_LEAD, true},
                       guard),
      head_(std::move(head)), sources_(sources), filters_(sources) {}

void head_engine::place(std::size_t source, s32 azimuth, s32 elevation) {
    placement &p = sources_[source];
    if (!p.placed) {
        p.azimuth = azimuth;
        p.elevation = elevation;
        p.frames_left = 1;
    } else {
        // What has gone as fast before is only fast.
        const s64 turn = shorter(s64{azimuth} - p.target_azimuth);
        const s64 rise = s64{elevation} - p.target_elevation;
        const bool jumps = is_long(turn, rise, elevation) &&
                           is_long(turn - p.last_turn, rise - p.last_rise, elevation);
        p.frames_left = jumps ? glide_frames : std::max(p.frames_left, 1);
        p.last_turn = turn;
        p.last_rise = rise;
    }
    p.target_azimuth = azimuth;
    p.target_elevation = elevation;
}

void head_engine::place_everywhere(std::size_t source) {
    if (!everywhere_) {
        earshot_filter_pair front;
        require(earshot_head_filter(head_.get(), 0, 0, &front), "earshot_head_filter");
        everywhere_ = aligned_pair{in_time_with({front.ear[0], front.ear[1]})};
    }
    use(source, *everywhere_);
}

int head_engine::process(const s32 *const *windows, s32 *ears) {
    for (std::size_t k = 0; k < sources_.size(); ++k)
        if (sources_[k].frames_left > 0) advance(k);
    return following_engine::process(windows, ears);
}

void head_engine::advance(std::size_t source) {
    placement &p = sources_[source];
    const way step{1, p.frames_left--};
    const s32 azimuth = between_angles(p.azimuth, p.target_azimuth, step);
    const s32 elevation = between(p.elevation, p.target_elevation, step);
    if (p.placed && azimuth == p.azimuth && elevation == p.elevation) return;
    p.azimuth = azimuth;
    p.elevation = elevation;
    p.placed = true;
    filter(source);
}

void head_engine::filter(std::size_t source) {
    placement &p = sources_[source];
    p.filters = 1 - p.filters;
    earshot_filter_pair &pair = filters_[source][static_cast<std::size_t>(p.filters)];
    require(earshot_head_filter(head_.get(), p.azimuth, p.elevation, &pair), "earshot_head_filter");
    if (frame_length() == longest_frame)
        require(earshot_head_shorten(&pair), "earshot_head_shorten");
    use(source, pair);
}

} // namespace earshot_scene
