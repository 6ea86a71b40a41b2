// Products of packed spectra with filters, and their sums.
#ifndef EARSHOT_HRTF_SPECTRAL_PRODUCT_HPP
#define EARSHOT_HRTF_SPECTRAL_PRODUCT_HPP

#include <earshot/types.h>

namespace earshot {

// out = spectrum x filter over half + 1 bins (real word first); out may be the spectrum. The filter
// has half entries of q fraction bits (2 to 62): entry 0 holds the real gains of bin 0 and bin
// half, whose products are truncated and saturate; the others are rounded and wrap.
void spectral_product(s32 *out, const s32 *spectrum, const s32 *filter, s32 half, s32 q);

// sum += term over half + 1 bins, wrapping.
void add_spectrum(s32 *sum, const s32 *term, s32 half);

} // namespace earshot

#endif
