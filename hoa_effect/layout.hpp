// How an instance of the ambisonic effect lies in the caller's static block: the state record, then
// nine matrices, each as an array of row pointers followed by its rows.
#ifndef EARSHOT_HOA_EFFECT_LAYOUT_HPP
#define EARSHOT_HOA_EFFECT_LAYOUT_HPP

#include <earshot/hoa_effect.h>

namespace earshot {

// Bytes of a static block, (order + 1)^2 channels; wraps at 32 bits as the channel count does.
u32 static_size_for(u32 order);

// Fills the head of the block, lays the matrices out behind it, zeroes the target and copies the
// focus table. Whatever would lie past mem_size is left out; false if anything was.
bool lay_out(void *mem, u32 mem_size, u32 order);

} // namespace earshot

#endif
