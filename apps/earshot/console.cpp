#include "console.hpp"

#include <cerrno>
#include <cstdio>

#include <unistd.h>

#include "error.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

console::console(const verbosity &talk)
    : talk_(talk), progress_(!talk.quiet && isatty(STDERR_FILENO) == 1) {
    if (talk.quiet && talk.verbose)
        throw usage_error("--quiet and --verbose contradict each other");
}

void console::note(const std::string &line) const {
    if (!talk_.quiet)
        std::fprintf(stderr, "%searshot: %s\n", progress_ ? "\r\033[K" : "",
                     message_line(line).c_str());
}

void console::detail(const std::string &line) const {
    if (talk_.verbose) note(line);
}

void console::clipped(const std::string &file, u64 samples, const std::string &where) const {
    if (samples != 0) note(file + ": " + counted(samples, "sample") + " clipped " + where);
}

progress::progress(const console &out, int rate, std::optional<s64> total_frames)
    : active_(out.shows_progress()), rate_(rate), total_(total_frames), start_(clock::now()),
      last_(start_) {}

progress::~progress() { clear(); }

void progress::clear() {
    if (shown_) std::fputs("\r\033[K", stderr);
    shown_ = false;
}

void progress::advance(std::size_t frames) {
    done_ += static_cast<s64>(frames);
    if (!active_) return;
    const auto now = clock::now();
    if (now - last_ >= std::chrono::milliseconds(200)) {
        last_ = now;
        show(now);
    }
}

void progress::show(clock::time_point now) {
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    const double speed = static_cast<double>(done_) / rate_ / elapsed;
    std::string line = clock_time(done_ / rate_) + " rendered";
    if (total_ && *total_ > 0) line += " (" + std::to_string(100 * done_ / *total_) + " %)";
    std::fprintf(stderr, "\r%s, %.0f x real time\033[K", line.c_str(), speed);
    std::fflush(stderr);
    shown_ = true;
}

void print(const std::string &text) {
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw processing_error("standard output", system_cause(errno));
}

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    const std::string result = text;
    return result.find_first_of("123456789") == std::string::npos && result[0] == '-'
               ? result.substr(1)
               : result;
}

std::string clock_time(s64 seconds) {
    char text[40];
    std::snprintf(text, sizeof text, "%lld:%02d:%02d", static_cast<long long>(seconds / 3600),
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    return text;
}

std::string counted(u64 count, const std::string &noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace earshot_tool
