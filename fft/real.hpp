// Real transforms for the renderer: n is 256 to 1024, the twiddles are the library's own.
#ifndef EARSHOT_FFT_REAL_HPP
#define EARSHOT_FFT_REAL_HPP

#include <earshot/types.h>

namespace earshot {

// Vorkel_rfft_32x32 of in >> shift, where shift leaves log2 n + 1 bits of headroom at least.
void rfft_of_shifted(const s32 *in, s32 shift, s32 n, s32 *out);

// Vorkel_rifft_32x32_scaled.
void rifft_32x32_scaled(s32 *spec, s32 n, s32 *out);

} // namespace earshot

#endif
