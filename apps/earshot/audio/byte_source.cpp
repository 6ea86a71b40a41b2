#include "audio/byte_source.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <unistd.h>

#include "error.hpp"

namespace earshot_tool {

namespace {

// Bytes read, or -1 with the cause in errno; a signal that is handled does not count as one.
template <class Read> ssize_t uninterrupted(Read read) {
    ssize_t got = 0;
    do got = read();
    while (got < 0 && errno == EINTR);
    return got;
}

} // namespace

byte_source::byte_source(std::string name, int descriptor)
    : name_(std::move(name)), descriptor_(descriptor),
      seekable_(lseek(descriptor, 0, SEEK_CUR) >= 0) {
    if (!seekable_) return;
    begin_ = lseek(descriptor, 0, SEEK_CUR);
    size_ = std::max(s64{lseek(descriptor, 0, SEEK_END)} - begin_, s64{0});
    lseek(descriptor, begin_, SEEK_SET);
}

bool byte_source::read(s64 offset, void *bytes, std::size_t count) {
    char *next = static_cast<char *>(bytes);
    if (seekable_) return read_file(offset, next, count);
    char skipped[4096];
    while (consumed_ < offset) {
        const auto step = std::min(offset - consumed_, static_cast<s64>(sizeof skipped));
        if (!read_pipe(skipped, static_cast<std::size_t>(step))) return false;
    }
    return consumed_ == offset && read_pipe(next, count);
}

bool byte_source::read_file(s64 offset, char *bytes, std::size_t count) const {
    if (offset < 0 || offset > size_ - static_cast<s64>(count)) return false;
    while (count > 0) {
        const auto got = uninterrupted(
            [&] { return pread(descriptor_, bytes, count, static_cast<off_t>(begin_ + offset)); });
        if (got < 0) throw processing_error(name_, system_cause(errno));
        if (got == 0) return false;
        bytes += got;
        offset += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

bool byte_source::read_pipe(char *bytes, std::size_t count) {
    while (count > 0) {
        const auto got = uninterrupted([&] { return ::read(descriptor_, bytes, count); });
        if (got < 0) throw processing_error(name_, system_cause(errno));
        if (got == 0) return false;
        bytes += got;
        consumed_ += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace earshot_tool
