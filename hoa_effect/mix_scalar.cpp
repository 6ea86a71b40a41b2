#include "hoa_effect/mix.inl"

namespace earshot {
constinit const mix_kernels mix_scalar = mix_kernels_of<vec_scalar>;
}
