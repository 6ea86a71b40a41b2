// Files with several readers, each at a place of its own: a scene may play one recording from
// hundreds of sources, and a program may not have that many files open.
#pragma once

#include <memory>
#include <string>

#include <sndfile.h>

#include "scene_library.hpp"

namespace earshot_tool {

class shared_file;

class file_reader {
  public:
    // Opens a file, or takes standard input for "-". Where a regular file is open already, by
    // whatever name, its readers share the descriptor. Throws processing_error.
    explicit file_reader(const std::string &path);
    // libsndfile keeps the address.
    file_reader(const file_reader &) = delete;
    file_reader &operator=(const file_reader &) = delete;

    int descriptor() const;

    // As sf_open_fd. The reader outlives the stream.
    SNDFILE *open_stream(SF_INFO &info);

    // As lseek and read, at this reader's own place in a regular file. A read goes on to the end
    // of the file, or to an error.
    s64 seek(s64 offset, int whence);
    s64 read(void *bytes, s64 count);

    // Of the last read that failed, as in errno; 0 for none. libsndfile takes such a read for the
    // end.
    int error() const { return error_; }

  private:
    s64 size() const;

    std::shared_ptr<const shared_file> file_;
    s64 position_ = 0;
    int error_ = 0;
};

} // namespace earshot_tool
