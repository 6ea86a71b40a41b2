#include "hrtf/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const hrtf_kernels hrtf_neon = hrtf_kernels_of<vec_neon>;
}
