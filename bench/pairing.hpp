// Times contestants turn and turn about: in every round each of them runs for a short slice, in an
// order drawn anew, and ratios are formed within a round. What a shared machine does to the clock
// or the caches for longer than a round falls on all of them alike. Frameworks that run one case
// after the other form ratios of times that lie seconds apart.
#ifndef EARSHOT_BENCH_PAIRING_HPP
#define EARSHOT_BENCH_PAIRING_HPP

#include <functional>
#include <string>
#include <vector>

namespace earshot_bench {

struct contestant {
    std::string name;
    // Does what is timed, that many times.
    std::function<void(unsigned calls)> run;
    // Throws when what it computes is wrong; nobody is timed who has not passed.
    std::function<void()> check;
    // Not timed: before every slice, and before every batch of calls where the input does not
    // survive the call.
    std::function<void()> enter = [] {};
    std::function<void()> refill = [] {};
    unsigned batch = 0; // calls from refill to refill; 0: as many as a slice takes
};

struct bench_case {
    std::string name;
    unsigned size;
    std::string unit;
    double units_per_nanosecond; // of the time of one call
    std::function<std::vector<contestant>()> enlist;
};

struct spread {
    double median, lower_quartile, upper_quartile;
};

// Nanoseconds per call in every round.
using times = std::vector<double>;

struct race_length {
    unsigned rounds;
    double slice_nanoseconds;
};

// One entry per contestant.
std::vector<times> race(const std::vector<contestant> &contestants, const race_length &length);

spread spread_of(times values);
spread spread_of_ratio(const times &time, const times &reference);

} // namespace earshot_bench

#endif
