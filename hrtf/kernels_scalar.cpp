#include "hrtf/kernels.inl"

namespace earshot {
constinit const hrtf_kernels hrtf_scalar = hrtf_kernels_of<vec_scalar>;
}
