// The end of every command's audio path: Q31 is brought to the output's width, with dither or
// without, counted, digested and written.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio/digest.hpp"
#include "audio/excerpt.hpp"
#include "audio/sample_writer.hpp"
#include "scene/delivery/sample_narrower.hpp"

namespace earshot_tool {

// What the command line says about the output.
struct output_options {
    std::string path;
    int bits = 0;                  // 0: not given
    int default_bits = 0;          // 0: as the input
    int rate = 0;                  // Hz; 0: not given
    std::optional<double> quality; // 0 to 10
    bool raw = false;
    bool no_dither = false;
    bool digest = false;
    time_span span;
};

// Gets frames as they are written: words of the output's width, zeros below.
using frame_listener = std::function<void(const s32 *interleaved, std::size_t frames)>;

class audio_output {
  public:
    // frames: the length, where it is known. first: the number that the first frame has in the
    // sound that it is a part of, which dither goes by. The format has been checked.
    audio_output(const output_options &options, const output_format &format,
                 std::optional<s64> frames, s64 first = 0, frame_listener written = {});

    // Any number of interleaved Q31 frames.
    void write(const s32 *interleaved, std::size_t frames);

    // Completes the file under its name and prints the digest if it is asked for.
    void finish();

    const std::string &name() const { return file_.name(); }
    s64 frames() const { return frames_; }
    u64 clipped() const { return narrower_.clipped(); }

  private:
    const s32 *narrow(const s32 *interleaved, std::size_t count);
    void print_digest();

    output_options options_;
    output_format format_;
    output_file file_;
    std::unique_ptr<sample_writer> writer_;
    sample_narrower narrower_;
    sample_digest digest_;
    frame_listener written_;
    std::vector<s32> words_;
    s64 frames_ = 0;
};

} // namespace earshot_tool
