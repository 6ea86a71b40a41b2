#include "kernel/vec_neon.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_kernels gain_neon = gain_kernels_of<vec_neon>;
}
