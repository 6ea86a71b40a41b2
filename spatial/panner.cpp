// Gain ramps: the two panners.
#include "kernel/scalar.hpp"
#include "math/division.hpp"
#include "spatial/gain.hpp"

#include <earshot/spatial.h>

namespace earshot {
namespace {

// What differs between the two panners. Their records have fields of the same names.
struct narrow {
    using record = a3d_panner;
    using gain = s16;
    static constexpr u32 step_bits = 16; // fraction bits of a step
    static gain difference(gain a, gain b) { return s16_sub_s16_s16_sat(a, b); }
    static gain current(const record &p) {
        const s64 way = (s64{p.step} * p.remaining + 0x8000) >> 16;
        return difference(p.target, ARM_s16_saturate_s32(ARM_s32_saturate_s64(way)));
    }
};

struct wide {
    using record = a3d_panner32q28;
    using gain = s32;
    static constexpr u32 step_bits = 0;
    static gain difference(gain a, gain b) { return ARM_s32_sub_s32_s32_sat(a, b); }
    static gain current(const record &p) {
        return difference(p.target, low_s32(s64{p.step} * p.remaining));
    }
};

template <class Kind> typename Kind::gain current(const typename Kind::record &panner) {
    return panner.remaining == 0 ? panner.target : Kind::current(panner);
}

template <class Kind>
void setup(typename Kind::record &panner, typename Kind::gain target, s32 duration, u32 user) {
    panner.user = duration < 1 ? 0 : user;
    const auto way = Kind::difference(target, current<Kind>(panner));
    const bool ramps = duration >= 1 && way != 0;
    panner.step = ramps ? divide_qx(way, duration, Kind::step_bits) : 0;
    panner.remaining = ramps ? duration : 0;
    panner.target = target;
}

// How many of count steps belong to the ramp; less than 0 for a negative count, whose steps are
// followed although nothing is written.
template <class Record> s32 take_ramp(Record &panner, s32 count) {
    const s32 ramp = panner.remaining < count ? panner.remaining : count;
    panner.remaining = wrap_sub(panner.remaining, ramp);
    return ramp;
}

constexpr s64 at_least_0(s32 x) { return x > 0 ? x : 0; }

// Gains that saturate step by step are on a straight line up to a bound, and stay there.
struct gain_line {
    s32 start, step;

    s32 at(s64 k) const { return ARM_s32_saturate_s64(start + k * step); }

    // How many of the first count gains come before the bound.
    s64 length(s64 count) const {
        const s64 bound = step > 0 ? s32_max : s32_min;
        const bool stays = count == 0 || at(count - 1) == start + (count - 1) * step;
        return stays ? count : (bound - start) / step + 1;
    }
};

// fraction_bits: of the line, beyond those of the gains.
void fill_ramp(const gain_loops &loops, s32 *out, const s32 *in, const gain_line &line, s64 count,
               s32 fraction_bits) {
    const s64 length = line.length(count);
    loops.ramp(out, in, line.start, line.step, length);
    loops.steady(out + length, in + length, line.at(count) >> fraction_bits, count - length);
}

s32 fill(s32 *out, const s32 *in, a3d_panner &panner, s32 frames, s32 samples_per_frame) {
    const gain_loops &loops = gain_kernels_for(active_isa()).q15;
    const gain_line line = {low_s32(shift_left(current<narrow>(panner), 16)), panner.step};
    const s64 ramp = at_least_0(take_ramp(panner, frames)), size = at_least_0(samples_per_frame);
    const s64 steady = at_least_0(frames) - ramp;
    if (size == 0) return panner.remaining;
    if (size == 1) {
        fill_ramp(loops, out, in, line, ramp, 16);
    } else {
        for (s64 frame = 0; frame < ramp; ++frame)
            loops.steady(out + frame * size, in + frame * size, line.at(frame) >> 16, size);
    }
    loops.steady(out + ramp * size, in + ramp * size, panner.target, steady * size);
    return panner.remaining;
}

s32 fill(s32 *out, const s32 *in, a3d_panner32q28 &panner, s32 count) {
    const gain_loops &loops = gain_kernels_for(active_isa()).q28;
    const gain_line line = {current<wide>(panner), panner.step};
    const s64 ramp = at_least_0(take_ramp(panner, count));
    fill_ramp(loops, out, in, line, ramp, 0);
    loops.steady(out + ramp, in + ramp, panner.target, at_least_0(count) - ramp);
    return panner.remaining;
}

} // namespace
} // namespace earshot

using namespace earshot;

extern "C" {

void a3d_panner_setup(a3d_panner *panner, s16 target, s32 duration, u32 user) {
    setup<narrow>(*panner, target, duration, user);
}
s32 a3d_panner_get_status(const a3d_panner *panner) { return panner->remaining; }
s16 a3d_panner_get_current(a3d_panner panner) { return current<narrow>(panner); }
s32 a3d_buffer32_fill_panner(s32 *out, const s32 *in, a3d_panner *panner, s32 frames,
                             s32 samples_per_frame) {
    return fill(out, in, *panner, frames, samples_per_frame);
}
void a3d_panner32q28_setup(a3d_panner32q28 *panner, s32 target, s32 duration, u32 user) {
    setup<wide>(*panner, target, duration, user);
}
s32 a3d_panner32q28_get_status(const a3d_panner32q28 *panner) { return panner->remaining; }
s32 a3d_panner32q28_get_current(a3d_panner32q28 panner) { return current<wide>(panner); }
s32 a3d_buffer32_fill_panner32q28(s32 *out, const s32 *in, a3d_panner32q28 *panner, s32 count) {
    return fill(out, in, *panner, count);
}
s32 a3d_local_mult(s32 a, s32 b) { return low_s32((s64{a} * b + 0x8000) >> 16); }
s32 s32_mult_s32_s32_shr28(s32 a, s32 b) {
    return low_s32((s64{low_s32(s64{a} * b)} + 0x8000000) >> 28);
}

} // extern "C"
