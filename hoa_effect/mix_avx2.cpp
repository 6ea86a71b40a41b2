#include "hoa_effect/mix.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const mix_kernels mix_avx2 = mix_kernels_of<vec_avx2>;
}
