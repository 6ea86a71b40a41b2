#include "hoa_effect/mix.hpp"

namespace earshot {

const mix_set &mix_at(level l) {
    static constexpr const mix_set *sets[] = {
        &mix_scalar,
#if defined(EARSHOT_HAVE_AVX2)
        &mix_avx2,
#else
        nullptr,
#endif
#if defined(EARSHOT_HAVE_NEON)
        &mix_neon,
#else
        nullptr,
#endif
    };
    return *sets[static_cast<u32>(l)];
}

} // namespace earshot
