// The race of the benchmarks: who runs when, on what, and what is made of the times.
#include "bench/pairing.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace earshot_bench {
namespace {

TEST(Pairing, QuartilesOfTimesAndOfRatiosWithinARound) {
    const spread s = spread_of({5, 1, 4, 2, 3});
    EXPECT_EQ(s.lower_quartile, 2);
    EXPECT_EQ(s.median, 3);
    EXPECT_EQ(s.upper_quartile, 4);
    // The second round took ten times as long for both; the ratio does not see it.
    const spread r = spread_of_ratio({2, 20, 2}, {1, 10, 1});
    EXPECT_EQ(r.lower_quartile, 2);
    EXPECT_EQ(r.upper_quartile, 2);
}

// Inputs that a call destroys are made anew before they could be used twice.
TEST(Pairing, NoBatchIsLongerThanItsInputs) {
    unsigned entered = 0, left = 0, calls_without_input = 0;
    contestant c;
    c.name = "batched";
    c.enter = [&] { ++entered; };
    c.refill = [&] { left = 7; };
    c.run = [&](unsigned calls) {
        if (calls > left) ++calls_without_input;
        left -= calls;
    };
    c.batch = 7;
    const auto result = race({c}, {20, 1000});
    ASSERT_EQ(result.size(), 1u);
    EXPECT_EQ(result[0].size(), 20u);
    EXPECT_EQ(entered, 20u);
    EXPECT_EQ(calls_without_input, 0u);
}

TEST(Pairing, TimesArePerCallAndStayWithTheirContestant) {
    const auto sleeper = [](unsigned microseconds) {
        contestant c;
        c.run = [=](unsigned calls) {
            std::this_thread::sleep_for(std::chrono::microseconds(microseconds) * calls);
        };
        return c;
    };
    const auto result = race({sleeper(10000), sleeper(200)}, {5, 100000});
    // Sleep may be longer than asked for, not shorter.
    for (const double t : result[0]) EXPECT_GE(t, 10000e3);
    EXPECT_GE(spread_of(result[1]).median, 200e3);
    EXPECT_GT(spread_of_ratio(result[0], result[1]).median, 2);
}

} // namespace
} // namespace earshot_bench
