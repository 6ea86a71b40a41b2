#include "binaural/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const binaural_kernels binaural_neon = binaural_kernels_of<vec_neon>;
}
