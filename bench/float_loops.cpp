#include "float_loops.hpp"

namespace earshot_bench {

void add_filtered(float *__restrict left, float *__restrict right, const float *__restrict spectrum,
                  const float *__restrict left_filter, const float *__restrict right_filter,
                  int bins) {
    for (int i = 0; i < 2 * bins; i += 2) {
        const float re = spectrum[i], im = spectrum[i + 1];
        left[i] += re * left_filter[i] - im * left_filter[i + 1];
        left[i + 1] += re * left_filter[i + 1] + im * left_filter[i];
        right[i] += re * right_filter[i] - im * right_filter[i + 1];
        right[i + 1] += re * right_filter[i + 1] + im * right_filter[i];
    }
}

void fade_over(float *__restrict samples, const float *__restrict old_samples, int count) {
    const float step = 1 / static_cast<float>(count);
    for (int i = 0; i < count; ++i) {
        const float gain = static_cast<float>(i) * step;
        samples[i] = (1 - gain) * old_samples[i] + gain * samples[i];
    }
}

void to_q31(int *__restrict out, const float *__restrict in, int count) {
    constexpr float lowest = -2147483648.0f, highest = 2147483520.0f;
    for (int i = 0; i < count; ++i) {
        const float scaled = in[i] * 2147483648.0f;
        const float floored = scaled < lowest ? lowest : scaled;
        out[i] = static_cast<int>(floored > highest ? highest : floored);
    }
}

// The compilers believe restrict of parameters only, hence a function around each loop.
#define EARSHOT_PLANES                                                                             \
    float *__restrict out_w, float *__restrict out_y, float *__restrict out_z,                     \
        float *__restrict out_x, const float *__restrict w, const float *__restrict y,             \
        const float *__restrict z, const float *__restrict x
#define EARSHOT_CALL(loop, ...)                                                                    \
    loop(__VA_ARGS__, out[0], out[1], out[2], out[3], in[0], in[1], in[2], in[3], frames)

namespace {

void steady_loop(const mix_matrix a, EARSHOT_PLANES, int frames) {
    for (int t = 0; t < frames; ++t) {
        out_w[t] = a.m[0][0] * w[t] + a.m[0][1] * y[t] + a.m[0][2] * z[t] + a.m[0][3] * x[t];
        out_y[t] = a.m[1][0] * w[t] + a.m[1][1] * y[t] + a.m[1][2] * z[t] + a.m[1][3] * x[t];
        out_z[t] = a.m[2][0] * w[t] + a.m[2][1] * y[t] + a.m[2][2] * z[t] + a.m[2][3] * x[t];
        out_x[t] = a.m[3][0] * w[t] + a.m[3][1] * y[t] + a.m[3][2] * z[t] + a.m[3][3] * x[t];
    }
}

void ramp_loop(mix_matrix a, const mix_matrix step, EARSHOT_PLANES, int frames) {
    for (int t = 0; t < frames; ++t) {
        for (int i = 0; i < 4; ++i)
            for (int k = 0; k < 4; ++k) a.m[i][k] += step.m[i][k];
        out_w[t] = a.m[0][0] * w[t] + a.m[0][1] * y[t] + a.m[0][2] * z[t] + a.m[0][3] * x[t];
        out_y[t] = a.m[1][0] * w[t] + a.m[1][1] * y[t] + a.m[1][2] * z[t] + a.m[1][3] * x[t];
        out_z[t] = a.m[2][0] * w[t] + a.m[2][1] * y[t] + a.m[2][2] * z[t] + a.m[2][3] * x[t];
        out_x[t] = a.m[3][0] * w[t] + a.m[3][1] * y[t] + a.m[3][2] * z[t] + a.m[3][3] * x[t];
    }
}

// A row of the matrix whose element k is a[k] + n step[k] at sample n.
void closed_loop(const float *a, const float *step, float *__restrict out,
                 const float *__restrict w, const float *__restrict y, const float *__restrict z,
                 const float *__restrict x, int frames) {
    const float a0 = a[0], a1 = a[1], a2 = a[2], a3 = a[3];
    const float d0 = step[0], d1 = step[1], d2 = step[2], d3 = step[3];
    for (int t = 0; t < frames; ++t) {
        const float n = static_cast<float>(t + 1);
        out[t] = (a0 + n * d0) * w[t] + (a1 + n * d1) * y[t] + (a2 + n * d2) * z[t] +
                 (a3 + n * d3) * x[t];
    }
}

} // namespace

void mix_steady(const mix_matrix &matrix, float *const *out, const float *const *in, int frames) {
    EARSHOT_CALL(steady_loop, matrix);
}

void mix_ramp(const mix_matrix &matrix, const mix_matrix &step, float *const *out,
              const float *const *in, int frames) {
    EARSHOT_CALL(ramp_loop, matrix, step);
}

void mix_ramp_closed(const mix_matrix &matrix, const mix_matrix &step, float *const *out,
                     const float *const *in, int frames) {
    for (int i = 0; i < 4; ++i)
        closed_loop(matrix.m[i], step.m[i], out[i], in[0], in[1], in[2], in[3], frames);
}

} // namespace earshot_bench
