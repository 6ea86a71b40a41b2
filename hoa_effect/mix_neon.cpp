#include "hoa_effect/mix.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const mix_kernels mix_neon = mix_kernels_of<vec_neon>;
}
