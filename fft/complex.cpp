// The complex transforms: the choice of their kernels.
#include "fft/complex.hpp"

#include <earshot/fft.h>

namespace earshot {
namespace {

constexpr s32 least_size = 16;

void transform(variant v, const s32 *in, s32 n, const twiddle_rows &twiddles, bool is_own,
               s32 *out) {
    const fft_set &set = fft_set_at(active_level(), n);
    const form f = form_for(set.magnitude_bits(in, 2 * n), headroom_of(v, n, is_own));
    set.complex[v][f](in, n, twiddles, out);
}

// Apart, because of the stack that a copy takes.
__attribute__((noinline)) void transform_by_copy(variant v, const s32 *in, s32 n,
                                                 const s32 *twiddles, s32 *out) {
    const twiddle_copy copy(twiddles, n, v != forward);
    transform(v, in, n, copy.rows(), false, out);
}

} // namespace

void complex_transform(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    if (!is_transform_size(n, least_size)) return;
    if (is_own_table(twiddles, n))
        transform(v, in, n, own_twiddle_rows(n, v != forward), true, out);
    else
        transform_by_copy(v, in, n, twiddles, out);
}

} // namespace earshot

using namespace earshot;

extern "C" {

void cmplxfft32x32(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    complex_transform(forward, in, n, twiddles, out);
}
void cmplxifft32x32_scaled(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    complex_transform(inverse_scaled, in, n, twiddles, out);
}
void cmplxifft32x32(const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    complex_transform(inverse_unscaled, in, n, twiddles, out);
}

} // extern "C"
