#include "head/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const head_kernels head_sse41 = head_kernels_of<vec_sse41>;
}
