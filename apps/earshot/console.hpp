// What the tool says while it works: notes, details and progress, all on stderr.
#pragma once

#include <chrono>
#include <deque>
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
    void error(const std::string &line) const;  // always
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

// How far a run of many pieces is: a bar with their rate and the time left that is rewritten on a
// terminal, elsewhere a line of it every minute, and nothing where only errors are wanted.
class progress_bar {
  public:
    progress_bar(const console &out, const verbosity &talk, std::string noun, std::size_t total);
    ~progress_bar() { clear(); }
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;

    // Called often, with the pieces that are done by now.
    void show(std::size_t done);

    // Takes the bar away, before something else is printed.
    void clear();

  private:
    using clock = std::chrono::steady_clock;
    struct mark {
        clock::time_point time;
        std::size_t done;
    };

    std::string text(double rate) const;

    const console &out_;
    bool active_;
    bool shown_ = false;
    std::string noun_;
    std::size_t total_;
    std::size_t done_ = 0;
    std::deque<mark> marks_; // a second apart, of the last half minute, which the rate is of
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
