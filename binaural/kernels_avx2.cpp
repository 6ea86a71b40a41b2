#include "binaural/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const binaural_kernels binaural_avx2 = binaural_kernels_of<vec_avx2>;
}
