#include "field/kernels.inl"
#include "kernel/vec_wasm.hpp"

namespace earshot {
constinit const field_kernels field_wasm = field_kernels_of<vec_wasm>;
}
