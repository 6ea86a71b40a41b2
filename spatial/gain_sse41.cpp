#include "kernel/vec_sse41.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_set gain_sse41 = gain_set_of<vec_sse41>;
}
