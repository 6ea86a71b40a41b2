#include "fft/kernels.hpp"

#include "kernel/level_table.hpp"

namespace earshot {

const fft_stages &fft_stages_of(variant v) {
    static constexpr const fft_set *sets[] = EARSHOT_LEVEL_TABLE(fft);
    return sets[static_cast<u32>(active_level())]->of[v];
}

} // namespace earshot
