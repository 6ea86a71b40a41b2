/*
 * The instances of the ambisonic effect: which call is refused with what, in which order the
 * checks come, and what is left in memory.
 */
#include "effect_model.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace earshot::test {
namespace {

constexpr u32 ok = 0, bad_value = 2, bad_memory = 3, bad_channels = 4;
constexpr hoa_effect_config good = {48000, 1, 0, 0, 32, 77};

u32 required_size() {
    return static_cast<u32>(sizeof(hoa_effect_state)) + 72 * 4 * 5; // 1552 with 32-bit addresses
}

TEST(HoaEffectInstance, ConfigurationsAreChecked) {
    struct {
        hoa_effect_config config;
        u32 size, checked, required;
    } const cases[] = {
        {good, 24, ok, ok},
        {{48000, 1, 0, 0, 16, 0}, 24, ok, ok},
        {good, 25, ok, bad_value},
        {good, 23, bad_memory, bad_value},
        {{44100, 1, 0, 0, 32, 0}, 24, bad_value, bad_value},
        {{48000, 2, 0, 0, 32, 0}, 24, bad_value, bad_value},
        {{48000, 0, 0, 0, 32, 0}, 24, bad_value, bad_value},
        {{48000, 1, 1, 0, 32, 0}, 24, bad_value, bad_value},
        {{48000, 1, 0, 1, 32, 0}, 24, bad_value, bad_value},
        {{48000, 1, 0, 0, 24, 0}, 24, bad_value, bad_value},
        {{44100, 1, 0, 0, 32, 0}, 23, bad_memory, bad_value},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        hoa_effect_requirement need = {1, 1, 1, 1};
        std::vector<s64> memory(required_size() / 8 + 1);
        hoa_effect_state *state = nullptr;
        EXPECT_EQ(c.checked, hoa_effect_check_config_ranges(&c.config, c.size));
        EXPECT_EQ(c.required, hoa_effect_get_req(0, &need, 16, 1, &c.config, c.size));
        EXPECT_EQ(c.required,
                  hoa_effect_init(&state, 1, &c.config, c.size, memory.data(), required_size()));
        EXPECT_EQ(c.required == ok, state != nullptr);
        EXPECT_EQ(c.required == ok ? required_size() : 1, need.static_size);
    }
}

TEST(HoaEffectInstance, RequirementsAreReported) {
    hoa_effect_requirement need = {1, 1, 1, 1};
    EXPECT_EQ(bad_value, hoa_effect_get_req(1, &need, 16, 1, &good, 24));
    EXPECT_EQ(bad_value, hoa_effect_get_req(0, &need, 15, 1, &good, 24));
    EXPECT_EQ(bad_value, hoa_effect_get_req(0, &need, 16, 2, &good, 24));
    EXPECT_EQ(ok, hoa_effect_get_req(0, &need, 16, 1, &good, 24));
    EXPECT_EQ(required_size(), need.static_size);
    EXPECT_EQ(0u, need.second);
    EXPECT_EQ(400u, need.third);
    EXPECT_EQ(1u, need.unused);
    EXPECT_TRUE(sizeof(void *) != 4 || need.static_size == 1552);

    // The layout formula is open to any order, init is not.
    const hoa_effect_config second_order = {48000, 2, 0, 0, 32, 0};
    EXPECT_EQ(ok, hoa_effect_static_req_or_init(nullptr, &second_order, &need, nullptr, 0, 0));
    EXPECT_EQ(sizeof(hoa_effect_state) + 72 * 9 * 10, need.static_size);
    EXPECT_EQ(ok, hoa_effect_static_req_or_init(nullptr, nullptr, nullptr, nullptr, 0, 2));
}

TEST(HoaEffectInstance, InitLaysOutItsBlockAndNothingElse) {
    std::vector<s64> memory(required_size() / 8 + 1, 0x5A5A5A5A5A5A5A5A);
    hoa_effect_state *state = nullptr;
    EXPECT_EQ(bad_value, hoa_effect_init(&state, 2, &good, 24, memory.data(), required_size()));
    EXPECT_EQ(bad_value, hoa_effect_init(&state, 1, nullptr, 24, memory.data(), required_size()));
    EXPECT_EQ(bad_value, hoa_effect_init(&state, 1, &good, 24, nullptr, required_size()));
    EXPECT_EQ(0x5A5A5A5A5A5A5A5A, memory[0]);
    for (u32 size = 0; size < required_size(); size += size < required_size() - 9 ? 8 : 1) {
        std::fill(memory.begin(), memory.end(), 0x5A5A5A5A5A5A5A5A);
        ASSERT_EQ(bad_memory, hoa_effect_init(&state, 1, &good, 24, memory.data(), size));
        ASSERT_EQ(nullptr, state);
        const auto *bytes = reinterpret_cast<const unsigned char *>(memory.data());
        for (std::size_t i = size; i < 8 * memory.size(); ++i) ASSERT_EQ(0x5A, bytes[i]) << size;
    }
    ASSERT_EQ(ok, hoa_effect_init(&state, 1, &good, 24, memory.data(), required_size()));
    EXPECT_EQ(0x5A5A5A5A5A5A5A5A, memory.back());
    EXPECT_EQ(static_cast<void *>(memory.data()), state);
    EXPECT_EQ(77u, state->config.reserved_5);
    EXPECT_EQ(4u, state->num_channels);
    EXPECT_EQ(1024, state->ramp_pos);
    EXPECT_EQ(1024, state->ramp_len);
    EXPECT_EQ(0x200000, state->ramp_step_q31);
    s32 **const in_memory[] = {state->target,    state->step,        state->current,
                               state->rot_focus, state->rot_focus_t, state->focus,
                               state->rot_main,  state->focus_x_rot, state->rot_x_rot_t};
    auto *piece = reinterpret_cast<unsigned char *>(state + 1);
    for (s32 **const m : in_memory) {
        EXPECT_EQ(static_cast<void *>(piece), m);
        for (int r = 0; r < 4; ++r) EXPECT_EQ(static_cast<void *>(piece += 32), m[r]);
        piece += 32;
    }
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(i % 5 == 0 ? 0x7FFFFFFF : 0, state->target[i / 4][i % 4]);
        EXPECT_EQ(0, state->current[i / 4][i % 4]);
        EXPECT_EQ(FOCUS_MATRIX_1_0_0[i], state->focus[i / 4][i % 4]);
    }
}

/* Orders that only the bare layout call lets through: nothing outside the block is touched, and
 * what comes out refuses to process. */
TEST(HoaEffectInstance, OtherOrdersAreHarmless) {
    for (const u32 order : {0u, 2u, 3u, 0xFFFFu, 0x10000u, 0xFFFFFFFFu}) {
        const hoa_effect_config config = {48000, order, 0, 0, 32, 0};
        std::vector<s64> memory(4096, 0x5A5A5A5A5A5A5A5A);
        hoa_effect_state *state = nullptr;
        const u32 status =
            hoa_effect_static_req_or_init(&state, &config, nullptr, memory.data(), 8 * 4095, 1);
        EXPECT_EQ(0x5A5A5A5A5A5A5A5A, memory.back());
        EXPECT_EQ(state != nullptr ? bad_value : bad_memory, status) << order;
        if (state == nullptr) continue;
        hoa_effect_buffer in = {16, state->num_channels, nullptr}, out = in;
        EXPECT_EQ(bad_value, hoa_effect_process(state, 3, &out, sizeof out, 2, &in, sizeof in));
    }
}

TEST(HoaEffectInstance, ParametersAreCheckedInOrder) {
    effect_host<s32> host;
    const hoa_effect_state before = *host.state;
    struct {
        u32 id, size;
        s32 words[4];
        u32 status;
    } const refused[] = {
        {4, 0, {}, bad_value},
        {6, 0, {}, bad_value},
        {10, 99, {}, bad_value},
        {3, 99, {}, bad_value},
        {5, sizeof(hoa_effect_memory) + 1, {}, bad_memory},
        {7, 9, {11796481, 0}, bad_memory},
        {7, 8, {11796481, 0}, bad_value},
        {7, 8, {-11796481, 0}, bad_value},
        {7, 8, {0, 5898241}, bad_value},
        {7, 8, {5, -5898241}, bad_value},
        {7, 8, {INT32_MIN, INT32_MIN}, bad_value},
        {8, 17, {0, 0, 1}, bad_memory},
        {8, 16, {0, 0, 2}, bad_value},
        {8, 16, {0, 0, -1}, bad_value},
        {8, 16, {11796481, 0, 0}, bad_value},
        {8, 16, {1, 5898241, 0}, bad_value},
    };
    for (const auto &c : refused) {
        SCOPED_TRACE(&c - refused);
        EXPECT_EQ(bad_memory, hoa_effect_set(nullptr, c.id, c.words, c.size));
        EXPECT_EQ(c.status, hoa_effect_set(host.state, c.id, c.words, c.size));
        EXPECT_EQ(0, std::memcmp(&before, host.state, sizeof before)) << "nothing is stored";
    }
    struct {
        u32 id, size;
        s32 words[4];
    } const accepted[] = {
        {7, 8, {11796480, -5898240}},    {7, 4, {-11796480, 5898240}}, {7, 0, {1, 2}},
        {8, 16, {11796480, 5898240, 1}}, {8, 12, {-3, 4, 0}},          {9, 1000, {}},
    };
    for (const auto &c : accepted) {
        SCOPED_TRACE(&c - accepted);
        host.state->ramp_pos = 500;
        EXPECT_EQ(ok, hoa_effect_set(host.state, c.id, c.id == 9 ? nullptr : c.words, c.size));
        EXPECT_EQ(0, host.state->ramp_pos);
        s32 read[4] = {99, 99, 99, 99};
        EXPECT_EQ(ok, hoa_effect_get(host.state, c.id == 9 ? 7 : c.id, read, 16));
        EXPECT_EQ(0, std::memcmp(read, c.words, c.id == 8 ? 12 : 8));
        EXPECT_EQ(99, read[3]);
    }
}

TEST(HoaEffectInstance, ParametersAreRead) {
    effect_host<s32> host;
    hoa_effect_memory scratch = {&host, 5, 4711};
    EXPECT_EQ(ok, hoa_effect_set(host.state, HOA_EFFECT_PARAM_SCRATCH, &scratch, 0));
    EXPECT_EQ(&host, host.state->scratch_ptr);
    const u32 least[] = {8, sizeof(hoa_effect_memory), 8, 8, 16};
    for (u32 id = 3; id <= 9; ++id) {
        const bool readable = id >= 4 && id <= 8;
        u32 words[4] = {9, 9, 9, 9};
        EXPECT_EQ(bad_memory, hoa_effect_get(nullptr, id, words, 16));
        EXPECT_EQ(bad_memory, hoa_effect_get(host.state, id, nullptr, 16));
        EXPECT_EQ(readable ? bad_memory : bad_value,
                  hoa_effect_get(host.state, id, words, readable ? least[id - 4] - 1 : 0));
        EXPECT_EQ(9u, words[0]);
        EXPECT_EQ(readable ? ok : bad_value, hoa_effect_get(host.state, id, words, 16)) << id;
        if (id == HOA_EFFECT_PARAM_VERSION) {
            EXPECT_EQ(0u, words[0]);
            EXPECT_EQ(0x01000100u, words[1]);
        } else if (id == HOA_EFFECT_PARAM_ZERO_QUERY) {
            EXPECT_EQ(0u, words[0]);
            EXPECT_EQ(9u, words[1]);
        }
    }
    hoa_effect_memory read = {nullptr, 8, 9};
    EXPECT_EQ(ok, hoa_effect_get(host.state, 5, &read, sizeof read));
    EXPECT_EQ(4711u, read.size);
    EXPECT_EQ(8u, read.unused);
    EXPECT_EQ(nullptr, read.address);

    EXPECT_EQ(ok, hoa_effect_scratch_req_or_init(host.state, 0, &read, 1));
    EXPECT_EQ(nullptr, host.state->scratch_ptr);
    EXPECT_EQ(ok, hoa_effect_scratch_req_or_init(nullptr, 0, &scratch, 0));
    EXPECT_EQ(nullptr, scratch.address);
    EXPECT_EQ(bad_memory, hoa_effect_scratch_req_or_init(nullptr, 0, &scratch, 1));
}

TEST(HoaEffectInstance, ProcessChecksItsBuffersInOrder) {
    effect_host<s32> host;
    constexpr u32 size = sizeof(hoa_effect_buffer);
    hoa_effect_buffer four = {0, 4, nullptr}, two = {0, 2, nullptr};
    hoa_effect_state *const s = host.state;
    EXPECT_EQ(bad_memory, hoa_effect_process(s, 3, &four, size - 1, 2, &four, size));
    EXPECT_EQ(bad_memory, hoa_effect_process(s, 0, &four, size, 0, &two, size + 1));
    EXPECT_EQ(bad_memory, hoa_effect_process(nullptr, 3, &four, size, 2, &four, size));
    EXPECT_EQ(bad_memory, hoa_effect_process(s, 3, nullptr, size, 2, &four, size));
    EXPECT_EQ(bad_memory, hoa_effect_process(s, 3, &four, size, 2, nullptr, size));
    EXPECT_EQ(bad_value, hoa_effect_process(s, 2, &two, size, 3, &four, size));
    EXPECT_EQ(bad_channels, hoa_effect_process(s, 3, &four, size, 0, &two, size));
    EXPECT_EQ(bad_channels, hoa_effect_process(s, 0, &two, size, 2, &four, size));
    EXPECT_EQ(bad_memory, hoa_effect_reset(nullptr));
    EXPECT_EQ(bad_memory, hoa_effect_calculate_effect_matrix(nullptr));
    EXPECT_EQ(bad_memory, hoa_effect_default_init_static(nullptr, &good));
    EXPECT_EQ(bad_memory, hoa_effect_apply_effect_matrix(nullptr, &four, &four));

    // A width that became unknown is found only after the ramp has moved on.
    std::array<std::vector<s32>, 4> x{{{1, 2}, {3, 4}, {5, 6}, {7, 8}}};
    ASSERT_EQ(ok, host.rotate(1, 1));
    s->config.bit_width = 24;
    EXPECT_EQ(bad_value, host.process(x));
    EXPECT_EQ(2, s->ramp_pos);
    EXPECT_EQ(8, x[3][1]);
}

TEST(HoaEffectInstance, TheRampCountsItsSamples) {
    effect_host<s16> host;
    ASSERT_EQ(ok, host.rotate(1000, 0));
    const u32 blocks[] = {100, 0, 900, 0x80000000, 1000};
    const s32 positions[] = {100, 100, 1000, 1000 - INT32_MAX - 1, 0};
    for (std::size_t b = 0; b < 4; ++b) {
        std::vector<s16> samples(2000);
        void *channels[] = {samples.data(), samples.data(), samples.data(), samples.data()};
        const hoa_effect_buffer in = {blocks[b], 4, channels};
        hoa_effect_buffer out = {7, 4, channels};
        EXPECT_EQ(ok, hoa_effect_process(host.state, 3, &out, sizeof out, 2, &in, sizeof in));
        EXPECT_EQ(positions[b], host.state->ramp_pos) << b;
        EXPECT_EQ(blocks[b], out.frames);
    }
}

/* The last coefficient a ramp uses lacks the low bits that its step lost; then target is exact. */
TEST(HoaEffectInstance, MatricesFollowTheirRules) {
    effect_host<s32> host;
    ASSERT_EQ(ok, host.focus(0, 0, 1));
    EXPECT_EQ(1364081610, host.state->target[0][0]);
    EXPECT_EQ(783402033, host.state->target[3][3]);
    EXPECT_EQ(0, host.state->target[1][1]);
    EXPECT_EQ(0x7FFFFFFF, host.state->current[1][1]);
    const s32 old_target = host.state->target[0][0];
    ASSERT_EQ(ok, host.rotate(5898240, 0)); // in mid-ramp
    EXPECT_EQ(old_target, host.state->current[0][0]);

    s32 rows[4][4];
    s32 *matrix[] = {rows[0], rows[1], rows[2], rows[3]};
    ASSERT_EQ(ok, hoa_effect_calculate_rotation_matrix(5898240, 0, matrix, 1));
    EXPECT_NEAR(0, rows[1][1], 4);
    EXPECT_NEAR(-0x7FFFFFFF, rows[1][3], 4);
    EXPECT_NEAR(0x7FFFFFFF, rows[3][1], 4);
    rows[0][0] = 5;
    EXPECT_EQ(bad_value, hoa_effect_calculate_rotation_matrix(0, 0, matrix, 2));
    EXPECT_EQ(5, rows[0][0]);
}

TEST(HoaEffectInstance, TheIdentityCostsPositiveSamplesOneUnit) {
    effect_host<s32> wide;
    std::array<std::vector<s32>, 4> x{
        {{0, 1, -1}, {INT32_MAX, INT32_MIN, 5}, {-7, 0, 0}, {1 << 30, 2, -2}}};
    ASSERT_EQ(ok, wide.process(x));
    EXPECT_EQ((std::vector<s32>{0, 0, -1}), x[0]);
    EXPECT_EQ((std::vector<s32>{INT32_MAX - 1, INT32_MIN + 1, 4}), x[1]);
    EXPECT_EQ((std::vector<s32>{-7, 0, 0}), x[2]);
    EXPECT_EQ((std::vector<s32>{(1 << 30) - 1, 1, -2}), x[3]);
}

} // namespace
} // namespace earshot::test
