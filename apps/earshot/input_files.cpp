#include "input_files.hpp"

#include <algorithm>
#include <vector>

namespace earshot_tool {

namespace {

// What tells one file from another.
struct file_identity {
    dev_t device;
    ino_t inode;

    bool operator==(const file_identity &) const = default;
};

std::vector<file_identity> &inputs() {
    static std::vector<file_identity> files;
    return files;
}

} // namespace

void note_input(int descriptor) {
    struct stat status {};
    // A terminal or /dev/null may well be both ends.
    if (fstat(descriptor, &status) == 0 && !S_ISCHR(status.st_mode) && !is_input(status))
        inputs().push_back({status.st_dev, status.st_ino});
}

bool is_input(const struct stat &status) {
    const file_identity identity{status.st_dev, status.st_ino};
    return std::find(inputs().begin(), inputs().end(), identity) != inputs().end();
}

void forget_inputs() { inputs().clear(); }

} // namespace earshot_tool
