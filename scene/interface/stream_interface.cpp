// Streams of the C interface: a scene and its sounds, rendered.

#include <deque>
#include <memory>

#include "scene/description/parse.hpp"
#include "scene/interface/input_source.hpp"
#include "scene/interface/interface_error.hpp"
#include "scene/interface/scene_interface.hpp"
#include "scene/rendering/field_stream.hpp"
#include "scene/rendering/head_engine.hpp"
#include "scene/rendering/scene_stream.hpp"
#include "scene/rendering/table_engine.hpp"

using namespace earshot_scenes;

namespace {

constexpr earshot_scene_options defaults{
    sizeof(earshot_scene_options), EARSHOT_SCENE_CONTINUOUS, 0, 0, -1, 0, nullptr};

bool has_field(const earshot_scene_options &options) { return options.field_order != 0; }

int safe_guard_of(const scene &scene) { return headroom_for(scene).guard; }

void check_number(const char *name, s64 value, s64 low, s64 high) {
    const number_range range{static_cast<double>(low), static_cast<double>(high)};
    if (!range.contains(static_cast<double>(value)))
        throw scene_error(std::string(name) + ": " + range.violation(static_cast<double>(value)));
}

void check(const scene &scene, const earshot_scene_options &options) {
    check_number("placement", options.placement, 0, EARSHOT_SCENE_MEASURED);
    check_number("field_order", options.field_order, 0, 4);
    check_number("no_turns", options.no_turns, 0, 1);
    check_number("guard", options.guard, -1, has_field(options) ? -1 : safe_guard_of(scene));
    check_number("gain", options.gain, -120000, 60000);
    if (has_field(options)) return;
    if (options.no_turns != 0) throw scene_error("no_turns: two ears turn with their head");
    if (options.placement == EARSHOT_SCENE_MEASURED && options.head != nullptr)
        throw scene_error("placement: measured directions are those of the built-in head");
}

void check(const scene &scene, const earshot_scene_input *inputs, u32 count) {
    if (count != scene.sources.size())
        throw scene_error("the scene has " + std::to_string(scene.sources.size()) +
                          " sources and not " + std::to_string(count));
    for (u32 k = 0; k < count; ++k) {
        const bool loops = scene.sources[k].loop && inputs[k].frames != EARSHOT_SCENE_ENDLESS;
        if (loops && inputs[k].rewind == nullptr)
            throw scene_error("source " + std::to_string(k) +
                              " loops, and its input has no rewind");
        if (loops && inputs[k].frames == 0)
            throw scene_error("source " + std::to_string(k) + " has no samples to loop");
        check_number("frames of an input", inputs[k].frames, EARSHOT_SCENE_ENDLESS, INT64_MAX);
    }
}

shared_head head_of(const earshot_scene_options &options) {
    if (options.head == nullptr) return builtin_head();
    return {options.head, [](const earshot_head *) {}}; // the caller's
}

std::unique_ptr<binaural_engine> engine_for(const scene &scene,
                                            const earshot_scene_options &options) {
    const std::size_t sources = scene.sources.size(), length = scene_stream::frame_length;
    const auto fixed = options.guard < 0 ? std::nullopt : std::optional<int>(options.guard);
    if (options.placement == EARSHOT_SCENE_MEASURED)
        return std::make_unique<table_engine>(filter_tables::directions, sources, length,
                                              fixed.value_or(safe_guard_of(scene)));
    return std::make_unique<head_engine>(head_of(options), sources, length, fixed);
}

std::shared_ptr<const scene> scene_for(const std::shared_ptr<const scene> &content,
                                       const earshot_scene_options &options) {
    if (options.no_turns == 0) return content;
    auto still = std::make_shared<scene>(*content);
    still->listener.orientation = scene_listener{}.orientation;
    return still;
}

} // namespace

struct earshot_scene_stream {
    earshot_scene_stream(std::shared_ptr<const scene> scene, const earshot_scene_options &options,
                         const earshot_scene_input *inputs)
        : content(std::move(scene)), guard(has_field(options) ? -1 : options.guard) {
        std::vector<frame_source *> sounds;
        for (std::size_t k = 0; k < content->sources.size(); ++k) {
            input_source &once = files.emplace_back(inputs[k]);
            sounds.push_back(&once);
            if (content->sources[k].loop && !once.endless())
                sounds.back() = &loops.emplace_back(once);
        }
        if (has_field(options)) {
            stream = std::make_unique<field_stream>(*content, sounds,
                                                    static_cast<int>(options.field_order));
        } else {
            engine = engine_for(*content, options);
            stream = std::make_unique<scene_stream>(*content, sounds, *engine);
        }
        if (options.gain != 0) stream->set_level(output_level::decibels(options.gain), {});
    }

    // A call after which the stream is of no more use if it fails.
    template <class Work> u32 use(Work work) {
        if (failure == EARSHOT_OK) failure = guarded(nullptr, work);
        return failure;
    }

    std::shared_ptr<const scene> content;
    s32 guard;
    std::deque<input_source> files;
    std::deque<looping_source> loops;
    std::unique_ptr<binaural_engine> engine;
    std::unique_ptr<rendered_stream> stream;
    u32 failure = EARSHOT_OK;
};

void earshot_scene_defaults(earshot_scene_options *options) {
    if (options != nullptr) *options = defaults;
}

u32 earshot_scene_open(const earshot_scene *scene, const earshot_scene_options *options,
                       const earshot_scene_input *inputs, u32 count, earshot_scene_stream **stream,
                       earshot_scene_error *error) {
    return guarded(error, [&]() -> u32 {
        if (stream == nullptr) return EARSHOT_BAD_MEMORY;
        *stream = nullptr;
        if (scene == nullptr || inputs == nullptr) return EARSHOT_BAD_MEMORY;
        const earshot_scene_options &chosen = options == nullptr ? defaults : *options;
        if (chosen.size != sizeof chosen) return EARSHOT_BAD_MEMORY;
        check(*scene->content, chosen);
        check(*scene->content, inputs, count);
        for (u32 k = 0; k < count; ++k)
            if (inputs[k].read == nullptr) return EARSHOT_BAD_MEMORY;
        *stream = new earshot_scene_stream(scene_for(scene->content, chosen), chosen, inputs);
        return EARSHOT_OK;
    });
}

void earshot_scene_close(earshot_scene_stream *stream) { delete stream; }

u32 earshot_scene_read(earshot_scene_stream *stream, s32 *samples, s64 frames, s64 *done) {
    if (stream == nullptr || samples == nullptr || done == nullptr) return EARSHOT_BAD_MEMORY;
    *done = 0;
    if (frames < 0) return EARSHOT_BAD_VALUE;
    return stream->use([&] {
        *done = static_cast<s64>(stream->stream->read(samples, static_cast<std::size_t>(frames)));
        return EARSHOT_OK;
    });
}

u32 earshot_scene_skip(earshot_scene_stream *stream, s64 frames, s64 *done) {
    if (stream == nullptr || done == nullptr) return EARSHOT_BAD_MEMORY;
    *done = 0;
    if (frames < 0) return EARSHOT_BAD_VALUE;
    return stream->use([&] {
        *done = stream->stream->skip(frames);
        return EARSHOT_OK;
    });
}

u32 earshot_scene_stream_describe(const earshot_scene_stream *stream,
                                  earshot_scene_stream_info *info) {
    if (stream == nullptr || info == nullptr) return EARSHOT_BAD_MEMORY;
    const rendered_stream &rendered = *stream->stream;
    const scene &content = *stream->content;
    *info = {static_cast<u32>(rendered.channels()),
             static_cast<u32>(content.sources.size()),
             rendered.frames().value_or(EARSHOT_SCENE_UNKNOWN),
             rendered.peak(),
             rendered.clipped(),
             rendered.unsafe_frames(),
             stream->guard,
             safe_guard_of(content)};
    return EARSHOT_OK;
}
