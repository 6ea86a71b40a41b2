#include "hoa_effect/mix.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const mix_set mix_avx512 = mix_set_of<vec_avx512>;
}
