#include "hrtf/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const hrtf_kernels hrtf_sse41 = hrtf_kernels_of<vec_sse41>;
}
