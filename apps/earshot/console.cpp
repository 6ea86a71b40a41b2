#include "console.hpp"

#include <cerrno>
#include <cmath>
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

void console::error(const std::string &line) const {
    std::fprintf(stderr, "%searshot: %s\n", progress_ ? "\r\033[K" : "",
                 message_line(line).c_str());
}

void console::note(const std::string &line) const {
    if (!talk_.quiet) error(line);
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

progress_bar::progress_bar(const console &out, const verbosity &talk, std::string noun,
                           std::size_t total)
    : out_(out), active_(!talk.quiet), noun_(std::move(noun)),
      total_(total), marks_{{clock::now(), 0}}, last_(marks_.front().time) {}

void progress_bar::clear() {
    if (shown_) std::fputs("\r\033[K", stderr);
    shown_ = false;
}

void progress_bar::show(std::size_t done) {
    using namespace std::chrono_literals;
    const auto now = clock::now();
    const auto pause = out_.shows_progress() ? clock::duration(200ms) : clock::duration(1min);
    done_ = done;
    if (now - marks_.back().time >= 1s) marks_.push_back({now, done});
    while (marks_.size() > 2 && now - marks_.front().time > 30s) marks_.pop_front();
    if (!active_ || now - last_ < pause) return;
    last_ = now;
    const std::chrono::duration<double> elapsed = now - marks_.front().time;
    const std::string line =
        text(static_cast<double>(done - marks_.front().done) / elapsed.count());
    if (!out_.shows_progress()) {
        out_.note(line);
        return;
    }
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
    std::fflush(stderr);
    shown_ = true;
}

std::string progress_bar::text(double rate) const {
    constexpr std::size_t width = 20;
    const std::size_t filled = total_ == 0 ? width : width * done_ / total_;
    std::string line(1, '[');
    line += std::string(filled, '#') + std::string(width - filled, '.') + "] ";
    line += std::to_string(done_) + " of " + counted(total_, noun_) + ", " + fixed(rate, 1) + "/s";
    if (rate > 0)
        line +=
            ", " + clock_time(std::llround(static_cast<double>(total_ - done_) / rate)) + " left";
    return line;
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
