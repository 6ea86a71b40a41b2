#include "scene/rendering/scene_mover.hpp"

#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"

namespace earshot_scenes {

namespace {

bool turns(const scene_listener &listener) {
    return std::visit([](const auto &rows) { return moves(rows); }, listener.orientation);
}

} // namespace

scene_mover::scene_mover(const scene &scene)
    : scene_(scene), placed_(scene.sources.size()), turns_(turns(scene.listener)),
      walks_(moves(scene.listener.position)) {}

void scene_mover::operator()(source_placer &placer, s64 time) {
    const position ear = at(scene_.listener.position, time);
    if (!started_ || turns_) head_ = orientation_at(scene_.listener.orientation, time);
    for (std::size_t k = 0; k < placed_.size(); ++k)
        if (!started_ || may_move(scene_.sources[k])) place(placer, k, ear, time);
    for (std::size_t k = 0; !started_ && k < placed_.size(); ++k)
        if (!may_move(scene_.sources[k])) placer.stays(k);
    started_ = true;
}

bool scene_mover::may_move(const scene_source &source) const {
    if (std::holds_alternative<everywhere>(source.place)) return false;
    const auto *positions = std::get_if<track<position>>(&source.place);
    if (positions == nullptr) return turns_ || moves(std::get<track<direction>>(source.place));
    return turns_ || walks_ || moves(*positions);
}

void scene_mover::place(source_placer &placer, std::size_t k, const position &ear, s64 time) {
    constexpr auto turn = static_cast<s32>(whole_turn);
    const scene_source &source = scene_.sources[k];
    if (std::holds_alternative<everywhere>(source.place)) {
        placer.place_everywhere(k);
        return;
    }
    const direction now = heard_direction(source, ear, head_, time, placer.is_continuous());
    if (started_ && now == placed_[k]) return;
    placed_[k] = now;
    const s32 azimuth = now.azimuth % turn;
    placer.place(k, azimuth < 0 ? azimuth + turn : azimuth, now.elevation);
}

direction heard_direction(const scene_source &source, const position &ear, const quaternion &head,
                          s64 time, bool exactly) {
    if (const auto *positions = std::get_if<track<position>>(&source.place)) {
        const position point = at(*positions, time);
        return exactly ? heard_at(point, ear, head) : roughly_heard_at(point, ear, head);
    }
    const direction world = at(std::get<track<direction>>(source.place), time);
    return exactly ? heard_from(world, head) : roughly_heard_from(world, head);
}

} // namespace earshot_scenes
