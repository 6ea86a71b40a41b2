/* Sounds made of integers, and scenes that play them. */
#ifndef EARSHOT_TESTS_SCENE_SOUNDS_HPP
#define EARSHOT_TESTS_SCENE_SOUNDS_HPP

#include "scene/description/scene_json.hpp"
#include "scene/rendering/head_engine.hpp"
#include "scene/rendering/looping_source.hpp"
#include "scene/rendering/scene_stream.hpp"
#include "scene/rendering/table_engine.hpp"

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

namespace earshot_scenes::test {

using samples = std::vector<s32>;

/* Noise with `level` bits less than full scale. */
inline samples noise(std::size_t length, u64 seed, int level = 2) {
    samples sound(length);
    for (s32 &sample : sound) {
        seed = seed * 6364136223846793005u + 1442695040888963407u;
        sample = static_cast<s32>(seed >> 32) >> level;
    }
    return sound;
}

class memory_source : public rewindable_source {
  public:
    explicit memory_source(samples sound) : sound_(std::move(sound)) {}

    int channels() const override { return 1; }
    int rate() const override { return scene_rate; }
    std::optional<s64> frames() const override { return static_cast<s64>(sound_.size()); }
    void rewind() override { position_ = 0; }
    std::size_t read(s32 *mono, std::size_t frames) override {
        const std::size_t count = std::min(frames, sound_.size() - position_);
        std::copy_n(sound_.data() + position_, count, mono);
        position_ += count;
        return count;
    }

  private:
    samples sound_;
    std::size_t position_ = 0;
};

enum class placement { continuous, measured };

/* The built-in head, made once. */
inline const shared_head &own_head() {
    static const shared_head head = builtin_head();
    return head;
}

/* A scene with its sounds, one for each source. */
struct opened_scene {
    opened_scene(earshot_scenes::scene played, const std::vector<samples> &sounds)
        : scene(std::move(played)) {
        for (std::size_t k = 0; k < scene.sources.size(); ++k) {
            memory_source &once = files.emplace_back(sounds[k % sounds.size()]);
            inputs.push_back(&once);
            if (scene.sources[k].loop) inputs.back() = &loops.emplace_back(once);
        }
    }

    earshot_scenes::scene scene;
    std::deque<memory_source> files;
    std::deque<looping_source> loops;
    std::vector<frame_source *> inputs;
};

/* All that is left of a stream, in reads of so many frames. */
inline samples all_of(frame_source &stream, std::size_t step = 1000) {
    const auto channels = static_cast<std::size_t>(stream.channels());
    samples out, block(channels * step);
    while (const std::size_t got = stream.read(block.data(), step))
        out.insert(out.end(), block.begin(),
                   block.begin() + static_cast<std::ptrdiff_t>(channels * got));
    return out;
}

/* For two ears. */
struct performance : opened_scene {
    performance(earshot_scenes::scene played, const std::vector<samples> &sounds,
                placement where = placement::continuous)
        : opened_scene(std::move(played), sounds) {
        const std::size_t count = inputs.size(), length = scene_stream::frame_length;
        if (where == placement::measured)
            engine = std::make_unique<table_engine>(filter_tables::directions, count, length,
                                                    headroom_for(scene).guard);
        else
            engine = std::make_unique<head_engine>(own_head(), count, length, std::nullopt);
        stream.emplace(scene, inputs, *engine);
    }
    performance(const std::string &text, const std::vector<samples> &sounds,
                placement where = placement::continuous)
        : performance(parse_scene(text, {}), sounds, where) {}

    samples play(std::size_t step = 1000) { return all_of(*stream, step); }

    std::unique_ptr<binaural_engine> engine;
    std::optional<scene_stream> stream;
};

/* A scene's text with some keys of its own; those of the source follow "file". */
inline std::string scene_text(const std::string &source, const std::string &top = "") {
    return R"({"version": 1, )" + (top.empty() ? "" : top + ", ") +
           R"("sources": [{"file": "a", )" + source + "}]}";
}

} // namespace earshot_scenes::test

#endif
