// Which transform: its size, kind and direction.
#ifndef EARSHOT_BENCH_SHAPE_HPP
#define EARSHOT_BENCH_SHAPE_HPP

#include "cases.hpp"

namespace earshot_bench {

struct shape {
    unsigned n;
    bool real, inverse;

    // A complex value is two words; the spectrum of a real transform has n / 2 + 1.
    std::size_t words_in() const { return real ? (inverse ? n + 2 : n) : 2 * n; }
    std::size_t words_out() const { return real ? (inverse ? n : n + 2) : 2 * n; }
};

} // namespace earshot_bench

#endif
