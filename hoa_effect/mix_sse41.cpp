#include "hoa_effect/mix.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const mix_set mix_sse41 = mix_set_of<vec_sse41>;
}
