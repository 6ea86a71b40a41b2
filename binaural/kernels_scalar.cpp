#include "binaural/kernels.inl"

namespace earshot {
constinit const binaural_kernels binaural_scalar = binaural_kernels_of<vec_scalar>;
}
