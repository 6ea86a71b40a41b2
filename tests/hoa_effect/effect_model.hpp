/*
 * The ambisonic effect written down once more, as plainly as possible: whole matrices by value, one
 * sample at a time, floor division instead of shifts. And a small host that owns an instance.
 */
#ifndef EARSHOT_TESTS_HOA_EFFECT_EFFECT_MODEL_HPP
#define EARSHOT_TESTS_HOA_EFFECT_EFFECT_MODEL_HPP

#include "../support/exact.hpp"

#include <earshot/earshot.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace earshot::test {

using matrix = std::array<std::array<s32, 4>, 4>;

constexpr s64 q31(s64 a, s64 b) { return floor_div(a * b, s64{1} << 31); }

inline matrix product(const matrix &a, const matrix &b) {
    matrix c{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t k = 0; k < 4; ++k) c[i][j] = wrap(c[i][j] + q31(a[i][k], b[k][j]));
    return c;
}

inline matrix rotation(s32 yaw, s32 pitch) {
    constexpr s32 one = 0x7FFFFFFF;
    if (yaw == 0 && pitch == 0) return {{{one}, {0, one}, {0, 0, one}, {0, 0, 0, one}}};
    const auto sine = [](s32 degrees, s64 plus) {
        return high_precision_sin(floor_div(s64{degrees} * 0x023BE8D4, 65536) + plus);
    };
    const s64 sy = sine(yaw, 0), cy = sine(yaw, 0xC90FDAA2);
    const s64 sp = sine(pitch, 0), cp = sine(pitch, 0xC90FDAA2);
    return {{{one, 0, 0, 0},
             {0, wrap(cy), 0, wrap(-sy)},
             {0, wrap(q31(-sp, sy)), wrap(cp), wrap(q31(-sp, cy))},
             {0, wrap(q31(cp, sy)), wrap(sp), wrap(q31(cy, cp))}}};
}

struct setting {
    s32 yaw = 0, pitch = 0, focus_yaw = 0, focus_pitch = 0;
    u32 focus = 0;
};

inline matrix effect_of(const setting &s) {
    const matrix main = rotation(s.yaw, s.pitch);
    if (s.focus == 0) return main;
    matrix focus{}, turned = rotation(s.focus_yaw, s.focus_pitch), back{};
    for (std::size_t i = 0; i < 16; ++i) {
        focus[i / 4][i % 4] = FOCUS_MATRIX_1_0_0[i];
        back[i % 4][i / 4] = turned[i / 4][i % 4];
    }
    return product(product(main, back), product(focus, turned));
}

struct effect_model {
    setting now;
    matrix target = effect_of({}), current{};
    int played = 1024;

    void change(const setting &s) {
        now = s;
        current = target;
        target = effect_of(s);
        step_from = current;
        played = 0;
    }
    /* One sample of all channels, Q31 or Q15 within lowest to highest. */
    std::array<s64, 4> mix(const std::array<s64, 4> &x, s64 lowest, s64 highest) {
        if (played < 1024) {
            ++played;
            for (std::size_t i = 0; i < 16; ++i)
                current[i / 4][i % 4] =
                    wrap(s64{current[i / 4][i % 4]} + floor_div(target[i / 4][i % 4], 1024) -
                         floor_div(step_from[i / 4][i % 4], 1024));
        } else {
            current = target;
        }
        std::array<s64, 4> y{};
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t k = 0; k < 4; ++k) y[i] += q31(current[i][k], x[k]);
            y[i] = std::clamp(y[i], lowest, highest);
        }
        return y;
    }

  private:
    matrix step_from{};
};

/* An instance for samples of the given type, in memory of exactly the required size. */
template <class Sample> struct effect_host {
    hoa_effect_config config{48000, 1, 0, 0, 8 * sizeof(Sample), 0};
    std::vector<s64> memory;
    hoa_effect_state *state = nullptr;

    effect_host() {
        hoa_effect_requirement need{};
        hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
        memory.resize(need.static_size / sizeof(s64));
        hoa_effect_init(&state, 1, &config, sizeof config, memory.data(), need.static_size);
    }
    u32 rotate(s32 yaw, s32 pitch) {
        const s32 words[] = {yaw, pitch};
        return hoa_effect_set(state, HOA_EFFECT_PARAM_ROTATION, words, sizeof words);
    }
    u32 focus(s32 yaw, s32 pitch, s32 enable) {
        const s32 words[] = {yaw, pitch, enable, 0};
        return hoa_effect_set(state, HOA_EFFECT_PARAM_FOCUS, words, sizeof words);
    }
    u32 process(std::array<std::vector<Sample>, 4> &x) {
        void *channels[4];
        for (std::size_t i = 0; i < 4; ++i) channels[i] = x[i].data();
        const hoa_effect_buffer in = {static_cast<u32>(x[0].size()), 4, channels};
        hoa_effect_buffer out = {0, 4, channels};
        return hoa_effect_process(state, HOA_EFFECT_OUT_TAG, &out, sizeof out, 0, &in, sizeof in);
    }
};

} // namespace earshot::test

#endif
