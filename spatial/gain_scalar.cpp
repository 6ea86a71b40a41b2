#include "spatial/gain.inl"

namespace earshot {
constinit const gain_kernels gain_scalar = gain_kernels_of<vec_scalar>;
}
