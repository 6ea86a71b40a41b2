#include "kernel/vec_sse41.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_kernels gain_sse41 = gain_kernels_of<vec_sse41>;
}
