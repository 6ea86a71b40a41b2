#include "kernel/vec_neon.hpp"
#include "spatial/gain.inl"

namespace earshot {
constinit const gain_set gain_neon = gain_set_of<vec_neon>;
}
