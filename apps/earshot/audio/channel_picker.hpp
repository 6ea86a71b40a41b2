// One channel of a source with several.
#pragma once

#include <vector>

#include "scene_library.hpp"

namespace earshot_tool {

class channel_picker : public frame_source {
  public:
    // channel counts from 1.
    channel_picker(frame_source &source, int channel)
        : source_(source), channel_(static_cast<std::size_t>(channel - 1)) {}

    int channels() const override { return 1; }
    int rate() const override { return source_.rate(); }
    std::optional<s64> frames() const override { return source_.frames(); }
    bool endless() const override { return source_.endless(); }

    std::size_t read(s32 *mono, std::size_t frames) override {
        if (source_.channels() == 1) return source_.read(mono, frames);
        const auto width = static_cast<std::size_t>(source_.channels());
        block_.resize(frames * width);
        const std::size_t got = source_.read(block_.data(), frames);
        const s32 *sample = block_.data() + channel_;
        for (std::size_t i = 0; i < got; ++i) mono[i] = sample[i * width];
        return got;
    }

    s64 skip(s64 frames) override { return source_.skip(frames); }

  private:
    frame_source &source_;
    std::size_t channel_;
    std::vector<s32> block_;
};

} // namespace earshot_tool
