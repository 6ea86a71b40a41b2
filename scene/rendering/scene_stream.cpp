#include "scene/rendering/scene_stream.hpp"

#include <algorithm>

#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_scene {

namespace {

// The smallest number of bits b with value <= 2^b, Q20.
int bits_above(s64 value) {
    int bits = 0;
    while (value > s64{1} << (20 + bits)) ++bits;
    return bits;
}

bool turns(const scene_listener &listener) {
    return std::visit([](const auto &rows) { return moves(rows); }, listener.orientation);
}

// Places the sources for every frame.
class scene_mover {
  public:
    explicit scene_mover(const scene &scene)
        : scene_(scene), placed_(scene.sources.size()), turns_(turns(scene.listener)),
          walks_(moves(scene.listener.position)) {}

    void operator()(binaural_engine &engine, s64 time) {
        const position ear = at(scene_.listener.position, time);
        if (!started_ || turns_) head_ = orientation_at(scene_.listener.orientation, time);
        for (std::size_t k = 0; k < placed_.size(); ++k)
            if (!started_ || may_move(scene_.sources[k])) place(engine, k, ear, time);
        started_ = true;
    }

  private:
    bool may_move(const scene_source &source) const {
        const auto *positions = std::get_if<track<position>>(&source.place);
        if (positions == nullptr) return turns_ || moves(std::get<track<direction>>(source.place));
        return turns_ || walks_ || moves(*positions);
    }

    direction heard(const scene_source &source, const position &ear, s64 time, bool exactly) const {
        if (const auto *positions = std::get_if<track<position>>(&source.place)) {
            const position point = at(*positions, time);
            return exactly ? heard_at(point, ear, head_) : roughly_heard_at(point, ear, head_);
        }
        const direction world = at(std::get<track<direction>>(source.place), time);
        return exactly ? heard_from(world, head_) : roughly_heard_from(world, head_);
    }

    // The engine takes azimuths from 0 to 360 degrees.
    void place(binaural_engine &engine, std::size_t k, const position &ear, s64 time) {
        constexpr auto turn = static_cast<s32>(whole_turn);
        const direction now = heard(scene_.sources[k], ear, time, engine.is_continuous());
        if (started_ && now == placed_[k]) return;
        placed_[k] = now;
        const s32 azimuth = now.azimuth % turn;
        engine.place(k, azimuth < 0 ? azimuth + turn : azimuth, now.elevation);
    }

    const scene &scene_;
    std::vector<direction> placed_;
    bool turns_;
    bool walks_;
    quaternion head_;
    bool started_ = false;
};

std::vector<frame_source *> addresses(std::deque<source_chain> &chains) {
    std::vector<frame_source *> all;
    all.reserve(chains.size());
    for (source_chain &chain : chains) all.push_back(&chain);
    return all;
}

} // namespace

// The engine's sums are bounded in two ways, and the tighter one is taken: by the number of sources
// at their largest, or by the sum of what each can reach. Samples are rounded on their way, by no
// more than 2^-8 of the bound with the largest number of sources, for which the sum is enlarged.
scene_headroom headroom_for(const scene &scene) {
    s64 largest = 0;
    s64 sum = 0;
    for (const scene_source &source : scene.sources) {
        const s64 growth = growth_of(source);
        largest = std::max(largest, growth);
        sum += growth;
    }
    const int gain = bits_above(largest);
    const int by_sum =
        filter_gain_bits(filter_tables::directions) + bits_above(sum + (sum >> 7) + 1) - gain;
    return {gain, std::min(by_sum, safe_guard(filter_tables::directions, scene.sources.size()))};
}

scene_parts::scene_parts(const scene &scene, const std::vector<frame_source *> &inputs)
    : headroom(headroom_for(scene).gain) {
    for (std::size_t k = 0; k < inputs.size(); ++k)
        chains.emplace_back(scene.sources[k], scene.listener, *inputs[k], headroom);
}

scene_stream::scene_stream(const scene &scene, const std::vector<frame_source *> &inputs,
                           binaural_engine &engine)
    : scene_parts(scene, inputs),
      binaural_stream(engine, addresses(chains), scene_mover(scene), headroom) {
    if (scene.duration) set_duration(*scene.duration);
}

} // namespace earshot_scene
