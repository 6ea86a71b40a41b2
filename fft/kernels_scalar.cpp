#include "fft/kernels.inl"

namespace earshot {
constinit const fft_kernels fft_scalar = fft_kernels_of<vec_scalar>;
}
