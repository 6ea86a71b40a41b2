#include "hrtf/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const hrtf_set hrtf_neon = hrtf_set_of<vec_neon>;
}
