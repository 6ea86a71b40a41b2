/*
 * Makes one kind of call a given number of times, and nothing else that varies:
 *     one_call CASE TIMES
 * bench/arm-instructions counts the instructions of runs with different numbers of calls. Without
 * arguments it lists its cases.
 */
#include <earshot/earshot.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { fft_size = 256, bins = fft_size / 2 + 1, block = 1024 };

/* --- Transforms ------------------------------------------------------------------------------*/

static s32 twiddles[256][6], recombine_twiddles[256][2];
static s32 wave[2 * block + 2], spectrum[2 * block + 2];

static s32 q31(double x) {
    const double scaled = floor(x * 2147483648.0 + 0.5);
    return scaled >= 2147483647.0 ? INT32_MAX : (s32)scaled;
}

static void fill_tables(void) {
    for (int g = 0; g < 256; ++g) {
        int r = 0;
        for (int bit = 0; bit < 8; ++bit) r |= (g >> bit & 1) << (7 - bit);
        const double t = 2 * acos(-1.0) * r / 1024, e = 2 * acos(-1.0) * (g + 1) / 1024;
        const double words[6] = {-sin(t),     -cos(t),     cos(2 * t),
                                 -sin(2 * t), -sin(3 * t), -cos(3 * t)};
        for (int k = 0; k < 6; ++k) twiddles[g][k] = q31(words[k]);
        recombine_twiddles[g][0] = (s32)floor(sin(e) * 2147483647.0 + 0.5);
        recombine_twiddles[g][1] = (s32)floor(cos(e) * 2147483647.0 + 0.5);
    }
}

static void complex_128(void) { cmplxfft32x32(wave, 128, twiddles[0], spectrum); }
static void complex_1024(void) { cmplxfft32x32(wave, 1024, twiddles[0], spectrum); }
static void real_256(void) {
    Vorkel_rfft_32x32(wave, 256, twiddles[0], recombine_twiddles[0], 4, spectrum);
}
static void real_256_inverse(void) {
    Vorkel_rifft_32x32_scaled(spectrum, 256, twiddles[0], recombine_twiddles[0], 4, wave);
}

/* --- Renderer --------------------------------------------------------------------------------*/

static hrtf_filt_front_instance *front;
static hrtf_filt_back_instance *back;
static s32 ears[2][2 * bins], output[2][128];

static void *allocated(u32 bytes) { return calloc(bytes / 8 + 1, 8); }

static void make_renderer(u32 sources) {
    const hrtf_filt_front_config front_config = {0, 48000, sources, 0, 0};
    const hrtf_filt_back_config back_config = {1, 96, fft_size, 0, 4, 0};
    hrtf_requirement need;
    hrtf_filt_front_get_req(0, &need, 1, &front_config);
    hrtf_filt_front_init(&front, 1, &front_config, allocated(need.static_size), need.static_size);
    hrtf_filt_front_scratch_get_init(front, &front_config, allocated(need.scratch_size), 1);
    hrtf_filt_back_get_req(0, &need, 1, &back_config);
    hrtf_filt_back_init(&back, 1, &back_config, allocated(need.static_size), need.static_size);
    hrtf_filt_back_scratch_get_init(back, &back_config, allocated(need.scratch_size), 1);
    for (u32 s = 0; s < sources; ++s) {
        hrtf_filt_front_direction direction = {sizeof direction, s, {0, (s32)s * 23 * 65536, 0}};
        hrtf_filt_front_set(front, HRTF_FILT_FRONT_PARAM_SELECT, &direction);
    }
}

static void one_source(void) { make_renderer(1); }
static void sixteen_sources(void) { make_renderer(16); }

static void front_end(void) {
    const hrtf_ear_spectra spectra = {{ears[0], ears[1]}};
    const s32 *inputs[16];
    for (int s = 0; s < 16; ++s) inputs[s] = wave + 64 * s;
    hrtf_filt_front_process(front, bins, &spectra, fft_size, inputs);
}

static void back_end(void) {
    const hrtf_ear_spectra spectra = {{ears[0], ears[1]}};
    const hrtf_ear_outputs outputs = {{output[0], output[1]}};
    hrtf_filt_back_process(back, 96, &outputs, bins, &spectra);
}

static void frame(void) {
    memset(ears, 0, sizeof ears);
    front_end();
    back_end();
}

/* --- Head ------------------------------------------------------------------------------------*/

static const earshot_head *head;
static earshot_filter_pair pair;

static void make_head(void) {
    const size_t size = earshot_head_builtin_size();
    earshot_head_builtin(malloc(size), size, &head);
}

static void head_filter(void) { earshot_head_filter(head, 33 * 65536, 12 * 65536, &pair); }

/* --- Renderer whose headroom follows the signal ----------------------------------------------*/

enum { binaural_sources = 16 };

static earshot_binaural *binaural;
static earshot_filter_pair pairs[2][binaural_sources];

static void find_filters(s32 azimuth, earshot_filter_pair *pair) {
    hrtf_instance memory, *instance;
    const hrtf_config tables = {0};
    hrtf_position position = {0, azimuth * 65536, 0};
    hrtf_filter_pair found;
    hrtf_init(&instance, 1, &tables, &memory, sizeof memory);
    hrtf_selection(instance, &position, &found);
    for (int ear = 0; ear < 2; ++ear) memcpy(pair->ear[ear], found.ear[ear], sizeof pair->ear[ear]);
    pair->gain = 4 * 65536;
}

static void give_filters(int which) {
    for (u32 s = 0; s < binaural_sources; ++s) earshot_binaural_set(binaural, s, &pairs[which][s]);
}

static void make_binaural(void) {
    const earshot_binaural_config config = {binaural_sources, 96, 128};
    size_t size;
    earshot_binaural_get_size(&config, &size);
    earshot_binaural_init(&binaural, &config, allocated((u32)size), size);
    for (int s = 0; s < binaural_sources; ++s) {
        find_filters(s * 23, &pairs[0][s]);
        find_filters(s * 23 + 5, &pairs[1][s]);
    }
    give_filters(0);
}

static void binaural_still(void) {
    static s32 mixed[2 * 96];
    const s32 *windows[binaural_sources];
    s32 exponent;
    for (int s = 0; s < binaural_sources; ++s) windows[s] = wave + 64 * s;
    earshot_binaural_process(binaural, windows, mixed, &exponent);
}

static void binaural_moving(void) {
    static int which = 0;
    give_filters(which ^= 1);
    binaural_still();
}

/* --- Effect ----------------------------------------------------------------------------------*/

static hoa_effect_state *effect;
static s32 field[8][block];

static void make_effect(void) {
    const hoa_effect_config config = {48000, 1, 0, 0, 32, 0};
    hoa_effect_requirement need;
    hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
    hoa_effect_init(&effect, 1, &config, sizeof config, allocated(need.static_size),
                    need.static_size);
}

static void process_field(void) {
    void *in_channels[] = {field[0], field[1], field[2], field[3]};
    void *out_channels[] = {field[4], field[5], field[6], field[7]};
    const hoa_effect_buffer in = {block, 4, in_channels};
    hoa_effect_buffer out = {0, 4, out_channels};
    hoa_effect_process(effect, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG, &in,
                       sizeof in);
}

/* The ramp is as long as the block. */
static void ramp(void) {
    static s32 yaw = 0;
    const s32 rotation[2] = {yaw += 65536, 0};
    hoa_effect_set(effect, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    process_field();
}

/* --- Panner ----------------------------------------------------------------------------------*/

static void panner_ramp(void) {
    a3d_panner panner = {0, 0, 0, 0, 0};
    a3d_panner_setup(&panner, 16384, block, 0);
    a3d_buffer32_fill_panner(wave, wave, &panner, block, 1);
}

static void nothing(void) {}

static const struct {
    const char *name;
    void (*prepare)(void), (*call)(void);
} cases[] = {
    {"complex-128", nothing, complex_128},
    {"complex-1024", nothing, complex_1024},
    {"real-256", nothing, real_256},
    {"real-256-inverse", nothing, real_256_inverse},
    {"front-end-1-source", one_source, front_end},
    {"back-end-96", one_source, back_end},
    {"frame-96-of-16-sources", sixteen_sources, frame},
    {"head-filter", make_head, head_filter},
    {"binaural-still-96-of-16", make_binaural, binaural_still},
    {"binaural-moving-96-of-16", make_binaural, binaural_moving},
    {"effect-steady-1024", make_effect, process_field},
    {"effect-ramp-1024", make_effect, ramp},
    {"panner-ramp-1024", nothing, panner_ramp},
};

int main(int argc, char **argv) {
    fill_tables();
    for (int i = 0; i < 2 * block; ++i) wave[i] = (s32)((u32)i * 2654435761u) >> 6;
    for (size_t c = 0; c < sizeof cases / sizeof cases[0]; ++c) {
        if (argc < 3) {
            puts(cases[c].name);
        } else if (strcmp(argv[1], cases[c].name) == 0) {
            cases[c].prepare();
            for (long n = atol(argv[2]); n > 0; --n) cases[c].call();
            return 0;
        }
    }
    return argc < 3 ? 0 : 1;
}
