/*
 * Fast Fourier transforms of 32-bit and 16-bit fixed-point data.
 *
 * Samples and spectra are s32, Q31; a complex value is two words, real part first. The transforms
 * are radix-4, decimation in frequency, with a last radix-2 stage for odd log2 N; results are in
 * natural order. Twiddle products are rounded and saturating in every transform; the additions
 * saturate (forward), halve toward minus infinity (scaled inverses) or wrap (unscaled inverses).
 *
 * The caller passes the twiddle tables:
 *
 *   complex table  256 entries of six words. Entry g belongs to theta = 2 pi r / 1024 with
 *                  r = g with its 8 bits reversed and holds -sin theta, -cos theta, cos 2 theta,
 *                  -sin 2 theta, -sin 3 theta, -cos 3 theta, each round(2^31 f), saturated. One
 *                  table serves all sizes.
 *   split table    256 pairs. Pair e holds sin and cos of 2 pi (e + 1) / 1024, each
 *                  round((2^31 - 1) f). A real transform of size N reads every stride-th pair,
 *                  stride = 1024 / N.
 *
 * All buffers need the alignment of an s32 only. Nothing is allocated. A size that is no power of
 * two or outside the stated range, or a stride outside 1 to 1024 / N, returns at once and writes
 * nothing; pointers are not tested. in and out must not overlap.
 */
#ifndef EARSHOT_FFT_H
#define EARSHOT_FFT_H

#include <earshot/types.h>

EARSHOT_BEGIN_C

/* --- Complex transforms, N = 16 to 1024 --------------------------------------------------------*/

/* out[k] = sum of in[n] e^(-j 2 pi n k / N), saturating. Keeps in. Words with log2 N + 1 bits of
 * headroom cannot saturate. */
EARSHOT_API void cmplxfft32x32(const s32 *in, s32 n, const s32 *twiddles, s32 *out);
/* out[n] = 1/N x the sum of in[k] e^(+j 2 pi n k / N): every addition halves. Keeps in. */
EARSHOT_API void cmplxifft32x32_scaled(const s32 *in, s32 n, const s32 *twiddles, s32 *out);
/* The same without the factor 1/N: additions wrap. Keeps in. */
EARSHOT_API void cmplxifft32x32(const s32 *in, s32 n, const s32 *twiddles, s32 *out);

/* --- Real transforms, N = 32 to 1024 -----------------------------------------------------------
 *
 * A packed spectrum is N/2 + 1 complex bins: bin 0 is (DC, 0), bin N/2 is (Nyquist, 0).
 */

/* out = packed spectrum of in (N samples), saturating. Keeps in. */
EARSHOT_API void Vorkel_rfft_32x32(const s32 *in, s32 n, const s32 *twiddles,
                                   const s32 *split_twiddles, s32 stride, s32 *out);
/* out = the N samples of a packed spectrum, with the factor 1/N: the inverse of the forward
 * transform. The imaginary words of bins 0 and N/2 are ignored. Bins 0 to N/2 - 1 of spec are
 * overwritten with the half-length spectrum. */
EARSHOT_API void Vorkel_rifft_32x32_scaled(s32 *spec, s32 n, const s32 *twiddles,
                                           const s32 *split_twiddles, s32 stride, s32 *out);
/* The same without the factor 1/N: additions wrap. */
EARSHOT_API void Vorkel_rifft_32x32(s32 *spec, s32 n, const s32 *twiddles,
                                    const s32 *split_twiddles, s32 stride, s32 *out);

/* --- The stages by themselves ------------------------------------------------------------------
 *
 * A complex transform of size n is the first stage (span n/4, from in to out, which it leaves in
 * bit-reversed order), the later radix-4 stages in place, and for odd log2 n the radix-2 stage in
 * place (called alone it runs for even log2 n as well). log2n is not read: it follows from n.
 */
EARSHOT_API void fftRadix4Stage1_32x32_neon(const s32 *in, s32 n, const s32 *twiddles, s32 *out,
                                            s32 log2n);
EARSHOT_API void ifftRadix4Stage1_32x32_neon(const s32 *in, s32 n, const s32 *twiddles, s32 *out,
                                             s32 log2n);
EARSHOT_API void ifftRadix4Stage1_32x32_neon_noscale(const s32 *in, s32 n, const s32 *twiddles,
                                                     s32 *out, s32 log2n);
EARSHOT_API void fftRadix4Stage_32x32_neon(s32 *data, s32 n, const s32 *twiddles, s32 log2n);
EARSHOT_API void ifftRadix4Stage_32x32_neon(s32 *data, s32 n, const s32 *twiddles, s32 log2n);
EARSHOT_API void ifftRadix4Stage_32x32_neon_noscale(s32 *data, s32 n, const s32 *twiddles,
                                                    s32 log2n);
EARSHOT_API void fftRadix2Stage_neon(s32 *data, s32 n);
EARSHOT_API void ifftRadix2Stage_neon(s32 *data, s32 n);
EARSHOT_API void ifftRadix2Stage_neon_noscale(s32 *data, s32 n);

/* The split stages of a real transform of size n (32 to 1024), in place on n/2 + 1 bins: from the
 * half-length spectrum in bins 0 to n/2 - 1 to the packed spectrum (r), and back (ri). */
EARSHOT_API void rfftStage_32x32_neon(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride);
EARSHOT_API void rifftStage_32x32_neon(s32 *spec, s32 n, const s32 *split_twiddles, s32 stride);
EARSHOT_API void rifftStage_32x32_neon_noscale(s32 *spec, s32 n, const s32 *split_twiddles,
                                               s32 stride);

/* --- 16-bit transforms, N = 16 to 1024 ---------------------------------------------------------
 *
 * Data are s16, Q15; a complex value is two words, real part first; packed spectra are as above, N
 * + 2 words. Every radix-2 level halves, a radix-4 stage rounds once for its two levels, and
 * results saturate. The twiddles are the library's own. Status: 0, or 2 for a size that is no power
 * of two or outside the range, when nothing is written. Buffers need the alignment of an s16; in
 * and out must not overlap. in is kept.
 */

/*
 * Complex transform: out[k] = 1/N x the sum of in[n] e^(-+j 2 pi n k / N), minus forward (inverse =
 * 0), plus inverse (other values). Nothing saturates where no input's modulus exceeds 1.0.
 */
EARSHOT_API u32 c_fft(const s16 *in, s32 n, u32 inverse, s16 *out);

/*
 * The same with block scaling, for quiet input: in is shifted up until its largest word has one bit
 * of headroom, and *exponent tells the scale: the sum itself, without 1/N, is out x 2^(*exponent).
 * Nothing saturates.
 */
EARSHOT_API u32 fft1(const s16 *in, s32 n, u32 inverse, s16 *out, s32 *exponent);

/*
 * Real transform. Forward: N samples to a packed spectrum, with the factor 1/N; nothing saturates.
 * Inverse: a packed spectrum to N samples, out[n] = 1/N x the sum over all N bins; the imaginary
 * words of bins 0 and N/2 are ignored; nothing saturates where the moduli of bins k and N/2 - k add
 * up to 1.0 at most, as those of every forward transform do.
 */
EARSHOT_API u32 r_fft(const s16 *in, s32 n, u32 inverse, s16 *out);

/* The same with block scaling, as fft1; the inverse leaves two bits of headroom. */
EARSHOT_API u32 fft1r(const s16 *in, s32 n, u32 inverse, s16 *out, s32 *exponent);

/* Their parts, forward, with the caller's 32-bit twiddle tables: the first radix-4 stage of a
 * complex transform of size n (8 to 1024), with a factor of 1/4, from in to out, which it leaves in
 * bit-reversed order (log2n is not read); one butterfly of a later stage, with a factor of 1/4, in
 * place on the four points data, data + 2 span, data + 4 span and data + 6 span, with the six words
 * of a table entry; and the split stage of a real transform of size n (16 to 1024), in place on
 * n/2 + 1 bins, without a factor. */
EARSHOT_API void fftRadix4Stage1(const s16 *in, s32 n, const s32 *twiddles, s16 *out, s32 log2n);
EARSHOT_API void ButterflyRadix4Scaled(s16 *data, s32 span, const s32 *twiddle);
EARSHOT_API void rfftStage(s16 *spec, s32 n, const s32 *split_twiddles, s32 stride);

EARSHOT_END_C

#endif
