#include "fft/kernels.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const fft_kernels &fft_kernels_for(isa i, s32 n) {
    static constexpr const fft_kernels *tables[] = EARSHOT_ISA_TABLE(fft);
    constexpr s32 least_of_wide = 64;
    if (n < least_of_wide && (i == isa::avx2 || i == isa::avx512)) i = isa::sse41;
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
