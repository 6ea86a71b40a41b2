#include "scene/rendering/field_stream.hpp"

#include <algorithm>
#include <utility>

namespace earshot_scenes {

namespace {

constexpr std::size_t frame_length = field_mixer::frame_length;

} // namespace

field_stream::field_stream(const scene &scene, const std::vector<frame_source *> &inputs, int order,
                           source_mover move)
    : scene_parts(scene, inputs, std::move(move)),
      rendered_stream((order + 1) * (order + 1), frame_length, headroom), duration_(scene.duration),
      mixer_(order, inputs.size()), samples_(inputs.size() * frame_length) {}

std::optional<s64> field_stream::frames() const {
    return duration_ ? duration_ : longest_of(sources);
}

rendered_stream::rendered_frame field_stream::render_frame(s32 *interleaved, s64 time) {
    const std::size_t sounding = read_sources();
    const std::size_t length =
        duration_ ? static_cast<std::size_t>(std::clamp<s64>(*duration_ - time, 0, frame_length))
                  : sounding;
    if (length == 0) return {0, 0};
    mover(mixer_, time + static_cast<s64>(mixer_.placed_at()));
    return {length, mixer_.process(samples_.data(), interleaved)};
}

s64 field_stream::skip_frames(s64 time, s64 count) {
    s64 wanted = count * static_cast<s64>(frame_length);
    if (duration_) wanted = std::clamp<s64>(*duration_ - time, 0, wanted);
    s64 sounding = 0;
    for (s64 left = wanted; left > 0; left -= longest_lead)
        sounding += skip_sources(std::min(left, longest_lead));
    const s64 skipped = duration_ ? wanted : sounding;
    skip_places(mixer_, mover, time, time + skipped, frame_length);
    return skipped;
}

// Returns how many of the frames there are before the last of them ends.
s64 field_stream::skip_sources(s64 frames) {
    s64 longest = 0;
    bool ends = false;
    for (frame_source *source : sources) {
        const s64 skipped = source->skip(frames);
        if (source->endless()) continue;
        longest = std::max(longest, skipped);
        ends = true;
    }
    return ends ? longest : frames;
}

// Returns how much of the frame there is before the last of them ends.
std::size_t field_stream::read_sources() {
    std::size_t longest = 0;
    bool ends = false;
    s32 *samples = samples_.data();
    for (frame_source *source : sources) {
        const std::size_t got = source->read(samples, frame_length);
        std::fill(samples + got, samples + frame_length, 0);
        samples += frame_length;
        if (source->endless()) continue;
        longest = std::max(longest, got);
        ends = true;
    }
    return ends ? longest : frame_length;
}

} // namespace earshot_scenes
