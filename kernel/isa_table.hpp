// Constant tables with an entry per instruction set, the one place that tells which of them this
// build has.
#ifndef EARSHOT_KERNEL_ISA_TABLE_HPP
#define EARSHOT_KERNEL_ISA_TABLE_HPP

#include "kernel/isa.hpp"

#if defined(EARSHOT_HAVE_X86)
#define EARSHOT_IF_X86(entry) entry
#else
#define EARSHOT_IF_X86(entry) nullptr
#endif

#if defined(EARSHOT_HAVE_NEON)
#define EARSHOT_IF_NEON(entry) entry
#else
#define EARSHOT_IF_NEON(entry) nullptr
#endif

#if defined(EARSHOT_HAVE_WASM)
#define EARSHOT_IF_WASM(entry) entry
#else
#define EARSHOT_IF_WASM(entry) nullptr
#endif

// The initialiser of an array of pointers to NAME_scalar, NAME_avx2 and so on, in the order of
// isa; null for what was not built.
#define EARSHOT_ISA_TABLE(name)                                                                    \
    {                                                                                              \
        &name##_scalar, EARSHOT_IF_X86(&name##_sse41), EARSHOT_IF_X86(&name##_avx2),               \
            EARSHOT_IF_X86(&name##_avx512), EARSHOT_IF_NEON(&name##_neon),                         \
            EARSHOT_IF_WASM(&name##_wasm)                                                          \
    }

#endif
