#include "fft/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const fft_kernels fft_sse41 = fft_kernels_of<vec_sse41>;
}
