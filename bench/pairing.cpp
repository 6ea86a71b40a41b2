#include "bench/pairing.hpp"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>

namespace earshot_bench {
namespace {

double nanoseconds_of(const contestant &c, unsigned calls) {
    const auto begin = std::chrono::steady_clock::now();
    c.run(calls);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin)
        .count();
}

// Calls between two looks at the clock: few enough for a slice to end in time, enough for the clock
// to cost nothing.
unsigned calls_per_look(const contestant &c, double slice) {
    if (c.batch != 0) return c.batch;
    c.enter();
    unsigned calls = 1;
    while (calls < 1u << 20 && nanoseconds_of(c, calls) < slice / 8) calls *= 2;
    return calls;
}

// The first calls of a slice are not timed: they bring code and data back into the caches.
double time_of_slice(const contestant &c, unsigned calls, double slice) {
    c.enter();
    c.refill();
    c.run(calls);
    double total = 0, count = 0;
    do {
        c.refill();
        total += nanoseconds_of(c, calls);
        count += calls;
    } while (total < slice);
    return total / count;
}

} // namespace

std::vector<times> race(const std::vector<contestant> &contestants, const race_length &length) {
    const std::size_t count = contestants.size();
    std::vector<unsigned> calls(count);
    for (std::size_t i = 0; i < count; ++i)
        calls[i] = calls_per_look(contestants[i], length.slice_nanoseconds);
    std::vector<times> result(count);
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937 random(1);
    for (unsigned round = 0; round < length.rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t i : order)
            result[i].push_back(time_of_slice(contestants[i], calls[i], length.slice_nanoseconds));
    }
    return result;
}

spread spread_of(times values) {
    std::sort(values.begin(), values.end());
    const auto at = [&](std::size_t quarter) { return values[(values.size() - 1) * quarter / 4]; };
    return {at(2), at(1), at(3)};
}

spread spread_of_ratio(const times &time, const times &reference) {
    times ratios(time.size());
    std::transform(time.begin(), time.end(), reference.begin(), ratios.begin(), std::divides<>());
    return spread_of(ratios);
}

} // namespace earshot_bench
