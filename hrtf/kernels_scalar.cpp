#include "hrtf/kernels.inl"

namespace earshot {
constinit const hrtf_set hrtf_scalar = hrtf_set_of<vec_scalar>;
}
