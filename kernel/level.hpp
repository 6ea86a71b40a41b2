// Which form of the vectorised kernels runs. The level of the processor is found once, when the
// library is loaded; it indexes constant tables of function pointers.
#ifndef EARSHOT_KERNEL_LEVEL_HPP
#define EARSHOT_KERNEL_LEVEL_HPP

#include <earshot/types.h>

namespace earshot {

// In ascending order on every target.
enum class level : u32 { scalar, sse41, avx2, avx512, neon };

inline constexpr level all_levels[] = {level::scalar, level::sse41, level::avx2, level::avx512,
                                       level::neon};

const char *name_of(level l);

// Built for this target and able to run on this processor.
bool is_available(level l);

level active_level();

// For tests and benchmarks, which link the library's objects: makes an available level the active
// one. Not for use while a processing call runs.
void force_level(level l);

} // namespace earshot

#endif
