#include "binaural/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const binaural_kernels binaural_avx512 = binaural_kernels_of<vec_avx512>;
}
