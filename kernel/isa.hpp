// Which form of the vectorised kernels runs. That of the processor is found once, when the
// library is loaded; it indexes constant tables of function pointers.
#ifndef EARSHOT_KERNEL_ISA_HPP
#define EARSHOT_KERNEL_ISA_HPP

#include <earshot/types.h>

namespace earshot {

// In ascending order on every target.
enum class isa : u32 { scalar, sse41, avx2, avx512, neon, wasm };

inline constexpr isa all_isas[] = {isa::scalar, isa::sse41, isa::avx2,
                                   isa::avx512, isa::neon,  isa::wasm};

const char *name_of(isa i);

// Built for this target and able to run on this processor.
bool is_available(isa i);

isa active_isa();

// For tests and benchmarks, which link the library's objects: makes an available one the active
// one. Not for use while a processing call runs.
void force_isa(isa i);

} // namespace earshot

#endif
