// Real transforms for the renderer: n is 256 to 1024, the twiddles are the library's own.
#ifndef EARSHOT_FFT_REAL_HPP
#define EARSHOT_FFT_REAL_HPP

#include <earshot/types.h>

namespace earshot {

// Vorkel_rfft_32x32 of in >> shift, where shift leaves log2 n + 1 bits of headroom at least.
void rfft_of_shifted(const s32 *in, s32 shift, s32 n, s32 *out);

// Vorkel_rfft_32x32 of in / 2^shift, rounded half up, where the magnitudes of in add up to no more
// than most_input 2^shift. n is 256.
//
// Whatever stands between the passes is a sum of samples, taken in pairs, times factors of modulus
// 1 within 2^-31: no modulus passes the sum of the magnitudes but by rounding. Of that, samples
// give half a unit each; each product of a pass at most 2.2 units, which the passes behind it
// multiply by 4, 4 and 2, and recombination 4 units: 128 + 110 in all. So what is multiplied stays
// below 2^30, as the plain form wants it, and so do sums that are halved, by two of which 32 bits
// are filled.
inline constexpr s32 most_input = (1 << 30) - 512;
void rfft_of_rounded(const s32 *in, s32 shift, s32 n, s32 *out);

// Vorkel_rifft_32x32 of a spectrum of which the moduli of all n bins, those of the conjugate half
// as well, add up to no more than most_spectrum. n is 256.
//
// Recombination makes of bin S(k) two moduli, |1 + j e^(j t)| |S(k)| and |1 + j e^(-j t)| |S(k)| at
// most, t = 2 pi k / n, for bins k and n/2 - k of the half-length spectrum: together no more than
// 2 sqrt 2 |S(k)|, sqrt 2 times what S(k) and its conjugate add to the sum. The passes add such
// moduli up, and what is multiplied must stay below 2^30: 2^30 / sqrt 2 = 759250124. The rest is
// for rounding, less than 1024 units as above.
inline constexpr s32 most_spectrum = 759'000'000;
void rifft_of_bounded(s32 *spec, s32 n, s32 *out);

// Vorkel_rifft_32x32_scaled.
void rifft_32x32_scaled(s32 *spec, s32 n, s32 *out);

} // namespace earshot

#endif
