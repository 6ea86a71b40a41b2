// The module's functions over the live renderer and the scene library.
#include "web/wasm/earshot_web.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "scene/delivery/sample_narrower.hpp"
#include "scene/interface/interface_error.hpp"
#include "scene/interface/scene_interface.hpp"
#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"
#include "scene/rendering/distance_gain.hpp"
#include "web/wasm/live_renderer.hpp"

using namespace earshot_scenes;
using earshot_web::live_place;
using earshot_web::live_renderer;

namespace {

earshot_scene_error last_error;

// What is made, or null and the reason.
template <class Make> auto made(Make make) noexcept -> decltype(make()) {
    decltype(make()) result = nullptr;
    guarded(&last_error, [&]() -> u32 {
        result = make();
        return EARSHOT_OK;
    });
    return result;
}

void refuse(const char *text) { tell(&last_error, text); }

// --- Samples as floats --------------------------------------------------------------------------

constexpr double full_scale = 2147483648.0;

s32 word_of(float sample, u64 &clipped) {
    const double scaled = std::nearbyint(sample * full_scale);
    if (!(scaled >= -full_scale && scaled < full_scale)) { // nor a number at all
        ++clipped;
        return scaled >= full_scale ? INT32_MAX : scaled < 0 ? INT32_MIN : 0;
    }
    return static_cast<s32>(scaled);
}

// --- Places -------------------------------------------------------------------------------------

constexpr u32 numbers_of_place = 3;
constexpr float loudest = 16;

bool is_place(const float *numbers) {
    return std::all_of(numbers, numbers + numbers_of_place,
                       [](float x) { return std::isfinite(x); });
}

s32 q16_of(double degrees) { return static_cast<s32>(std::nearbyint(degrees * 65536)); }

live_place place_of(const float *numbers) {
    return {q16_of(std::fmod(numbers[0], 360.0)), q16_of(std::clamp(numbers[1], -90.0F, 90.0F)),
            static_cast<s32>(std::nearbyint(std::clamp(numbers[2], 0.0F, loudest) * 67108864.0))};
}

float factor_of(s32 thousandths) { return static_cast<float>(std::pow(10, thousandths / 20000.0)); }

} // namespace

struct earshot_live {
    static constexpr std::size_t block = live_renderer::longest_block;

    earshot_live(u32 sources, shared_head head)
        : renderer(sources, std::move(head)), places(sources * numbers_of_place),
          inputs(sources * block), outputs(2 * block), silent((sources + 31) / 32) {}

    bool is_silent(std::size_t source) const {
        return (silent[source / 32] >> source % 32 & 1) != 0;
    }

    void begin(u32 count) {
        for (std::size_t k = 0; k < renderer.sources(); ++k) {
            const float *numbers = &places[k * numbers_of_place];
            if (is_place(numbers)) renderer.place(k, place_of(numbers));
            if (is_silent(k)) std::fill_n(renderer.input(k), count, 0);
        }
    }

    live_renderer renderer;
    std::vector<float> places;
    std::vector<float> inputs;
    std::vector<float> outputs;
    std::vector<u32> silent;
};

struct earshot_web_scene {
    earshot_web_scene() = default;
    ~earshot_web_scene() {
        earshot_scene_close(stream);
        earshot_scene_free(scene);
    }
    earshot_web_scene(const earshot_web_scene &) = delete;
    earshot_web_scene &operator=(const earshot_web_scene &) = delete;

    earshot_scene *scene = nullptr;
    earshot_scene_stream *stream = nullptr;
    std::vector<earshot_scene_samples> sounds;
    std::vector<float> heard;
};

struct earshot_web_output {
    earshot_web_output(u32 width, bool dither)
        : narrower(static_cast<int>(width), dither ? 32 - static_cast<int>(width) : 0),
          bytes(width / 8) {}

    sample_narrower narrower;
    u32 bytes; // of a sample
};

namespace {

earshot_scene_source_info info_of(const earshot_web_scene *scene, u32 source) {
    earshot_scene_source_info info{};
    earshot_scene_source(scene->scene, source, &info);
    return info;
}

earshot_scene_stream_info progress_of(const earshot_web_scene *scene) {
    earshot_scene_stream_info info{};
    info.frames = EARSHOT_SCENE_UNKNOWN;
    earshot_scene_stream_describe(scene->stream, &info);
    return info;
}

// With what the distance does to it.
float gain_of(const scene_source &source, s32 distance) {
    const float gain = factor_of(source.gain);
    if (!source.rolloff || distance < 0) return gain;
    return gain * static_cast<float>(rolled_off(distance, *source.rolloff)) / 2147483648.0F;
}

void put_heard(const earshot_web_scene &scene, u32 source, s64 time, float *numbers) {
    earshot_scene_direction found{};
    earshot_scene_heard(scene.scene, source, time, &found);
    numbers[0] = static_cast<float>(found.azimuth) / 65536;
    numbers[1] = static_cast<float>(found.elevation) / 65536;
    numbers[2] = found.distance < 0 ? -1 : static_cast<float>(found.distance) / 65536;
    numbers[3] = gain_of(scene.scene->content->sources[source], found.distance);
}

} // namespace

const char *earshot_web_error(void) { return last_error.text; }

void *earshot_web_allocate(u32 bytes) { return std::malloc(bytes); }
void earshot_web_free(void *memory) { std::free(memory); }

const earshot_head *earshot_web_builtin_head(void) {
    return made([]() -> const earshot_head * {
        static const shared_head head = builtin_head();
        return head.get();
    });
}

const earshot_head *earshot_web_open_head(const void *bytes, u32 size) {
    const earshot_head *head = nullptr;
    if (earshot_head_open(bytes, size, &head) == EARSHOT_OK) return head;
    refuse("is not a head of this version, or damaged; 'earshot head' prepares one");
    return nullptr;
}

const char *earshot_web_head_name(const earshot_head *head) {
    earshot_head_info info{};
    return earshot_head_describe(head, &info) == EARSHOT_OK ? info.name : "";
}

earshot_live *earshot_live_create(u32 sources, const earshot_head *head) {
    return made([=]() -> earshot_live * {
        if (sources < 1 || sources > 256)
            throw scene_error("sources: " + std::to_string(sources) + " is outside 1 to 256");
        return new earshot_live(sources, {head, [](const earshot_head *) {}});
    });
}

void earshot_live_destroy(earshot_live *live) { delete live; }
u32 earshot_live_latency(void) { return live_renderer::latency; }
u32 earshot_live_block(void) { return earshot_live::block; }
float *earshot_live_input(earshot_live *live, u32 source) {
    return &live->inputs[source * earshot_live::block];
}
s32 *earshot_live_input_words(earshot_live *live, u32 source) {
    return live->renderer.input(source);
}
float *earshot_live_places(earshot_live *live) { return live->places.data(); }
float *earshot_live_output(earshot_live *live) { return live->outputs.data(); }
s32 *earshot_live_output_words(earshot_live *live) { return live->renderer.output(0); }
u32 *earshot_live_silent(earshot_live *live) { return live->silent.data(); }

void earshot_live_process(earshot_live *live, u32 count) {
    live_renderer &renderer = live->renderer;
    for (u32 k = 0; k < renderer.sources(); ++k) {
        if (live->is_silent(k)) continue;
        const float *in = earshot_live_input(live, k);
        s32 *words = renderer.input(k);
        for (u32 i = 0; i < count; ++i) words[i] = word_of(in[i], renderer.clipped());
    }
    earshot_live_process_words(live, count);
    for (u32 ear = 0; ear < 2; ++ear)
        for (u32 i = 0; i < count; ++i)
            live->outputs[ear * earshot_live::block + i] =
                static_cast<float>(renderer.output(ear)[i] / full_scale);
}

void earshot_live_process_words(earshot_live *live, u32 count) {
    live->begin(count);
    live->renderer.process(count);
}

double earshot_live_clipped(const earshot_live *live) {
    return static_cast<double>(live->renderer.clipped());
}

earshot_web_scene *earshot_web_scene_parse(const char *text, u32 size) {
    return made([=]() -> earshot_web_scene * {
        auto scene = std::make_unique<earshot_web_scene>();
        earshot_scene_error error;
        if (earshot_scene_parse(text, size, nullptr, &scene->scene, &error) != EARSHOT_OK)
            throw scene_error(error.text);
        scene->sounds.resize(earshot_scene_sources(scene->scene));
        scene->heard.resize(4 * scene->sounds.size());
        return scene.release();
    });
}

void earshot_web_scene_free(earshot_web_scene *scene) { delete scene; }
u32 earshot_web_scene_sources(const earshot_web_scene *scene) {
    return earshot_scene_sources(scene->scene);
}

double earshot_web_scene_duration(const earshot_web_scene *scene) {
    const s64 samples = earshot_scene_duration(scene->scene);
    return samples < 0 ? -1 : static_cast<double>(samples) / EARSHOT_SCENE_RATE;
}

const char *earshot_web_scene_file(const earshot_web_scene *scene, u32 source) {
    return info_of(scene, source).file;
}
u32 earshot_web_scene_channel(const earshot_web_scene *scene, u32 source) {
    return info_of(scene, source).channel;
}
u32 earshot_web_scene_entry(const earshot_web_scene *scene, u32 source) {
    return info_of(scene, source).entry;
}

const float *earshot_web_scene_heard(earshot_web_scene *scene, double time) {
    constexpr double longest = 1e12; // seconds
    const double sample = std::clamp(time, 0.0, longest) * EARSHOT_SCENE_RATE;
    for (u32 k = 0; k < scene->sounds.size(); ++k)
        put_heard(*scene, k, static_cast<s64>(sample), &scene->heard[4 * k]);
    return scene->heard.data();
}

void earshot_web_scene_play(earshot_web_scene *scene, u32 source, const s32 *samples, u32 frames,
                            u32 stride) {
    scene->sounds[source] = {samples, frames, stride, 0};
}

u32 earshot_web_scene_open(earshot_web_scene *scene, const earshot_head *head) {
    earshot_scene_close(scene->stream);
    scene->stream = nullptr;
    const u32 status = guarded(&last_error, [&]() -> u32 {
        std::vector<earshot_scene_input> inputs(scene->sounds.size());
        for (std::size_t k = 0; k < inputs.size(); ++k) {
            scene->sounds[k].position = 0;
            if (earshot_scene_play(&scene->sounds[k], &inputs[k]) != EARSHOT_OK)
                throw scene_error("source " + std::to_string(k) + " has no samples");
        }
        earshot_scene_options options;
        earshot_scene_defaults(&options);
        options.head = head;
        earshot_scene_error error;
        if (earshot_scene_open(scene->scene, &options, inputs.data(),
                               static_cast<u32>(inputs.size()), &scene->stream,
                               &error) != EARSHOT_OK)
            throw scene_error(error.text);
        return EARSHOT_OK;
    });
    return status == EARSHOT_OK ? 1 : 0;
}

double earshot_web_scene_frames(const earshot_web_scene *scene) {
    return static_cast<double>(progress_of(scene).frames);
}

s32 earshot_web_scene_read(earshot_web_scene *scene, s32 *samples, u32 frames) {
    s64 done = 0;
    if (earshot_scene_read(scene->stream, samples, frames, &done) == EARSHOT_OK)
        return static_cast<s32>(done);
    refuse("the scene cannot be rendered on; there may be too little memory");
    return -1;
}

double earshot_web_scene_clipped(const earshot_web_scene *scene) {
    return static_cast<double>(progress_of(scene).clipped);
}

earshot_web_output *earshot_web_output_create(u32 bits, u32 dither) {
    return made([=]() -> earshot_web_output * {
        if (bits != 16 && bits != 24 && bits != 32)
            throw scene_error("bits: " + std::to_string(bits) + " is not 16, 24 or 32");
        return new earshot_web_output(bits, dither != 0);
    });
}

void earshot_web_output_destroy(earshot_web_output *output) { delete output; }

void earshot_web_output_narrow(earshot_web_output *output, s32 *samples, u32 count) {
    output->narrower.narrow(samples, samples, count);
}

double earshot_web_output_clipped(const earshot_web_output *output) {
    return static_cast<double>(output->narrower.clipped());
}

void earshot_web_output_pack(const earshot_web_output *output, const s32 *samples, u32 count,
                             unsigned char *bytes) {
    for (u32 i = 0; i < count; ++i)
        for (u32 k = 4 - output->bytes; k < 4; ++k)
            *bytes++ = static_cast<unsigned char>(static_cast<u32>(samples[i]) >> 8 * k);
}
