/* Repeatable random operands, rich in the corners where fixed-point arithmetic goes wrong. */
#ifndef EARSHOT_TESTS_SUPPORT_OPERANDS_HPP
#define EARSHOT_TESTS_SUPPORT_OPERANDS_HPP

#include <earshot/types.h>

#include <gtest/gtest.h>

#include <iostream>
#include <limits>
#include <random>

namespace earshot::test {

/* Operand sets per test: few enough for an emulator and for sanitizers. */
constexpr int rounds = 10000;

/* --gtest_random_seed varies every sequence but those of a given seed. */
class operand_source {
  public:
    explicit operand_source(u64 seed = static_cast<u64>(GTEST_FLAG_GET(random_seed)))
        : seed_(seed), engine_(seed) {}
    ~operand_source() {
        if (::testing::Test::HasFailure()) std::cerr << "operands of seed " << seed_ << '\n';
    }

    u64 below(u64 limit) { return engine_() % limit; }
    s32 between(s32 low, s32 high) {
        return low + static_cast<s32>(below(static_cast<u64>(high - low + 1)));
    }

    /* A quarter extremes, a quarter runs of one bits plus or minus 1 (powers of two and their
     * neighbours, 0x7FFF, 0x8000, 0x7FFF8000 and the like), half random of any magnitude. */
    template <typename T> T next() {
        using limits = std::numeric_limits<T>;
        constexpr u64 width = 8 * sizeof(T);
        const T extremes[] = {0, 1, static_cast<T>(-1), limits::min(), limits::max()};
        const u64 kind = below(4), bits[] = {engine_(), engine_(), engine_()};
        if (kind == 0) return extremes[bits[0] % 5];
        if (kind > 1)
            return static_cast<T>(static_cast<T>(bits[0]) >> (bits[1] % 2 * (bits[2] % width)));
        return static_cast<T>((u64{1} << bits[0] % width) - (u64{1} << bits[1] % width) +
                              bits[2] % 3 - 1);
    }

    /* Shift counts: mostly small, of either sign, else any s32. */
    s32 count() {
        const s32 small = between(-70, 70), any = next<s32>();
        return below(4) ? small : any;
    }

  private:
    u64 seed_;
    std::mt19937_64 engine_;
};

} // namespace earshot::test

#endif
