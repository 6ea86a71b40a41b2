#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "audio/digest.hpp"
#include "commands/batch_line.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

constexpr std::size_t most_heads = 4; // a few megabytes each

class opened {
  public:
    explicit opened(const std::string &path)
        : path_(path), descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        if (descriptor_ < 0) throw processing_error(path, system_cause(errno));
        if (fstat(descriptor_, &status_) != 0 || !S_ISREG(status_.st_mode)) {
            close(descriptor_);
            throw processing_error(path,
                                   "is no regular file, which a batch needs; write it to one");
        }
    }
    ~opened() { close(descriptor_); }
    opened(const opened &) = delete;
    opened &operator=(const opened &) = delete;

    // What changes with the content.
    std::string version() const {
        std::string text;
        for (const auto number :
             {static_cast<s64>(status_.st_dev), static_cast<s64>(status_.st_ino),
              static_cast<s64>(status_.st_size), s64{status_.st_mtim.tv_sec},
              s64{status_.st_mtim.tv_nsec}, s64{status_.st_ctim.tv_sec},
              s64{status_.st_ctim.tv_nsec}})
            text += std::to_string(number) + " ";
        return text;
    }

    std::string digest() const {
        static std::array<char, 1 << 18> block;
        byte_digest digest;
        for (;;) {
            const ssize_t got = read(descriptor_, block.data(), block.size());
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) throw processing_error(path_, system_cause(errno));
            if (got == 0) return digest.text();
            digest.add(block.data(), static_cast<std::size_t>(got));
        }
    }

  private:
    std::string path_;
    int descriptor_;
    struct stat status_ {};
};

} // namespace

listening_head batch_cache::head(const std::string &path, const console &out) {
    const std::string version = path.empty() ? "built in" : opened(path).version();
    for (auto known = heads_.begin(); known != heads_.end(); ++known)
        if (known->version == version) {
            std::rotate(known, known + 1, heads_.end());
            return heads_.back().head;
        }
    if (heads_.size() == most_heads) heads_.erase(heads_.begin());
    heads_.push_back({version, load_head(path, out)});
    return heads_.back().head;
}

std::string batch_cache::digest(const std::string &path) {
    const opened file(path);
    std::string &known = digests_[file.version()];
    if (known.empty()) known = file.digest();
    return known;
}

} // namespace earshot_tool
