/*
 * The header in a program without exceptions: everything that can fail says so by its status.
 */
#include <earshot/earshot.hpp>

#include <cstdio>

static int failures = 0;

static void expect(bool holds, const char *what) {
    if (!holds) {
        std::fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

static void turn_a_field() {
    earshot::result<earshot::effect> effect = earshot::effect::try_make();
    expect(bool(effect), "an effect");
    s32 samples[4][8] = {};
    for (s32 &sample : samples[0]) sample = 1000;
    const earshot::first_order<s32> field(samples[0], samples[1], samples[2], samples[3]);
    expect(effect->try_rotate(earshot::degrees(200), earshot::degrees(0)) ==
               earshot::status::bad_value,
           "200 degrees are refused");
    expect(effect->try_process(field, field) == earshot::status::ok, "a frame");
    expect(samples[0][7] == 999, "the effect ran");
}

static void hear_a_source() {
    const earshot::result<earshot::head> head = earshot::head::try_make();
    earshot::result<earshot::head_renderer> renderer = earshot::head_renderer::try_make(*head, 1);
    expect(bool(renderer), "a renderer");
    s32 window[256] = {}, ears[2 * EARSHOT_HEAD_FRAME], exponent = 0;
    window[EARSHOT_HEAD_LEAD] = 1 << 30;
    const s32 *const windows[] = {window};
    expect(renderer->try_place(0, earshot::degrees(90), earshot::degrees(0)) == earshot::status::ok,
           "a place");
    expect(renderer->try_process(windows, ears, exponent) == earshot::status::ok, "a frame");
    s64 left = 0, right = 0;
    for (int i = 0; i < EARSHOT_HEAD_FRAME; ++i) {
        left += s64{ears[2 * i]} * ears[2 * i] >> 16;
        right += s64{ears[2 * i + 1]} * ears[2 * i + 1] >> 16;
    }
    expect(left > 4 * right, "the left ear hears it");
    expect(!earshot::renderer::try_make(0), "no renderer without sources");
}

int main() {
    turn_a_field();
    hear_a_source();
    return failures;
}
