/*
 * The filters: a tone with an offset goes through a DC blocker, an all-pass section and a low-pass
 * of one biquad. Prints mean and level before and after each.
 */
#include <earshot/filters.h>
#include <earshot/math.h>

#include <math.h>
#include <stdio.h>

#define COUNT 48000 /* one second */
#define Q29(x) ((s32)((x)*536870912.0 + ((x) < 0 ? -0.5 : 0.5)))

static s32 sound[COUNT];

/* Mean, and level of what is left without it, of the second half: the filters have settled. */
static void report(const char *what) {
    double mean = 0, power = 0;
    int i;
    for (i = COUNT / 2; i < COUNT; ++i) mean += sound[i];
    mean /= COUNT / 2;
    for (i = COUNT / 2; i < COUNT; ++i) power += (sound[i] - mean) * (sound[i] - mean);
    printf("%-14s mean %7.1f, level %7.1f\n", what, mean, sqrt(power / (COUNT / 2)));
}

/* 4 kHz at an amplitude of 10000 on an offset of 5000: the DC blocker takes 18 bits. */
static void make_sound(void) {
    int i;
    for (i = 0; i < COUNT; ++i) {
        const s32 angle = (s32)((s64)i * (1 << 24) / 12 % (1 << 24)); /* a turn in 12 samples */
        sound[i] = 5000 + (s32)((s64)dsplib_sin(angle) * 10000 >> 31);
    }
}

static int block_dc(void) {
    dc_block_handle handle;
    s32 previous_inputs[2], previous_outputs[2];
    u16 pole;
    return dc_block_init(&pole, &handle, 48000, previous_inputs, previous_outputs) == EARSHOT_OK &&
           dc_block(sound, sound, (s16)pole, handle.xprev, handle.yprev, 2, COUNT) == COUNT;
}

static void turn_phase(void) {
    const s32 coefficients[2] = {Q29(0.4), Q29(-0.9)};
    s32 state[4] = {0, 0, 0, 0};
    iirDF1_32_ap(sound, sound, COUNT, coefficients, state, 29);
}

/* Second-order Butterworth low-pass at 1 kHz: 24 dB less at 4 kHz. */
static void low_pass(void) {
    const s32 section[5] = {Q29(0.003916126660547), Q29(0.007832253321094), Q29(0.003916126660547),
                            Q29(-1.815341082704568), Q29(0.831005589346757)};
    s64 state[2] = {0, 0};
    iirTDF2_32(sound, sound, COUNT, section, state, 1, 29);
}

int main(void) {
    make_sound();
    report("tone");
    if (!block_dc()) return 1;
    report("DC blocker");
    turn_phase();
    report("all-pass");
    low_pass();
    report("low-pass");
    return 0;
}
