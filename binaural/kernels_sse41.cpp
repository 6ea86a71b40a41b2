#include "binaural/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const binaural_kernels binaural_sse41 = binaural_kernels_of<vec_sse41>;
}
