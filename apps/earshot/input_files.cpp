#include "input_files.hpp"

#include <algorithm>
#include <mutex>
#include <vector>

namespace earshot_tool {

namespace {

// What tells one file from another.
struct file_identity {
    dev_t device;
    ino_t inode;

    bool operator==(const file_identity &) const = default;
};

// Threads may open files at the same time.
class file_list {
  public:
    void add(const file_identity &file) {
        const std::lock_guard lock(alone_);
        if (!holds(file)) files_.push_back(file);
    }
    bool contains(const file_identity &file) {
        const std::lock_guard lock(alone_);
        return holds(file);
    }
    void clear() {
        const std::lock_guard lock(alone_);
        files_.clear();
    }

  private:
    bool holds(const file_identity &file) const {
        return std::find(files_.begin(), files_.end(), file) != files_.end();
    }

    std::mutex alone_;
    std::vector<file_identity> files_;
};

file_list &inputs() {
    static file_list files;
    return files;
}

} // namespace

void note_input(int descriptor) {
    struct stat status {};
    // A terminal or /dev/null may well be both ends.
    if (fstat(descriptor, &status) == 0 && !S_ISCHR(status.st_mode))
        inputs().add({status.st_dev, status.st_ino});
}

bool is_input(const struct stat &status) {
    return inputs().contains({status.st_dev, status.st_ino});
}

void forget_inputs() { inputs().clear(); }

} // namespace earshot_tool
