// The real transforms: a complex transform of half the length over pairs of samples, and the stage
// that takes its spectrum apart into those of the even and the odd samples and recombines these.
#include "fft/real.hpp"

#include "fft/complex.hpp"
#include "fft/tables.hpp"

#include <earshot/fft.h>

namespace earshot {
namespace {

constexpr s32 least_size = 32;

// The stride picks pairs within the 256 of the table.
constexpr bool is_real_transform(s32 n, s32 stride) {
    return is_transform_size(n, least_size) && stride >= 1 && stride <= 1024 / n;
}

// As for the complex transforms; the recombination stage makes moduli sqrt 2 times as large where
// it halves, twice that where it does not. The forward transform has it last, where there is room.
constexpr s32 headroom_of_real(variant v, s32 n) {
    return headroom_of(v, n / 2) + (v == forward ? 0 : v == inverse_scaled ? 1 : 2);
}

struct real_twiddles {
    twiddle_rows complex;
    recombine_rows recombine;
};

real_twiddles own_twiddles(variant v, s32 n) {
    return {own_twiddle_rows(n / 2, v != forward), own_recombine_rows(n, v != forward)};
}

void transform(const fft_kernels &kernels, variant, form f, const s32 *in, s32 n,
               const real_twiddles &twiddles, s32 *out) {
    kernels.real_forward[f](in, {0, false}, n, twiddles.complex, twiddles.recombine, out);
}

void transform(const fft_kernels &kernels, variant v, form f, s32 *spec, s32 n,
               const real_twiddles &twiddles, s32 *out) {
    kernels.recombine[v][f](spec, n, twiddles.recombine);
    kernels.complex[v][f](spec, n / 2, twiddles.complex, out);
}

// In is const s32 forward, s32 inverse.
template <class In> void transform(const fft_kernels &kernels, variant v, In *in, s32 n, s32 *out) {
    const s32 words = v == forward ? n : n + 1; // of a spectrum all but the last imaginary one
    const form f = form_for(kernels, in, words, headroom_of_real(v, n));
    transform(kernels, v, f, in, n, own_twiddles(v, n), out);
}

// Apart, because of the stack that copies take. Nothing is known of these twiddles.
template <class In>
__attribute__((noinline)) void
transform_by_copies(const fft_kernels &kernels, variant v, In *in, s32 n, const s32 *twiddles,
                    const s32 *recombine_twiddles, s32 stride, s32 *out) {
    const twiddle_copy complex(twiddles, n / 2, v != forward);
    const recombine_copy recombine(recombine_twiddles, n, stride, v != forward);
    transform(kernels, v, saturating, in, n, {complex.rows(), recombine.rows()}, out);
}

bool is_own_recombine_table(const fft_kernels &kernels, const s32 *recombine_twiddles, s32 n,
                            s32 stride) {
    return stride == 1024 / n &&
           kernels.are_same(recombine_twiddles, fft_recombine_twiddles[0], 2 * 256);
}

template <class In>
void transform(variant v, In *in, s32 n, const s32 *twiddles, const s32 *recombine_twiddles,
               s32 stride, s32 *out) {
    if (!is_real_transform(n, stride)) return;
    const fft_kernels &kernels = fft_kernels_for(active_isa(), n / 2);
    if (is_own_table(kernels, twiddles, n / 2) &&
        is_own_recombine_table(kernels, recombine_twiddles, n, stride))
        transform(kernels, v, in, n, out);
    else
        transform_by_copies(kernels, v, in, n, twiddles, recombine_twiddles, stride, out);
}

void recombine_stage(variant v, s32 *spec, s32 n, const s32 *recombine_twiddles, s32 stride) {
    if (!is_real_transform(n, stride)) return;
    const recombine_copy copy(recombine_twiddles, n, stride, v != forward);
    fft_kernels_for(active_isa(), n / 2).recombine[v][saturating](spec, n, copy.rows());
}

} // namespace

namespace {

void rfft_of(const s32 *in, input_shift shift, s32 n, s32 *out) {
    fft_kernels_for(active_isa(), n / 2)
        .real_forward[plain](in, shift, n, own_twiddle_rows(n / 2, false),
                             own_recombine_rows(n, false), out);
}

} // namespace

void rfft_of_shifted(const s32 *in, s32 shift, s32 n, s32 *out) {
    rfft_of(in, {shift, false}, n, out);
}

void rfft_of_rounded(const s32 *in, s32 shift, s32 n, s32 *out) {
    rfft_of(in, {shift, shift != 0}, n, out);
}

void rifft_32x32_scaled(s32 *spec, s32 n, s32 *out) {
    transform(fft_kernels_for(active_isa(), n / 2), inverse_scaled, spec, n, out);
}

void rifft_of_bounded(s32 *spec, s32 n, s32 *out) {
    transform(fft_kernels_for(active_isa(), n / 2), inverse_unscaled, plain, spec, n,
              own_twiddles(inverse_unscaled, n), out);
}

} // namespace earshot

using namespace earshot;

extern "C" {

void Vorkel_rfft_32x32(const s32 *in, s32 n, const s32 *twiddles, const s32 *recombine_twiddles,
                       s32 stride, s32 *out) {
    transform(forward, in, n, twiddles, recombine_twiddles, stride, out);
}
void Vorkel_rifft_32x32_scaled(s32 *spec, s32 n, const s32 *twiddles, const s32 *recombine_twiddles,
                               s32 stride, s32 *out) {
    transform(inverse_scaled, spec, n, twiddles, recombine_twiddles, stride, out);
}
void Vorkel_rifft_32x32(s32 *spec, s32 n, const s32 *twiddles, const s32 *recombine_twiddles,
                        s32 stride, s32 *out) {
    transform(inverse_unscaled, spec, n, twiddles, recombine_twiddles, stride, out);
}

void rfftStage_32x32_neon(s32 *spec, s32 n, const s32 *recombine_twiddles, s32 stride) {
    recombine_stage(forward, spec, n, recombine_twiddles, stride);
}
void rifftStage_32x32_neon(s32 *spec, s32 n, const s32 *recombine_twiddles, s32 stride) {
    recombine_stage(inverse_scaled, spec, n, recombine_twiddles, stride);
}
void rifftStage_32x32_neon_noscale(s32 *spec, s32 n, const s32 *recombine_twiddles, s32 stride) {
    recombine_stage(inverse_unscaled, spec, n, recombine_twiddles, stride);
}

} // extern "C"
