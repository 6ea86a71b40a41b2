#include "kernel/isa.hpp"

#include <earshot/earshot.h>

// The compiler's own processor probe keeps its findings in writable data of its own, so we ask the
// processor or the kernel ourselves.
#if defined(EARSHOT_HAVE_X86)
#include <cpuid.h>
#elif defined(EARSHOT_HAVE_NEON) && defined(__arm__)
#include <sys/auxv.h>
#endif

namespace earshot {
namespace {

isa active = isa::scalar;

#if defined(EARSHOT_HAVE_X86)
struct cpuid_words {
    u32 a, b, c, d;
};

// Zeros for what the processor does not know.
cpuid_words cpuid(u32 leaf) {
    cpuid_words w = {0, 0, 0, 0};
    return __get_cpuid_count(leaf, 0, &w.a, &w.b, &w.c, &w.d) != 0 ? w : cpuid_words{0, 0, 0, 0};
}

constexpr bool has_all(u32 word, u32 bits) { return (word & bits) == bits; }

bool processor_has_sse41() { return has_all(cpuid(1).c, 1u << 19); }

// Whether the operating system saves these parts of the registers.
bool system_saves(u32 parts) {
    constexpr u32 osxsave = 1u << 27;
    if (!has_all(cpuid(1).c, osxsave)) return false;
    u32 saved = 0, saved_high = 0;
    __asm__("xgetbv" : "=a"(saved), "=d"(saved_high) : "c"(0));
    return has_all(saved, parts);
}

bool processor_has_avx2() {
    constexpr u32 avx2 = 1u << 5, xmm_and_ymm = 0x06;
    return processor_has_sse41() && system_saves(xmm_and_ymm) && has_all(cpuid(7).b, avx2);
}

bool processor_has_avx512() {
    constexpr u32 f = 1u << 16, dq = 1u << 17, bw = 1u << 30, vl = 1u << 31, vbmi = 1u << 1;
    constexpr u32 masks_and_zmm = 0xE0;
    return processor_has_avx2() && system_saves(masks_and_zmm) &&
           has_all(cpuid(7).b, f | dq | bw | vl) && has_all(cpuid(7).c, vbmi);
}
#endif

#if defined(EARSHOT_HAVE_NEON)
bool processor_has_neon() {
#if defined(__arm__)
    constexpr unsigned long hwcap_neon = 1ul << 12;
    return (getauxval(AT_HWCAP) & hwcap_neon) != 0;
#else
    return true;
#endif
}
#endif

__attribute__((constructor)) void find_isa() {
    for (const isa i : all_isas) {
        if (is_available(i)) active = i;
    }
}

} // namespace

const char *name_of(isa i) {
    switch (i) {
    case isa::sse41:
        return "sse41";
    case isa::avx2:
        return "avx2";
    case isa::avx512:
        return "avx512";
    case isa::neon:
        return "neon";
    case isa::wasm:
        return "wasm";
    case isa::scalar:
        break;
    }
    return "scalar";
}

bool is_available(isa i) {
    switch (i) {
#if defined(EARSHOT_HAVE_X86)
    case isa::sse41:
        return processor_has_sse41();
    case isa::avx2:
        return processor_has_avx2();
    case isa::avx512:
        return processor_has_avx512();
#endif
#if defined(EARSHOT_HAVE_NEON)
    case isa::neon:
        return processor_has_neon();
#endif
#if defined(EARSHOT_HAVE_WASM)
    case isa::wasm: // a module with vectors is refused where they cannot be run
        return true;
#endif
    case isa::scalar:
        return true;
    default:
        return false;
    }
}

isa active_isa() { return active; }

void force_isa(isa i) {
    if (is_available(i)) active = i;
}

} // namespace earshot

extern "C" {

const char *earshot_version(void) { return EARSHOT_VERSION; }
const char *earshot_instruction_set(void) { return earshot::name_of(earshot::active); }

} // extern "C"
