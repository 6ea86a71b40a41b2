#include "fft/kernels.hpp"

namespace earshot {

const fft_stages &fft_stages_of(variant v) {
    static constexpr const fft_set *sets[] = {
        &fft_scalar,
#if defined(EARSHOT_HAVE_AVX2)
        &fft_avx2,
#else
        nullptr,
#endif
#if defined(EARSHOT_HAVE_NEON)
        &fft_neon,
#else
        nullptr,
#endif
    };
    return sets[static_cast<u32>(active_level())]->of[v];
}

} // namespace earshot
