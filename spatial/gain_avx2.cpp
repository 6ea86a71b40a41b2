#include "kernel/vec_avx2.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_kernels gain_avx2 = gain_kernels_of<vec_avx2>;
}
