#include "head/kernels.inl"

namespace earshot {
constinit const head_kernels head_scalar = head_kernels_of<vec_scalar>;
}
