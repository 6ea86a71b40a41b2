// The renderer's own twiddle tables; include/earshot/fft.h gives their rules. They are not
// exported: callers of the transforms bring their own.
#ifndef EARSHOT_FFT_TABLES_HPP
#define EARSHOT_FFT_TABLES_HPP

#include <earshot/types.h>

namespace earshot {

alignas(64) extern const s32 fft_twiddles[256][6];
alignas(64) extern const s32 fft_recombine_twiddles[256][2];

} // namespace earshot

#endif
