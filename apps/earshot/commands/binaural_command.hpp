// What the commands have in common that render for two ears.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio/audio_input.hpp"
#include "audio/channel_picker.hpp"
#include "audio/resampler.hpp"
#include "options.hpp"
#include "scene/rendering/binaural_stream.hpp"

namespace earshot_tool {

struct binaural_options {
    binaural_options() { output.bits = 24; }

    output_options output;
    std::optional<int> guard; // bits; nothing: as many as are safe
    std::optional<s32> gain;  // thousandths of a decibel
    bool normalize = false;
    verbosity level;
};

void add_binaural_options(CLI::App &command, binaural_options &options);

// The guard for so many sources. Throws usage_error where the options ask for more than is safe.
int guard_for(const binaural_options &options, int safe, std::size_t sources);

// The format of the output. Throws usage_error for what cannot be written.
output_format binaural_format(const binaural_options &options);

// A file, one channel of it or all, at 48000 Hz.
class binaural_input {
  public:
    explicit binaural_input(const std::string &path) : file_(path) {}

    // Before the first read: one channel, counted from 1, instead of all.
    void pick(int channel) { picked_.emplace(sound(), channel); }

    // Before picking a channel: over and over. The file has to be seekable.
    void repeat() { repeated_.emplace(file_); }

    // At 48000 Hz, from the first call on.
    frame_source &source();

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
};

// Everything from the files to the ears, opened and not yet read.
struct rendering {
    virtual ~rendering() = default;

    // What to tell at the end besides what the inputs have to tell.
    virtual void report(const console &) const {}

    std::vector<std::unique_ptr<binaural_input>> inputs;
    std::optional<binaural_engine> engine; // of a stream that brings none of its own
    std::unique_ptr<binaural_stream> stream;
    int safe_guard = 0; // bits with which no sum can wrap
};

// What the inputs are and what is done to them; a file that several of them read is told once.
void describe_inputs(const rendering &work, const console &out);

// Renders to the output that the options name; opens the rendering twice where its peak has to be
// known first.
void run_binaural(const binaural_options &options,
                  const std::function<std::unique_ptr<rendering>()> &open);

} // namespace earshot_tool
