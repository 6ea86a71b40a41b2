/* What tests of the instruction sets share: each is run, or named as one that this processor lacks.
 */
#ifndef EARSHOT_TESTS_SUPPORT_ISAS_HPP
#define EARSHOT_TESTS_SUPPORT_ISAS_HPP

#include "kernel/isa.hpp"

#include <gtest/gtest.h>

#include <cstdio>

namespace earshot::test {

/* By other means than the library's own. */
inline bool processor_has(isa i) {
#if defined(__x86_64__) || defined(__i386__)
    if (i == isa::sse41) return __builtin_cpu_supports("sse4.1");
    if (i == isa::avx2) return __builtin_cpu_supports("avx2");
    if (i == isa::avx512)
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512vbmi");
#elif defined(__arm__) || defined(__aarch64__)
    if (i == isa::neon) return true; /* of the processors that tests run on */
#elif defined(EARSHOT_WASM_SIMD)
    if (i == isa::wasm) return true;
#endif
    return i == isa::scalar;
}

/* run(isa) with every isa active in turn. */
template <class Run> void on_every_isa(const Run &run) {
    const isa before = active_isa();
    for (const isa i : all_isas) {
        std::printf("%-8s %s\n", name_of(i), is_available(i) ? "checked" : "not available here");
        EXPECT_EQ(processor_has(i), is_available(i)) << name_of(i);
        if (!is_available(i)) continue;
        SCOPED_TRACE(name_of(i));
        force_isa(i);
        run(i);
    }
    force_isa(before);
}

} // namespace earshot::test

#endif
