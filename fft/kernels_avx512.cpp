#include "fft/kernels.inl"
#include "kernel/vec_avx512.hpp"

namespace earshot {
constinit const fft_set fft_avx512 = fft_set_of<vec_avx512>;
}
