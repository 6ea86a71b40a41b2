// The effect matrix: rotation of a first-order field by yaw and pitch, and the focus.
#include "hoa_effect/matrices.hpp"

#include "kernel/scalar.hpp"
#include "math/trigonometry.hpp"

namespace earshot {

// 0.6352 and 0.3648 in Q31; the two add up to 1.
const s32 FOCUS_MATRIX_1_0_0[16] = {
    1364081613, 0, 0, 783402035, //
    0,          0, 0, 0,         //
    0,          0, 0, 0,         //
    1364081613, 0, 0, 783402035, //
};

namespace {

// Bits 31 to 62 of the product: truncated, neither rounded nor saturated.
constexpr s32 mul_q31(s32 a, s32 b) { return low_s32(s64_mult_s32_s32_shift(a, b, 1)); }

struct sine_cosine {
    s32 sine, cosine; // Q31
};

sine_cosine sine_cosine_of(s32 degrees_q16) {
    constexpr s32 radians_per_degree = 37480660; // Q31
    const s64 radians = s64_mult_s32_s32_shift(degrees_q16, radians_per_degree, 16);
    return {high_precision_sin(radians), high_precision_sin(radians + half_pi_q31)};
}

void write_row(s32 *row, s32 w, s32 y, s32 z, s32 x) {
    row[0] = w;
    row[1] = y;
    row[2] = z;
    row[3] = x;
}

// Calls f(row, column) for every element.
template <class F> void for_each_element(u32 n, F f) {
    for (u32 i = 0; i < n; ++i)
        for (u32 j = 0; j < n; ++j) f(i, j);
}

void multiply(s32 **product, s32 *const *a, s32 *const *b, u32 n) {
    for_each_element(n, [=](u32 i, u32 j) {
        s32 sum = 0;
        for (u32 k = 0; k < n; ++k) sum = wrap_add(sum, mul_q31(a[i][k], b[k][j]));
        product[i][j] = sum;
    });
}

// target = rot_main x rot_focus^T x focus x rot_focus: turn the focus direction to the x axis,
// focus there, turn back, then rotate the whole.
u32 calculate_focused_target(const hoa_effect_state &s) {
    const u32 n = s.num_channels;
    const u32 order = s.config.order;
    calculate_rotation_matrix(s.rotation_yaw, s.rotation_pitch, s.rot_main, order);
    const u32 status = calculate_rotation_matrix(s.focus_yaw, s.focus_pitch, s.rot_focus, order);
    for_each_element(n, [&s](u32 i, u32 j) { s.rot_focus_t[i][j] = s.rot_focus[j][i]; });
    multiply(s.focus_x_rot, s.focus, s.rot_focus, n);
    multiply(s.rot_x_rot_t, s.rot_main, s.rot_focus_t, n);
    multiply(s.target, s.rot_x_rot_t, s.focus_x_rot, n);
    return status;
}

} // namespace

u32 calculate_rotation_matrix(s32 yaw, s32 pitch, s32 **matrix, u32 order) {
    if (order != 1) return EARSHOT_BAD_VALUE;
    write_row(matrix[0], s32_max, 0, 0, 0);
    if (yaw == 0 && pitch == 0) {
        write_row(matrix[1], 0, s32_max, 0, 0);
        write_row(matrix[2], 0, 0, s32_max, 0);
        write_row(matrix[3], 0, 0, 0, s32_max);
        return EARSHOT_OK;
    }
    const auto [sin_y, cos_y] = sine_cosine_of(yaw);
    const auto [sin_p, cos_p] = sine_cosine_of(pitch);
    const s32 minus_sin_p = wrap_sub(0, sin_p);
    write_row(matrix[1], 0, cos_y, 0, wrap_sub(0, sin_y));
    write_row(matrix[2], 0, mul_q31(minus_sin_p, sin_y), cos_p, mul_q31(minus_sin_p, cos_y));
    write_row(matrix[3], 0, mul_q31(cos_p, sin_y), sin_p, mul_q31(cos_y, cos_p));
    return EARSHOT_OK;
}

u32 calculate_effect_matrix(hoa_effect_state *state) {
    if (state == nullptr) return EARSHOT_BAD_MEMORY;
    const hoa_effect_state &s = *state;
    const u32 n = s.num_channels;
    for_each_element(n, [&s](u32 i, u32 j) { s.current[i][j] = s.target[i][j]; });
    const u32 status =
        s.focus_enable == 1
            ? calculate_focused_target(s)
            : calculate_rotation_matrix(s.rotation_yaw, s.rotation_pitch, s.target, s.config.order);
    for_each_element(n, [&s](u32 i, u32 j) {
        s.step[i][j] = wrap_sub(s.target[i][j] >> 10, s.current[i][j] >> 10);
    });
    return status;
}

} // namespace earshot

EARSHOT_EXPORT_TABLE(s32, FOCUS_MATRIX_1_0_0, [16])

extern "C" {

u32 hoa_effect_calculate_rotation_matrix(s32 yaw, s32 pitch, s32 **matrix, u32 order) {
    return earshot::calculate_rotation_matrix(yaw, pitch, matrix, order);
}
u32 hoa_effect_calculate_effect_matrix(hoa_effect_state *state) {
    return earshot::calculate_effect_matrix(state);
}

} // extern "C"
