#include "fft/kernels.inl"
#include "kernel/vec_sse41.hpp"

namespace earshot {
constinit const fft_set fft_sse41 = fft_set_of<vec_sse41>;
}
