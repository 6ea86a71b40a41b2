#include "fft/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const fft_kernels fft_avx2 = fft_kernels_of<vec_avx2>;
}
