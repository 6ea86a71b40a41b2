#include "hrtf/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const hrtf_set hrtf_avx2 = hrtf_set_of<vec_avx2>;
}
