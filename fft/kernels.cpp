#include "fft/kernels.hpp"

#include "kernel/level_table.hpp"

namespace earshot {

const fft_set &fft_set_at(level l, s32 n) {
    static constexpr const fft_set *sets[] = EARSHOT_LEVEL_TABLE(fft);
    constexpr s32 least_of_wide = 64;
    if (n < least_of_wide && (l == level::avx2 || l == level::avx512)) l = level::sse41;
    return *sets[static_cast<u32>(l)];
}

} // namespace earshot
