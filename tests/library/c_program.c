/*
 * A C program and the shared library: the flag and the tables that both see, and functions of the
 * program's own that must not replace the library's.
 */
#include <earshot/earshot.h>

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void replaced(const char *name) {
    fprintf(stderr, "the library called the program's %s\n", name);
    exit(1);
}

u32 changed(u32 a, u32 b) {
    (void)a, (void)b;
    replaced("changed");
    return 0;
}

u32 cl0(s32 a) {
    (void)a;
    replaced("cl0");
    return 0;
}

s32 ARM_s32_saturate_s64(s64 a) {
    (void)a;
    replaced("ARM_s32_saturate_s64");
    return 0;
}

s32 high_precision_sin(s64 angle) {
    (void)angle;
    replaced("high_precision_sin");
    return 0;
}

u32 hoa_effect_calculate_effect_matrix(hoa_effect_state *state) {
    (void)state;
    replaced("hoa_effect_calculate_effect_matrix");
    return 0;
}

static int failures = 0;

static void expect(int holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

static void use_the_effect(void) {
    const hoa_effect_config config = {48000, 1, 0, 0, 16, 0};
    hoa_effect_requirement need;
    hoa_effect_state *effect = NULL;
    s16 samples[4][8] = {{1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000}};
    void *channels[4] = {samples[0], samples[1], samples[2], samples[3]};
    hoa_effect_buffer in = {8, 4, NULL}, out = {0, 4, NULL};
    const s32 rotation[2] = {30 * 65536, 5 * 65536};
    void *memory;

    in.data = out.data = channels;
    expect(hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config) == 0, "get_req");
    memory = malloc(need.static_size);
    expect(hoa_effect_init(&effect, 1, &config, sizeof config, memory, need.static_size) == 0,
           "init");
    expect(hoa_effect_set(effect, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation) == 0,
           "set");
    expect(hoa_effect_process(effect, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG, &in,
                              sizeof in) == 0,
           "process");
    expect(out.frames == 8 && samples[0][7] == 999, "the effect ran");
    free(memory);
}

int main(void) {
    const s32 *sines;

    giOverflow = 0;
    expect(u32_abs_s32_sat(-2147483647 - 1) == 2147483647u, "saturated magnitude");
    expect(giOverflow == 1, "the program sees the flag that the library raised");
    giOverflow = 0;
    expect(isOverflow() == 0, "the library sees the flag that the program cleared");
    expect(setOverflow() == 0 && clearOverflow() == 1 && giOldOverflow == 1, "saved flag");
    expect(popOverflow() == 0 && giOverflow == 1, "restored flag");

    sines = (const s32 *)dlsym(RTLD_DEFAULT, "SIN_TABLE");
    expect(sines != NULL && memcmp(sines, SIN_TABLE, sizeof SIN_TABLE) == 0, "table by both ways");
    expect(high_precision_atan2(1, 1) == 1686629713, "atan 1");
    expect(divide_qx(1, 2, 15) == 16384, "1/2 in Q15");

    use_the_effect();
    printf("earshot %s, %s\n", earshot_version(), earshot_instruction_set());
    return failures != 0;
}
