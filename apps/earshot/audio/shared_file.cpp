#include "audio/shared_file.hpp"

#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "error.hpp"

namespace earshot_tool {

// A descriptor, closed with the last reader of the file.
class shared_file {
  public:
    static std::shared_ptr<const shared_file> open(const std::string &path);

    explicit shared_file(int descriptor) : descriptor_(descriptor) {
        struct stat status {};
        regular_ = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
        identity_ = {status.st_dev, status.st_ino};
    }
    ~shared_file() {
        if (descriptor_ != STDIN_FILENO) close(descriptor_);
    }
    shared_file(const shared_file &) = delete;
    shared_file &operator=(const shared_file &) = delete;

    int descriptor() const { return descriptor_; }

    // Whether it can be read from any place at any time.
    bool regular() const { return regular_; }

  private:
    using identity = std::pair<dev_t, ino_t>;

    int descriptor_;
    bool regular_ = false;
    identity identity_;
};

std::shared_ptr<const shared_file> shared_file::open(const std::string &path) {
    if (path == "-") return std::make_shared<shared_file>(STDIN_FILENO);
    static std::mutex alone; // other threads may open sounds of their own
    static std::map<identity, std::weak_ptr<const shared_file>> files;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw processing_error(path, system_cause(errno));
    std::shared_ptr<const shared_file> file = std::make_shared<shared_file>(descriptor);
    if (!file->regular()) return file;
    const std::lock_guard lock(alone);
    auto &known = files[file->identity_];
    if (auto first = known.lock()) return first;
    known = file;
    return file;
}

file_reader::file_reader(const std::string &path) : file_(shared_file::open(path)) {}

int file_reader::descriptor() const { return file_->descriptor(); }

// What a shell has opened as standard input may stand at any place, and stays with libsndfile.
SNDFILE *file_reader::open_stream(SF_INFO &info) {
    if (!file_->regular() || descriptor() == STDIN_FILENO)
        return sf_open_fd(descriptor(), SFM_READ, &info, SF_FALSE);
    SF_VIRTUAL_IO functions{
        [](void *self) -> sf_count_t { return static_cast<file_reader *>(self)->size(); },
        [](sf_count_t offset, int whence, void *self) -> sf_count_t {
            return static_cast<file_reader *>(self)->seek(offset, whence);
        },
        [](void *bytes, sf_count_t count, void *self) -> sf_count_t {
            return static_cast<file_reader *>(self)->read(bytes, count);
        },
        [](const void *, sf_count_t, void *) -> sf_count_t { return 0; },
        [](void *self) -> sf_count_t { return static_cast<file_reader *>(self)->position_; },
    };
    return sf_open_virtual(&functions, SFM_READ, &info, this);
}

s64 file_reader::size() const {
    struct stat status {};
    return fstat(descriptor(), &status) == 0 ? status.st_size : 0;
}

s64 file_reader::seek(s64 offset, int whence) {
    if (whence == SEEK_CUR) offset += position_;
    if (whence == SEEK_END) offset += size();
    if (offset < 0) return -1;
    position_ = offset;
    return offset;
}

s64 file_reader::read(void *bytes, s64 count) {
    s64 got = 0;
    while (got < count) {
        const ssize_t more = pread(descriptor(), static_cast<char *>(bytes) + got,
                                   static_cast<std::size_t>(count - got), position_);
        if (more < 0 && errno == EINTR) continue;
        if (more < 0) error_ = errno;
        if (more <= 0) break;
        position_ += more;
        got += more;
    }
    return got;
}

} // namespace earshot_tool
