// An audio file or stream, read through libsndfile or libmpg123 as Q31.
#pragma once

#include <string>
#include <vector>

#include <sndfile.h>

#include "audio/channel_speakers.hpp"
#include "audio/mpeg_stream.hpp"
#include "audio/shared_file.hpp"
#include "audio/sound_header.hpp"
#include "scene/rendering/looping_source.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

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
    std::optional<s64> frames() const override { return length_; }
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    s64 skip(s64 frames) override;
    void rewind() override; // of a file that is seekable

    const std::string &name() const { return name_; }
    bool is_seekable() const { return seekable_; } // and so can be read once more
    s64 position() const { return position_; }     // frames read since the beginning
    int width() const;                             // bits of a sample; 8-bit formats count as 16
    bool is_float() const;                   // floating point, or a lossy format that decodes so
    bool is_linear() const;                  // integers, of which nothing has been lost
    u64 clipped() const { return clipped_; } // floating-point samples beyond full scale

    // Which loudspeaker each channel is for; empty where the file does not say.
    const loudspeakers &speakers() const { return speakers_; }

    int sndfile_format() const { return info_.format; }
    std::string library_text(int kind) const; // libsndfile's SF_STR_TITLE and so on; or empty
    std::string format_text() const;          // "WAV, 24-bit"
    std::string description() const;          // the format, channels, rate and length

  private:
    void check_descriptor();
    void open_stream();
    void open_plain(const byte_source &bytes, const sound_header &header);
    void open_mpeg(byte_source &bytes, const sound_header &header);
    void open_coded();
    void reopen();
    bool can_jump() const; // to any frame
    s64 jump(s64 frames);
    void check_rate(s64 rate) const;
    std::size_t decode_floating(std::size_t frames);
    std::size_t read_floating(s32 *interleaved, std::size_t frames);
    void require_finite(std::size_t frames) const; // of floating_
    void check_end(std::size_t wanted, std::size_t got) const;

    std::string name_;
    file_reader reader_;
    int descriptor_;
    bool seekable_ = true;
    std::optional<s64> length_; // frames
    SF_INFO info_{};
    loudspeakers speakers_;
    SNDFILE *file_ = nullptr; // unless mpeg_ reads it
    std::optional<mpeg_stream> mpeg_;
    std::vector<double> floating_;
    std::vector<float> single_;
    s64 position_ = 0;
    u64 clipped_ = 0;
};

} // namespace earshot_tool
