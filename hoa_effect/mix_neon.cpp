#include "hoa_effect/mix.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const mix_set mix_neon = mix_set_of<vec_neon>;
}
