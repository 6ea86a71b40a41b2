// Products of packed spectra with filters, and their sums.
#ifndef EARSHOT_HRTF_SPECTRAL_PRODUCT_HPP
#define EARSHOT_HRTF_SPECTRAL_PRODUCT_HPP

#include <earshot/types.h>

namespace earshot {

// ears += spectrum x filters over half + 1 bins (real word first). A filter has half entries of q
// fraction bits (2 to 62): entry 0 holds the real gains of bin 0 and bin half, whose products are
// truncated and saturate; the others are rounded and wrap. The sums wrap. Bin 0 of the spectrum is
// cleared.
void add_filtered_spectrum(s32 *const *ears, s32 *spectrum, const s32 *const *filters, s32 half,
                           s32 q);

} // namespace earshot

#endif
