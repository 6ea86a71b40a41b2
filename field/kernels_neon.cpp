#include "field/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const field_kernels field_neon = field_kernels_of<vec_neon>;
}
