#include "fft/kernels.inl"
#include "kernel/vec_wasm.hpp"

namespace earshot {
constinit const fft_kernels fft_wasm = fft_kernels_of<vec_wasm>;
}
