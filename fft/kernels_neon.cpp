#include "fft/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const fft_kernels fft_neon = fft_kernels_of<vec_neon>;
}
