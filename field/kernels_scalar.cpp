#include "field/kernels.inl"

namespace earshot {
constinit const field_kernels field_scalar = field_kernels_of<vec_scalar>;
}
