#include "spatial/gain.inl"

namespace earshot {
constinit const gain_set gain_scalar = gain_set_of<vec_scalar>;
}
