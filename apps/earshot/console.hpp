// What the tool says while it works: notes, details and progress, all on stderr.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <earshot/types.h>

namespace earshot_tool {

struct verbosity {
    bool quiet = false;
    bool verbose = false;
};

class console {
  public:
    explicit console(const verbosity &talk);

    void note(const std::string &line) const;   // unless quiet
    void detail(const std::string &line) const; // only when verbose
    void clipped(const std::string &file, u64 samples, const std::string &where) const; // if any

    bool shows_progress() const { return progress_; }

  private:
    verbosity talk_;
    bool progress_;
};

// A line that is rewritten a few times a second: time done, share of the whole where that is known,
// and how many times faster than real time. Nothing unless stderr is a terminal.
class progress {
  public:
    progress(const console &out, int rate, std::optional<s64> total_frames);
    ~progress();
    progress(const progress &) = delete;
    progress &operator=(const progress &) = delete;

    void advance(std::size_t frames);

    // Takes the line away, before something else is printed.
    void clear();

  private:
    using clock = std::chrono::steady_clock;

    void show(clock::time_point now);

    bool active_;
    bool shown_ = false;
    int rate_;
    std::optional<s64> total_;
    s64 done_ = 0;
    clock::time_point start_;
    clock::time_point last_;
};

// Prints a result on standard output; a failure, as on a full disk, is an error like any other.
void print(const std::string &text);

// With so many decimals, and without a minus before what prints as zero.
std::string fixed(double value, int decimals);

// "h:mm:ss" for short spans of time as well as long ones.
std::string clock_time(s64 seconds);

// "1 frame", "2 frames".
std::string counted(u64 count, const std::string &noun);

} // namespace earshot_tool
