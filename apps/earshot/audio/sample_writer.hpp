// Writes samples of an output file's width in the output file's format.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include <earshot/types.h>

#include "audio/output_file.hpp"
#include "audio/output_format.hpp"

namespace earshot_tool {

class sample_writer {
  public:
    virtual ~sample_writer() = default;

    // Interleaved words with the sample in the upper bits and zeros below.
    virtual void write(const s32 *interleaved, std::size_t frames) = 0;

    // After the last frame: completes the header. Throws if any write so far has failed.
    virtual void finish() = 0;
};

// Containers that libsndfile writes: all that need a file in which it can seek. The number of
// frames tells whether a WAV file is long enough to be RF64.
std::unique_ptr<sample_writer> make_sndfile_writer(output_file &file, const output_format &format,
                                                   std::optional<s64> frames);

// AU and headerless samples, which are written strictly from start to end. The number of frames
// goes into the header of AU where it is known.
std::unique_ptr<sample_writer> make_stream_writer(output_file &file, const output_format &format,
                                                  std::optional<s64> frames);

// All bytes to the descriptor, or the number of the error. 0 for success.
int write_all(int descriptor, const void *bytes, std::size_t count);

// The same to a file, which is complete by that. Throws processing_error.
void complete(output_file &file, const void *bytes, std::size_t count);

} // namespace earshot_tool
