#include "fft/kernels.inl"

namespace earshot {
constinit const fft_set fft_scalar = fft_set_of<vec_scalar>;
}
