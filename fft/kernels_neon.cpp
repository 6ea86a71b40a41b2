#include "fft/kernels.inl"
#include "kernel/vec_neon.hpp"

namespace earshot {
constinit const fft_set fft_neon = fft_set_of<vec_neon>;
}
