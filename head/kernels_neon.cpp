#include "head/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const head_kernels head_neon = head_kernels_of<vec_neon>;
}
