#include "fft/kernels.inl"
#include "kernel/vec_avx2.hpp"

namespace earshot {
constinit const fft_set fft_avx2 = fft_set_of<vec_avx2>;
}
