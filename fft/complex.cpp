// The complex transforms: the choice of their kernels.
#include "fft/complex.hpp"

#include "fft/tables.hpp"

#include <earshot/fft.h>

namespace earshot {
namespace {

constexpr s32 least_size = 16;

void transform(const fft_kernels &kernels, variant v, const s32 *in, s32 n, s32 *out) {
    const form f = form_for(kernels, in, 2 * n, headroom_of(v, n));
    kernels.complex[v][f](in, n, own_twiddle_rows(n, v != forward), out);
}

// Apart, because of the stack that a copy takes. Nothing is known of these twiddles.
__attribute__((noinline)) void transform_by_copy(const fft_kernels &kernels, variant v,
                                                 const s32 *in, s32 n, const s32 *twiddles,
                                                 s32 *out) {
    const twiddle_copy copy(twiddles, n, v != forward);
    kernels.complex[v][saturating](in, n, copy.rows(), out);
}

} // namespace

bool is_own_table(const fft_kernels &kernels, const s32 *twiddles, s32 n) {
    return kernels.are_same(twiddles, fft_twiddles[0], 6 * (n / 4));
}

void complex_transform(variant v, const s32 *in, s32 n, const s32 *twiddles, s32 *out) {
    if (!is_transform_size(n, least_size)) return;
    const fft_kernels &kernels = fft_kernels_for(active_isa(), n);
    if (is_own_table(kernels, twiddles, n))
        transform(kernels, v, in, n, out);
    else
        transform_by_copy(kernels, v, in, n, twiddles, out);
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
