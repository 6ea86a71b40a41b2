// A sound over and over.
#pragma once

#include "scene/rendering/frame_source.hpp"

namespace earshot_scenes {

// What can be read from its beginning again.
class rewindable_source : public frame_source {
  public:
    virtual void rewind() = 0;
};

// Repeats a source without end; an empty one is empty. It belongs before a conversion of the sample
// rate, which then passes over the joint without noticing.
class looping_source : public frame_source {
  public:
    explicit looping_source(rewindable_source &source) : source_(source) {}

    int channels() const override { return source_.channels(); }
    int rate() const override { return source_.rate(); }
    std::optional<s64> frames() const override { return std::nullopt; }
    bool endless() const override { return true; }
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    s64 skip(s64 frames) override;

  private:
    rewindable_source &source_;
};

} // namespace earshot_scenes
