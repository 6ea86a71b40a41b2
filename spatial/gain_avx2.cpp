#include "kernel/vec_avx2.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_set gain_avx2 = gain_set_of<vec_avx2>;
}
