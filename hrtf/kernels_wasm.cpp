#include "hrtf/kernels.inl"
#include "kernel/vec_wasm.hpp"

namespace earshot {
constinit const hrtf_kernels hrtf_wasm = hrtf_kernels_of<vec_wasm>;
}
