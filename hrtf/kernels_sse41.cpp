#include "hrtf/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const hrtf_set hrtf_sse41 = hrtf_set_of<vec_sse41>;
}
