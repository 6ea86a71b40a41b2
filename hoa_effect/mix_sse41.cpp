#include "hoa_effect/mix.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const mix_kernels mix_sse41 = mix_kernels_of<vec_sse41>;
}
