#include "text_file.hpp"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "error.hpp"
#include "input_files.hpp"

namespace earshot_tool {

namespace {

class open_file {
  public:
    explicit open_file(const std::string &path)
        : descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (descriptor_ < 0) throw processing_error(path, system_cause(errno));
        note_input(descriptor_);
    }
    ~open_file() {
        if (descriptor_ != STDIN_FILENO) close(descriptor_);
    }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;

    int descriptor() const { return descriptor_; }

    // Bytes, where they are known before they are read.
    std::optional<std::size_t> size() const {
        struct stat status {};
        if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
        return static_cast<std::size_t>(status.st_size);
    }

  private:
    int descriptor_;
};

} // namespace

std::string text_file_name(const std::string &path) {
    return path == "-" ? "standard input" : path;
}

std::string read_text(const std::string &path, std::size_t most, const std::string &is_too_large) {
    const open_file file(path);
    std::string text;
    char block[65536];
    // A text that grows would be in memory twice; what is not reached takes no memory.
    text.reserve(std::min(file.size().value_or(most), most) + sizeof block);
    for (;;) {
        const ssize_t got = read(file.descriptor(), block, sizeof block);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw processing_error(text_file_name(path), system_cause(errno));
        if (got == 0) return text;
        text.append(block, static_cast<std::size_t>(got));
        if (text.size() > most) throw processing_error(text_file_name(path), is_too_large);
    }
}

} // namespace earshot_tool
