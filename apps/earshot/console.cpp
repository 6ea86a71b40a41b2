#include "console.hpp"

#include <cerrno>
#include <cstdio>

#include <unistd.h>

#include "error.hpp"

namespace earshot_tool {

console::console(const verbosity &talk)
    : talk_(talk), progress_(!talk.quiet && isatty(STDERR_FILENO) == 1) {
    if (talk.quiet && talk.verbose)
        throw usage_error("--quiet and --verbose contradict each other");
}

void console::note(const std::string &line) const {
    if (!talk_.quiet)
        std::fprintf(stderr, "%searshot: %s\n", progress_ ? "\r\033[K" : "",
                     one_line(line).c_str());
}

void console::detail(const std::string &line) const {
    if (talk_.verbose) note(line);
}

void console::clipped(const std::string &file, u64 samples, const char *where) const {
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

std::string one_line(std::string text) {
    for (char &c : text)
        if (static_cast<unsigned char>(c) < ' ') c = '?';
    constexpr std::size_t longest = 600;
    if (text.size() <= longest) return text;
    // Bytes of 10xxxxxx continue a character of UTF-8.
    const auto is_continued = [&text](std::size_t at) { return (text[at] & 0xC0) == 0x80; };
    std::size_t head = longest / 2;
    std::size_t tail = text.size() - longest / 2;
    while (head > 0 && is_continued(head)) --head;
    while (tail < text.size() && is_continued(tail)) ++tail;
    return text.substr(0, head) + "..." + text.substr(tail);
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
