/* What tests of the levels share: each is run, or named as one that this processor lacks. */
#ifndef EARSHOT_TESTS_SUPPORT_LEVELS_HPP
#define EARSHOT_TESTS_SUPPORT_LEVELS_HPP

#include "kernel/level.hpp"

#include <gtest/gtest.h>

#include <cstdio>

namespace earshot::test {

/* By other means than the library's own. */
inline bool processor_has(level l) {
#if defined(__x86_64__) || defined(__i386__)
    if (l == level::sse41) return __builtin_cpu_supports("sse4.1");
    if (l == level::avx2) return __builtin_cpu_supports("avx2");
    if (l == level::avx512)
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512vbmi");
#elif defined(__arm__) || defined(__aarch64__)
    if (l == level::neon) return true; /* of the processors that tests run on */
#endif
    return l == level::scalar;
}

/* run(level) with every level active in turn. */
template <class Run> void at_every_level(const Run &run) {
    const level before = active_level();
    for (const level l : all_levels) {
        std::printf("%-8s %s\n", name_of(l), is_available(l) ? "checked" : "not available here");
        EXPECT_EQ(processor_has(l), is_available(l)) << name_of(l);
        if (!is_available(l)) continue;
        SCOPED_TRACE(name_of(l));
        force_level(l);
        run(l);
    }
    force_level(before);
}

} // namespace earshot::test

#endif
