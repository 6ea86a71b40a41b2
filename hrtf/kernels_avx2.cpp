#include "hrtf/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const hrtf_kernels hrtf_avx2 = hrtf_kernels_of<vec_avx2>;
}
