#include "field/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const field_kernels field_avx512 = field_kernels_of<vec_avx512>;
}
