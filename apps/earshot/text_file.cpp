#include "text_file.hpp"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "error.hpp"
#include "input_files.hpp"

namespace earshot_tool {

namespace {

// Larger than any text that was meant to be one; a recording given by mistake stops here.
constexpr std::size_t most_bytes = std::size_t{256} << 20;

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

  private:
    int descriptor_;
};

} // namespace

std::string text_file_name(const std::string &path) {
    return path == "-" ? "standard input" : path;
}

std::string read_text(const std::string &path) {
    const open_file file(path);
    std::string text;
    char block[65536];
    for (;;) {
        const ssize_t got = read(file.descriptor(), block, sizeof block);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw processing_error(text_file_name(path), system_cause(errno));
        if (got == 0) return text;
        text.append(block, static_cast<std::size_t>(got));
        if (text.size() > most_bytes)
            throw processing_error(text_file_name(path), "is too large to be text");
    }
}

} // namespace earshot_tool
