/*
 * Mathematics, panners, filters and geometry with any operands: nothing undefined, what
 * saturates or is an angle stays within its bounds, and neither the isa nor how a signal is cut
 * into blocks makes a difference.
 */
#include "fuzz.hpp"

#include <earshot/earshot.h>

#include <tuple>

namespace earshot::fuzz {
namespace {

struct toolbox {
    operands &in;
    transcript &out;

    template <class Result, class... Operands> void call(Result (*f)(Operands...)) {
        const std::tuple<Operands...> values{in.take<Operands>()...};
        const Result result = std::apply(f, values);
        out.add(&result, 1);
    }
    template <class... Functions> void one_of(Functions... functions) {
        u32 which = in.below(sizeof...(functions));
        ((which-- == 0 ? call(functions) : void()), ...);
    }

    void mathematics() {
        one_of(high_precision_sin, high_precision_acos, high_precision_atan2,
               high_precision_calculate_interpolation_2048, dsplib_sin, dsplib_cos, dsplib_atan,
               divide_qx, divide_int32_qx, divide_int32, divide_dp, audio_divide_sp,
               s32_div_s32_s32_sat, dsplib_approx_invert, dsplib_approx_divide,
               dsplib_newtons_invert, sqrt_compute, ARM_sqrt_compute, sqrt_compute_Nth, inv_sqrt_65,
               log_compute, ARM_log_compute, exp_compute, exp_compute_variable_q, log2_lut,
               exp10_fixed, log10_fixed, dsplib_exp10, dsplib_log10, a3d_local_mult,
               s32_mult_s32_s32_shr28);
    }

    /* Relations that hold whatever the operands are. */
    void bounds() {
        const s32 a = in.take<s32>(), b = in.take<s32>();
        const s64 wide = in.take<s64>();
        const u32 q = in.below(32);
        const auto within = [](s64 value, s64 bound) { return value >= -bound && value <= bound; };
        require(high_precision_sin(wide) != INT32_MIN, "a sine is within 1");
        require(within(2 * high_precision_acos(a) - EARSHOT_PI_Q31, EARSHOT_PI_Q31), "0 to pi");
        require(within(high_precision_atan2(a, b), EARSHOT_PI_Q31), "-pi to pi");
        const s64 quotient = b == 0 ? 0 : s64{a} * (s64{1} << q) / b;
        require(b == 0 || divide_qx(a, b, q) == std::clamp<s64>(quotient, -INT32_MAX, INT32_MAX),
                "a quotient is truncated and saturates");
        require(sqrt_compute(a, s16(b), s16(q)) >= 0 && exp_compute(a, s16(b), s16(q)) >= 0,
                "neither is negative");
        u16 exponent = 1;
        const s32 mantissa = s32_div_s32_s32_normalized(a, b, &exponent);
        require(within(mantissa, 65535), "a mantissa has 16 bits and a sign");
    }

    void panner() {
        /* In place, or up to a vector and a bit before or after. */
        const u32 count = in.below(200), gap = in.below(20), overlap = in.below(3);
        const s32 each = in.between(-1, 5), frames = in.between(-1, s32(count) / std::max(each, 1));
        guarded<s32> samples(count + gap, in.flip());
        in.fill(samples);
        s32 *to = samples.data() + (overlap == 1 ? gap : 0);
        const s32 *from = samples.data() + (overlap == 2 ? gap : 0);
        a3d_panner narrow = in.take<a3d_panner>();
        a3d_panner32q28 wide = in.take<a3d_panner32q28>();
        const s32 duration = in.flip() ? in.between(-2, 300) : in.take<s32>();
        if (in.flip()) a3d_panner_setup(&narrow, in.take<s16>(), duration, 7);
        if (in.flip()) a3d_panner32q28_setup(&wide, in.take<s32>(), duration, 7);
        const s32 rests[] = {
            a3d_buffer32_fill_panner(to, from, &narrow, frames, each),
            a3d_buffer32_fill_panner32q28(to, from, &wide, in.between(-1, s32(count))),
            a3d_panner_get_current(narrow),
            a3d_panner32q28_get_current(wide),
            narrow.remaining,
            wide.remaining};
        out.add(rests, 6);
        out.add(samples);
    }

    /* filter(in, out, count, state): a signal whole, and in place in two pieces. */
    template <class Sample, class State, class Filter>
    void in_pieces(u32 states, const Filter &filter) {
        const s32 count = in.between(0, 150), first = in.between(0, count);
        guarded<Sample> given(u32(count), in.flip()), whole{u32(count)}, cut{u32(count)};
        guarded<State> state{states}, cut_state{states};
        in.fill(given);
        in.fill(state);
        std::copy(given.begin(), given.end(), cut.begin());
        std::copy(state.begin(), state.end(), cut_state.begin());
        filter(given.data(), whole.data(), count, state.data());
        filter(cut.data(), cut.data(), first, cut_state.data());
        filter(cut.data() + first, cut.data() + first, count - first, cut_state.data());
        transcript once, twice;
        once.add(whole), once.add(state);
        twice.add(cut), twice.add(cut_state);
        require(once == twice && given.intact(), "blocks are as good as a whole");
    }

    void filters() {
        const u32 sections = in.below(4), kind = in.below(4);
        const s32 number = s32(sections), shift = static_cast<s32>(in.mostly(in.below(32)));
        guarded<s32> coefs(5 * std::max(sections, 1u));
        in.fill(coefs);
        const s32 *c = coefs.data();
        const u32 states = kind == 0 ? 4 : 2 * sections;
        const auto wide = [=](s32 *x, s32 *y, s32 n, s32 *state) {
            if (kind == 0) iirDF1_32_ap(x, y, n, c, state, shift);
            if (kind == 1) dc_block(x, y, s16(*c), state, state + sections, number, n);
        };
        if (kind < 2) return in_pieces<s32, s32>(states, wide);
        if (kind == 2)
            return in_pieces<s32, s64>(states, [=](s32 *x, s32 *y, s32 n, s64 *state) {
                iirTDF2_32(x, y, n, c, state, number, shift);
            });
        in_pieces<s16, s64>(states, [=](s16 *x, s16 *y, s32 n, s64 *state) {
            iirTDF2_16(x, y, n, c, state, number, shift);
        });
    }

    void geometry() {
        guarded<s32> q(4), p(3), ear(3), spher(3);
        for (const auto *words : {&q, &p, &ear}) in.fill(*words);
        s32 sum = 0, gain = -1;
        const s32 offset = in.flip() ? in.between(-360, 360) : in.take<s32>();
        carta_minus_cartb(p.data(), p.data(), ear.data());
        s32q16_mac_4x4_s32q16_s32q31(&sum, q.data(), q.data());
        quat_cart_to_spher(q.data(), p.data(), spher.data(), offset);
        require(std::abs(s64{spher[2]}) <= 90 << 16, "an elevation is within 90 degrees");
        cart_rotate_quat(q.data(), p.data());
        cart_to_spher(p.data(), p.data(), in.between(-180, 180));
        require(std::abs(s64{p[1]}) <= 181 << 16, "one turn brings an azimuth back");
        const s32 distance = in.take<s32>(), minimum = in.take<s32>(), maximum = in.take<s32>();
        const s32 status = rolloff_gain(&gain, distance, minimum, maximum, in.below(4));
        require(status == 0 ? gain >= 0 && gain <= 1 << 28 : status == -1 && gain == -1,
                "a gain is up to 1");
        for (const auto *words : {&p, &spher}) out.add(*words);
        const s32 words[] = {sum, gain, status};
        out.add(words, 3);
    }
};

} // namespace
} // namespace earshot::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace earshot::fuzz;
    same_on_every_isa(data, size, [](operands &in, transcript &out) {
        constexpr void (toolbox::*parts[])() = {&toolbox::mathematics, &toolbox::bounds,
                                                &toolbox::panner, &toolbox::filters,
                                                &toolbox::geometry};
        toolbox all{in, out};
        while (in.are_left()) (all.*parts[in.below(5)])();
    });
    return 0;
}
