// An audio file or stream, read through libsndfile as Q31.
#pragma once

#include <string>
#include <vector>

#include <sndfile.h>
#include <sys/types.h>

#include "scene/rendering/looping_source.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

// What tells one file from another, whatever it is called.
struct file_identity {
    dev_t device;
    ino_t inode;

    bool operator==(const file_identity &) const = default;
};

class audio_input : public rewindable_source {
  public:
    // Opens a file, or standard input for "-". Throws processing_error for what is not audio, is
    // known to be truncated, or has a sample rate that no recording has.
    explicit audio_input(const std::string &name);
    ~audio_input() override;
    audio_input(const audio_input &) = delete;
    audio_input &operator=(const audio_input &) = delete;

    int channels() const override { return info_.channels; }
    int rate() const override { return info_.samplerate; }
    std::optional<s64> frames() const override;
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    void rewind() override; // of a file that is seekable

    const std::string &name() const { return name_; }
    file_identity identity() const { return identity_; }
    bool is_seekable() const { return seekable_; } // and so can be read once more
    s64 position() const { return position_; }     // frames read since the beginning
    int width() const;                             // bits of a sample; 8-bit formats count as 16
    bool is_float() const;                   // floating point, or a lossy format that decodes so
    u64 clipped() const { return clipped_; } // floating-point samples beyond full scale

    std::string format_text() const; // "WAV, 24-bit"
    std::string description() const; // the format, channels, rate and length

  private:
    void open_descriptor();
    void open_stream();
    void continue_without_length();
    void check_header();
    std::size_t read_floating(s32 *interleaved, std::size_t frames);
    void require_finite(std::size_t frames) const; // of floating_
    void check_end(std::size_t wanted, std::size_t got);

    std::string name_;
    int descriptor_ = -1;
    bool seekable_ = true;
    bool open_ended_ = false;
    file_identity identity_{};
    SF_INFO info_{};
    SNDFILE *file_ = nullptr;
    std::vector<double> floating_;
    s64 position_ = 0;
    u64 clipped_ = 0;
};

} // namespace earshot_tool
