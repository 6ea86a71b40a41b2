#include "fft/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const fft_kernels fft_avx512 = fft_kernels_of<vec_avx512>;
}
