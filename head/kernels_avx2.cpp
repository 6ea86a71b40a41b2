#include "head/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const head_kernels head_avx2 = head_kernels_of<vec_avx2>;
}
