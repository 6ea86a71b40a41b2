#include "hoa_effect/mix.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const mix_set mix_avx2 = mix_set_of<vec_avx2>;
}
