// The bytes of a file or of a pipe, for those who read headers.
#pragma once

#include <cstddef>
#include <string>

#include <earshot/types.h>

namespace earshot_tool {

class byte_source {
  public:
    // A file begins where the descriptor stands. The name is for messages.
    byte_source(std::string name, int descriptor);

    const std::string &name() const { return name_; }
    int descriptor() const { return descriptor_; }
    bool is_seekable() const { return seekable_; }
    s64 begin() const { return begin_; } // in the file, whose descriptor stays there
    s64 size() const { return size_; }   // the largest number for a pipe

    // Whether all of the bytes are there. In a pipe there is no way back: what was read or lies
    // before it cannot be read again.
    bool read(s64 offset, void *bytes, std::size_t count);

  private:
    bool read_file(s64 offset, char *bytes, std::size_t count) const;
    bool read_pipe(char *bytes, std::size_t count);

    std::string name_;
    int descriptor_;
    bool seekable_;
    s64 begin_ = 0;
    s64 size_ = INT64_MAX;
    s64 consumed_ = 0; // of a pipe
};

} // namespace earshot_tool
