#include "hoa_effect/mix.inl"

namespace earshot {
constinit const mix_set mix_scalar = mix_set_of<vec_scalar>;
}
