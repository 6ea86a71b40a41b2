#include "head/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const head_kernels head_avx512 = head_kernels_of<vec_avx512>;
}
