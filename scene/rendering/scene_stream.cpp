#include "scene/rendering/scene_stream.hpp"

#include <algorithm>
#include <utility>

#include "scene/rendering/scene_mover.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_scenes {

namespace {

// The smallest number of bits b with value <= 2^b, Q20.
int bits_above(s64 value) {
    int bits = 0;
    while (value > s64{1} << (20 + bits)) ++bits;
    return bits;
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

scene_parts::scene_parts(const scene &scene, const std::vector<frame_source *> &inputs,
                         source_mover move)
    : headroom(headroom_for(scene).gain), mover(std::move(move)) {
    if (!mover) mover = scene_mover(scene);
    for (std::size_t k = 0; k < inputs.size(); ++k)
        chains.emplace_back(scene.sources[k], scene.listener, *inputs[k], headroom);
    for (source_chain &chain : chains) sources.push_back(&chain);
}

scene_stream::scene_stream(const scene &scene, const std::vector<frame_source *> &inputs,
                           binaural_engine &engine, source_mover move)
    : scene_parts(scene, inputs, std::move(move)),
      binaural_stream(engine, sources, mover, headroom) {
    if (scene.duration) set_duration(*scene.duration);
}

} // namespace earshot_scenes
