// The channels of a source, each as a source of its own, of a single reading. What one of them has
// read and another one has not is kept, so they are meant to be read in step.
#pragma once

#include <deque>
#include <vector>

#include "scene_library.hpp"

namespace earshot_tool {

class channel_splitter {
  public:
    explicit channel_splitter(frame_source &source) : source_(source) {}
    channel_splitter(const channel_splitter &) = delete;
    channel_splitter &operator=(const channel_splitter &) = delete;

    // Counted from 1. All of them before the first read.
    frame_source &channel(int number) { return readers_.emplace_back(*this, number); }

  private:
    class reader : public frame_source {
      public:
        reader(channel_splitter &all, int channel)
            : all_(all), channel_(static_cast<std::size_t>(channel - 1)) {}

        int channels() const override { return 1; }
        int rate() const override { return all_.source_.rate(); }
        std::optional<s64> frames() const override { return all_.source_.frames(); }
        bool endless() const override { return all_.source_.endless(); }
        std::size_t read(s32 *mono, std::size_t frames) override;
        s64 skip(s64 frames) override;

        s64 position() const { return position_; }
        void append(const s32 *interleaved, std::size_t frames, s64 place);
        void drop_used();

      private:
        std::size_t kept() const { return samples_.size() - used_; }
        void use(std::size_t frames);

        channel_splitter &all_;
        std::size_t channel_;
        std::vector<s32> samples_; // kept ones, behind so many that have been read
        std::size_t used_ = 0;
        s64 position_ = 0; // of the next frame
    };

    void fill(std::size_t frames);

    frame_source &source_;
    std::deque<reader> readers_;
    std::vector<s32> block_; // interleaved
    s64 position_ = 0;       // in the source
    bool ended_ = false;
};

} // namespace earshot_tool
