// MPEG audio, layers I to III, read through libmpg123.
//
// libsndfile reads it, too, but lets libmpg123 print what it makes of damage, and takes a file that
// was cut for a shorter one.
#pragma once

#include <memory>

#include <mpg123.h>

#include "audio/byte_source.hpp"
#include "audio/shared_file.hpp"

namespace earshot_tool {

class mpeg_stream {
  public:
    // Tags end and frames begin at the offset. Throws processing_error for what holds no sound or
    // less than it should. The reader, of the same file, outlives the stream.
    mpeg_stream(file_reader &reader, byte_source &in, s64 begin);

    int layer() const { return layer_; }
    int channels() const { return channels_; }
    int rate() const { return rate_; }
    s64 frames() const { return frames_; } // samples of a channel

    // As many frames as there are; full scale is 1.
    std::size_t read(float *interleaved, std::size_t frames);
    void rewind();

  private:
    struct closer {
        void operator()(mpg123_handle *handle) const { mpg123_delete(handle); }
    };

    void open(file_reader &reader, s64 begin);
    void check_frames(byte_source &in, s64 begin);
    void require(int status) const;

    std::string name_;
    std::unique_ptr<mpg123_handle, closer> handle_;
    int layer_ = 0;
    int channels_ = 0;
    int rate_ = 0;
    s64 frames_ = 0;
};

} // namespace earshot_tool
