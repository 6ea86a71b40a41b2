#include "field/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const field_kernels field_avx2 = field_kernels_of<vec_avx2>;
}
