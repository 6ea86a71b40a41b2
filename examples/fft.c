/*
 * The transforms: the 16-bit one finds the pitch of a tone; the 32-bit one, with tables that the
 * caller makes, goes there and back again.
 */
#include <earshot/fft.h>
#include <earshot/math.h>

#include <math.h>
#include <stdio.h>

#define SIZE 512
#define RATE 48000
#define TURN 6.28318530717958647692

static s32 twiddles[256][6];
static s32 recombine_twiddles[256][2];

static s32 q31(double value) { return value >= 1 ? INT32_MAX : (s32)floor(value * 0x1p31 + 0.5); }

/* By the rules of the header; one pair of tables serves all sizes. */
static void make_tables(void) {
    int g, bit;
    for (g = 0; g < 256; ++g) {
        int reversed = 0;
        double theta;
        for (bit = 0; bit < 8; ++bit) reversed |= (g >> bit & 1) << (7 - bit);
        theta = TURN * reversed / 1024;
        twiddles[g][0] = q31(-sin(theta));
        twiddles[g][1] = q31(-cos(theta));
        twiddles[g][2] = q31(cos(2 * theta));
        twiddles[g][3] = q31(-sin(2 * theta));
        twiddles[g][4] = q31(-sin(3 * theta));
        twiddles[g][5] = q31(-cos(3 * theta));
        theta = TURN * (g + 1) / 1024;
        recombine_twiddles[g][0] = (s32)floor(2147483647 * sin(theta) + 0.5);
        recombine_twiddles[g][1] = (s32)floor(2147483647 * cos(theta) + 0.5);
    }
}

/* 3 kHz, a sixteenth of full scale: a transform adds up to SIZE samples in a bin. */
static s32 tone(int i) { return dsplib_sin((s32)((s64)i * (1 << 24) * 3000 / RATE)) >> 12; }

static int loudest_bin(void) {
    static s16 samples[SIZE], spectrum[SIZE + 2];
    s32 exponent, most = 0;
    int i, loudest = 0;
    for (i = 0; i < SIZE; ++i) samples[i] = (s16)(tone(i) >> 16);
    if (fft1r(samples, SIZE, 0, spectrum, &exponent) != EARSHOT_OK) return -1;
    for (i = 0; i <= SIZE / 2; ++i) {
        const s32 re = spectrum[2 * i], im = spectrum[2 * i + 1];
        if (re * re / 2 + im * im / 2 <= most) continue;
        most = re * re / 2 + im * im / 2;
        loudest = i;
    }
    return loudest;
}

static s32 round_trip_error(void) {
    static s32 samples[SIZE], spectrum[SIZE + 2], back[SIZE];
    const s32 stride = 1024 / SIZE;
    s32 error = 0;
    int i;
    for (i = 0; i < SIZE; ++i) samples[i] = tone(i);
    Vorkel_rfft_32x32(samples, SIZE, twiddles[0], recombine_twiddles[0], stride, spectrum);
    Vorkel_rifft_32x32_scaled(spectrum, SIZE, twiddles[0], recombine_twiddles[0], stride, back);
    for (i = 0; i < SIZE; ++i) {
        const s32 difference = back[i] > samples[i] ? back[i] - samples[i] : samples[i] - back[i];
        if (difference > error) error = difference;
    }
    return error;
}

int main(void) {
    const int bin = loudest_bin();
    if (bin < 0) return 1;
    printf("16 bits: bin %d of %d is the loudest, %d Hz\n", bin, SIZE, bin * RATE / SIZE);
    make_tables();
    printf("32 bits: there and back, off by %ld units of 2^-31 at most\n",
           (long)round_trip_error());
    return 0;
}
