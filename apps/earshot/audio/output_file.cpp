#include "audio/output_file.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include "error.hpp"
#include "input_files.hpp"

namespace earshot_tool {

namespace {

// Signals that by default do not end a program, and two that end it here with a message: a write
// to a closed pipe, or beyond the limit of a file's size, fails instead.
bool ends_program(int number) {
    switch (number) {
    case SIGPIPE:
    case SIGXFSZ:
    case SIGCHLD:
    case SIGCONT:
    case SIGURG:
    case SIGWINCH:
    case SIGTSTP:
    case SIGTTIN:
    case SIGTTOU:
    case SIGKILL: // these two cannot be caught
    case SIGSTOP:
        return false;
    default:
        return true;
    }
}

// Shared with the signal handler: the unfinished file, while there is one.
char unfinished_path[PATH_MAX];
volatile std::sig_atomic_t unfinished = 0;

extern "C" void clean_up(int signal_number) {
    if (unfinished != 0) unlink(unfinished_path);
    // The handler was installed for one call: now the signal ends the program as usual.
    raise(signal_number);
}

// No signal arrives between making (or naming) a file and taking note of it.
class signals_held {
  public:
    signals_held() {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, &before_);
    }
    ~signals_held() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    signals_held(const signals_held &) = delete;
    signals_held &operator=(const signals_held &) = delete;

  private:
    sigset_t before_;
};

// A hidden name in the same directory, cut where it would grow past the limit of file systems.
std::string name_beside(const std::string &path, int process, int attempt) {
    const auto slash = path.rfind('/');
    const auto base = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, base) + "." + path.substr(base, 200) + "." + std::to_string(process) +
           "." + std::to_string(attempt) + ".part";
}

// No file of that name has to be there: what is missing is its folder.
std::string cause_beside(int error) {
    return error == ENOENT ? "its folder is not there; make it first" : system_cause(error);
}

} // namespace

void prepare_signals() {
    struct sigaction action {};
    action.sa_handler = clean_up;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    sigemptyset(&action.sa_mask);
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction old {};
        // What the caller has switched off, as nohup does, stays off; a sanitizer keeps its own.
        if (ends_program(number) && sigaction(number, nullptr, &old) == 0 &&
            old.sa_handler == SIG_DFL)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void make_directory(const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) throw processing_error(path, error.message());
}

void remove_unfinished(const std::string &path, int process) {
    unlink(name_beside(path, process, 0).c_str());
}

output_file::output_file(const std::string &path)
    : name_(path == "-" ? "standard output" : path), path_(path) {
    struct stat status {};
    // Also where the input has been read to its end: what was made of it is no substitute for it.
    if ((path == "-" ? fstat(STDOUT_FILENO, &status) : stat(path.c_str(), &status)) == 0 &&
        is_input(status))
        throw processing_error(name_, "is also an input and is not replaced; name another output");
    if (path == "-") {
        mode_ = mode::standard_output;
        descriptor_ = STDOUT_FILENO;
        open_in_place();
    } else if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        mode_ = mode::in_place;
        open_in_place();
    } else {
        open_beside();
    }
}

void output_file::open_in_place() {
    struct stat status {};
    const bool exists = mode_ == mode::standard_output ? fstat(descriptor_, &status) == 0
                                                       : stat(path_.c_str(), &status) == 0;
    // Headers of files are read back; a pipe opened both ways would not wait for its reader.
    const int access = exists && !S_ISREG(status.st_mode) ? O_WRONLY : O_RDWR;
    if (mode_ == mode::in_place)
        descriptor_ = open(path_.c_str(), access | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    else if (!exists)
        descriptor_ = -1;
    if (descriptor_ < 0) throw processing_error(name_, system_cause(errno));
    can_seek_ = lseek(descriptor_, 0, SEEK_CUR) >= 0;
    if (isatty(descriptor_) == 1) {
        if (mode_ == mode::in_place) close(descriptor_);
        throw usage_error(name_ + ": is a terminal; audio is not written there");
    }
}

void output_file::open_beside() {
    // Renaming would replace a file that its owner has protected against writing.
    if (faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT)
        throw processing_error(name_, system_cause(errno));
    const signals_held held;
    for (int attempt = 0; descriptor_ < 0; ++attempt) {
        temporary_ = name_beside(path_, getpid(), attempt);
        descriptor_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor_ < 0 && errno != EEXIST) throw processing_error(name_, cause_beside(errno));
    }
    if (temporary_.size() < sizeof unfinished_path) {
        std::memcpy(unfinished_path, temporary_.c_str(), temporary_.size() + 1);
        unfinished = 1;
    }
    inherit_permissions();
}

// A file that is replaced keeps its owner, where that is possible, and its permissions.
void output_file::inherit_permissions() const {
    struct stat old {};
    if (stat(path_.c_str(), &old) != 0) return;
    if (fchown(descriptor_, old.st_uid, old.st_gid) != 0) errno = 0;
    fchmod(descriptor_, old.st_mode & 0777);
}

void output_file::commit() {
    const int descriptor = descriptor_;
    if (mode_ != mode::standard_output) {
        descriptor_ = -1;
        // Some file systems report a full disk only now.
        if (close(descriptor) != 0) throw processing_error(name_, system_cause(errno));
    }
    if (mode_ == mode::beside) {
        const signals_held held;
        if (std::rename(temporary_.c_str(), path_.c_str()) != 0)
            throw processing_error(name_, system_cause(errno));
        unfinished = 0;
    }
    committed_ = true;
}

output_file::~output_file() {
    if (!committed_) discard();
}

void output_file::discard() {
    struct stat status {};
    // The target of a link cannot be removed; half of a recording is not left in it either.
    if (mode_ == mode::in_place && descriptor_ >= 0 && fstat(descriptor_, &status) == 0 &&
        S_ISREG(status.st_mode) && ftruncate(descriptor_, 0) != 0)
        errno = 0;
    if (mode_ != mode::standard_output && descriptor_ >= 0) close(descriptor_);
    if (mode_ == mode::beside) {
        const signals_held held;
        unlink(temporary_.c_str());
        unfinished = 0;
    }
}

} // namespace earshot_tool
