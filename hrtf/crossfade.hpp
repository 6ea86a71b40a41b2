// The fade from one signal to another over a fixed number of samples.
#ifndef EARSHOT_HRTF_CROSSFADE_HPP
#define EARSHOT_HRTF_CROSSFADE_HPP

#include <earshot/hrtf.h>

namespace earshot {

// a3d_crossfade.
s32 crossfade(s32 *out, const s32 *old_samples, const s32 *new_samples);

} // namespace earshot

#endif
