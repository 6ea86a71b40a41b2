#include "hoa_effect/mix.inl"
#include "kernel/vec_wasm.hpp"

namespace earshot {
constinit const mix_kernels mix_wasm = mix_kernels_of<vec_wasm>;
}
