#include "binaural/kernels.inl"
#include "kernel/vec_wasm.hpp"

namespace earshot {
constinit const binaural_kernels binaural_wasm = binaural_kernels_of<vec_wasm>;
}
