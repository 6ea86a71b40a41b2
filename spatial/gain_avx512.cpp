#include "kernel/vec_avx512.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_kernels gain_avx512 = gain_kernels_of<vec_avx512>;
}
