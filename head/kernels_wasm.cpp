#include "head/kernels.inl"
#include "kernel/vec_wasm.hpp"

namespace earshot {
constinit const head_kernels head_wasm = head_kernels_of<vec_wasm>;
}
