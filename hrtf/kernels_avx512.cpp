#include "hrtf/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const hrtf_set hrtf_avx512 = hrtf_set_of<vec_avx512>;
}
