#include "hoa_effect/mix.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const mix_kernels mix_avx512 = mix_kernels_of<vec_avx512>;
}
