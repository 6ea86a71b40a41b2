#include "kernel/vec_avx512.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_set gain_avx512 = gain_set_of<vec_avx512>;
}
