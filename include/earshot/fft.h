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
 *   recombination  256 pairs. Pair e holds sin and cos of 2 pi (e + 1) / 1024, each
 *   table          round((2^31 - 1) f). A real transform of size N reads every stride-th pair,
 *                  stride = 1024 / N.
 *
 * Results follow from the words of the tables alone, whatever they are. By the tables above, and
 * with log2 N + 3 bits of headroom (3 in the scaled inverses), nothing saturates or wraps and the
 * transforms take their shortest way: h bits of headroom are words within +-2^(31 - h).
 *
 * All buffers need the alignment of an s32 only. Nothing is allocated. A size that is no power of
 * two or outside the stated range, or a stride outside 1 to 1024 / N, returns at once and writes
 * nothing; pointers are not tested. in and out must not overlap. examples/fft.c makes the tables
 * and uses the transforms of both widths.
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
                                   const s32 *recombine_twiddles, s32 stride, s32 *out);
/* out = the N samples of a packed spectrum, with the factor 1/N: the inverse of the forward
 * transform. The imaginary words of bins 0 and N/2 are ignored. Bins 0 to N/2 - 1 of spec are
 * overwritten with the half-length spectrum. */
EARSHOT_API void Vorkel_rifft_32x32_scaled(s32 *spec, s32 n, const s32 *twiddles,
                                           const s32 *recombine_twiddles, s32 stride, s32 *out);
/* The same without the factor 1/N: additions wrap. */
EARSHOT_API void Vorkel_rifft_32x32(s32 *spec, s32 n, const s32 *twiddles,
                                    const s32 *recombine_twiddles, s32 stride, s32 *out);

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

/* The recombination stages of a real transform of size n (32 to 1024), in place on n/2 + 1 bins:
 * from the half-length spectrum in bins 0 to n/2 - 1 to the packed spectrum (r), and back (ri). */
EARSHOT_API void rfftStage_32x32_neon(s32 *spec, s32 n, const s32 *recombine_twiddles, s32 stride);
EARSHOT_API void rifftStage_32x32_neon(s32 *spec, s32 n, const s32 *recombine_twiddles, s32 stride);
EARSHOT_API void rifftStage_32x32_neon_noscale(s32 *spec, s32 n, const s32 *recombine_twiddles,
                                               s32 stride);

/* --- 16-bit transforms, N = 16 to 1024 ---------------------------------------------------------
 *
 * Data are s16, Q15; a complex value is two words, real part first; packed spectra are as above,
 * N + 2 words. Radix-2 stages halve, radix-4 stages divide by 4; each forms its sums and products
 * exactly and rounds once, half up; what is stored saturates. The twiddles are the library's own.
 * Status: 0, or 2 for a size that is no power of two or outside the range, when nothing is written.
 * Buffers need the alignment of an s16; in and out must not overlap. in is kept.
 *
 * Measured where nothing saturates by more than its rounding: a word of a result is off by less
 * than 3 units of its last place, in complex transforms and real inverses by less than 2. Signal to
 * error in dB, of white noise and of a sine (real inverse: of a white spectrum and of one bin):
 *
 *                                 N = 16         N = 128        N = 1024
 *   c_fft, full scale            79.7, 84.4     68.1, 72.8     61.3, 66.3
 *   r_fft, full scale            76.8, 78.2     68.3, 70.0     57.6, 59.6
 *   r_fft inverse, full scale    73.6, 71.0     67.3, 55.0     56.0, 35.1
 *   c_fft, -60 dB                19.7, 24.5      8.0, 14.4      1.6, 17.8
 *   fft1, -60 dB                 75.6, 74.6     62.5, 61.4     55.5, 54.2
 *   r_fft, -60 dB                16.7, 18.4      8.6, 13.3     -1.6,  9.4
 *   fft1r, -60 dB                78.3, 75.9     63.5, 64.6     51.9, 53.6
 */

/*
 * Complex transform: out[k] = 1/N x the sum of in[n] e^(-+j 2 pi n k / N), minus forward (inverse =
 * 0), plus inverse (other values). Nothing saturates, but for a unit at full scale, where no
 * input's modulus exceeds 1.0.
 */
EARSHOT_API u32 c_fft(const s16 *in, s32 n, u32 inverse, s16 *out);

/*
 * The same with block scaling, for quiet input: the words of in are taken as if shifted to the left
 * until the largest has one bit of headroom (to the right by one where it has none; nothing is lost
 * by it), and *exponent tells the scale: the sum itself, without 1/N, is out x 2^(*exponent). It is
 * log2 N + 1 for the loudest input and log2 N - 14 for words of 0 and -1 alone. Nothing saturates.
 */
EARSHOT_API u32 fft1(const s16 *in, s32 n, u32 inverse, s16 *out, s32 *exponent);

/*
 * Real transform. Forward: N samples to a packed spectrum, with the factor 1/N; nothing saturates,
 * but for a unit at full scale. Inverse: a packed spectrum to N samples, out[n] = 1/N x the sum
 * over all N bins, in which bin N - k is the conjugate of bin k; the imaginary words of bins 0 and
 * N/2 are ignored. Nothing saturates there where the moduli of bins k and N/2 - k add up to 1.0 at
 * most. Each direction has a factor of 1/N of its own: one after the other gives in / N.
 */
EARSHOT_API u32 r_fft(const s16 *in, s32 n, u32 inverse, s16 *out);

/*
 * The same with block scaling, as fft1: the sum itself is out x 2^(*exponent). Forward, out is what
 * r_fft makes of input without headroom, *exponent is log2 N for the loudest input and log2 N - 15
 * for words of 0 and -1 alone. The inverse leaves two bits of headroom, *exponent is log2 N + 2 to
 * log2 N - 13. Nothing saturates, but for a unit at full scale.
 */
EARSHOT_API u32 fft1r(const s16 *in, s32 n, u32 inverse, s16 *out, s32 *exponent);

/*
 * Their parts, forward, with the caller's 32-bit twiddle tables.
 *
 * The first radix-4 stage of a complex transform of size n (8 to 1024), with a factor of 1/4, from
 * in to out, which it leaves in bit-reversed order; log2n is not read.
 */
EARSHOT_API void fftRadix4Stage1(const s16 *in, s32 n, const s32 *twiddles, s16 *out, s32 log2n);

/*
 * One butterfly of a later stage, with a factor of 1/4, in place on the four complex values at
 * data, data + 2 span, data + 4 span and data + 6 span, with the six words of a table entry. A
 * stage of span s = 4, 16, ... up to n / 4 has n / (4 s) blocks of 4 s values; block g takes entry
 * g for its s butterflies. For odd log2 n a radix-2 stage without twiddles ends the
 * transform: halved sums, then halved differences, of values n / 2 apart.
 */
EARSHOT_API void ButterflyRadix4Scaled(s16 *data, s32 span, const s32 *twiddle);

/*
 * The recombination stage of a real transform of size n (16 to 1024), in place on n/2 + 1 bins:
 * from the half-length spectrum in bins 0 to n/2 - 1 to the packed spectrum, without a factor.
 */
EARSHOT_API void rfftStage(s16 *spec, s32 n, const s32 *recombine_twiddles, s32 stride);

EARSHOT_END_C

#endif
