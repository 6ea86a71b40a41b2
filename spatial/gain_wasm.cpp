#include "kernel/vec_wasm.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_kernels gain_wasm = gain_kernels_of<vec_wasm>;
}
