#include "field/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const field_kernels field_sse41 = field_kernels_of<vec_sse41>;
}
