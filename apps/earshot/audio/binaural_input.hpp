// A file, one channel of it, some or all, at 48000 Hz.
#pragma once

#include <optional>
#include <string>

#include "audio/audio_input.hpp"
#include "audio/channel_picker.hpp"
#include "audio/channel_splitter.hpp"
#include "audio/resampler.hpp"

namespace earshot_tool {

class console;

class binaural_input {
  public:
    explicit binaural_input(const std::string &path) : file_(path) {}

    // Before the first read: one channel, counted from 1, instead of all.
    void pick(int channel) { picked_.emplace(sound(), channel); }

    // Before picking a channel: over and over. The file has to be seekable.
    void repeat() { repeated_.emplace(file_); }

    // At 48000 Hz, from the first call on.
    frame_source &source();

    // Instead of picking one, some of the channels, counted from 1; all of them before the first
    // read. They are read in step.
    frame_source &channel(int number);

    const audio_input &file() const { return file_; }

    void describe(const console &out) const;

    // Samples clipped on the way.
    u64 clipped_on_reading() const { return file_.clipped(); }
    u64 clipped_by_conversion() const { return converted_ ? converted_->clipped() : 0; }

  private:
    frame_source &sound();

    audio_input file_;
    std::optional<looping_source> repeated_;
    std::optional<channel_picker> picked_;
    std::optional<resampler> converted_;
    std::optional<channel_splitter> split_;
};

} // namespace earshot_tool
