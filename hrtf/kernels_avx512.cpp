#include "hrtf/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const hrtf_kernels hrtf_avx512 = hrtf_kernels_of<vec_avx512>;
}
