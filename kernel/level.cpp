#include "kernel/level.hpp"

#include <earshot/earshot.h>

// The compiler's own processor probe keeps its findings in writable data of its own, so we ask the
// processor or the kernel ourselves.
#if defined(EARSHOT_HAVE_AVX2)
#include <cpuid.h>
#elif defined(EARSHOT_HAVE_NEON) && defined(__arm__)
#include <sys/auxv.h>
#endif

namespace earshot {
namespace {

level active = level::scalar;

#if defined(EARSHOT_HAVE_AVX2)
// AVX2 itself, and an operating system that saves the wide registers.
bool processor_has_avx2() {
    constexpr u32 osxsave = 1u << 27, avx2 = 1u << 5, xmm_and_ymm = 6;
    u32 a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & osxsave) == 0) return false;
    u32 saved = 0, saved_high = 0;
    __asm__("xgetbv" : "=a"(saved), "=d"(saved_high) : "c"(0));
    if ((saved & xmm_and_ymm) != xmm_and_ymm) return false;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & avx2) != 0;
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

__attribute__((constructor)) void find_level() {
    for (const level l : all_levels) {
        if (is_available(l)) active = l;
    }
}

} // namespace

const char *name_of(level l) {
    switch (l) {
    case level::avx2:
        return "avx2";
    case level::neon:
        return "neon";
    case level::scalar:
        break;
    }
    return "scalar";
}

bool is_available(level l) {
    switch (l) {
#if defined(EARSHOT_HAVE_AVX2)
    case level::avx2:
        return processor_has_avx2();
#endif
#if defined(EARSHOT_HAVE_NEON)
    case level::neon:
        return processor_has_neon();
#endif
    case level::scalar:
        return true;
    default:
        return false;
    }
}

level active_level() { return active; }

void force_level(level l) {
    if (is_available(l)) active = l;
}

} // namespace earshot

extern "C" {

const char *earshot_version(void) { return EARSHOT_VERSION; }
const char *earshot_instruction_set(void) { return earshot::name_of(earshot::active); }

} // extern "C"
