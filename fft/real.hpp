// Real transforms for the renderer; exported from fft/real.cpp, described in
// include/earshot/fft.h.
#ifndef EARSHOT_FFT_REAL_HPP
#define EARSHOT_FFT_REAL_HPP

#include <earshot/types.h>

namespace earshot {

void rfft_32x32(const s32 *in, s32 n, const s32 *twiddles, const s32 *split_twiddles, s32 stride,
                s32 *out);
void rifft_32x32_scaled(s32 *spec, s32 n, const s32 *twiddles, const s32 *split_twiddles,
                        s32 stride, s32 *out);

} // namespace earshot

#endif
