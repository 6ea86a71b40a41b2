// What the filters of second order share: coefficients of a scale that the caller chooses.
#ifndef EARSHOT_FILTERS_SECTION_HPP
#define EARSHOT_FILTERS_SECTION_HPP

#include "kernel/scalar.hpp"

namespace earshot {

// The three ways from an accumulator back to samples, so that the loop over them holds no test.

struct fraction_scale { // shift >= 1, rounded half up
    s64 half_unit;
    s32 shift;
    explicit fraction_scale(s32 count) : half_unit(shift_left(1, s64{count} - 1)), shift(count) {}
    s64 raise(s32 sample) const { return shift_left(sample, shift); }
    s64 lower(s64 acc) const { return shift_right(wrap_add(acc, half_unit), shift); }
};

struct unit_scale { // shift = 0
    explicit unit_scale(s32) {}
    s64 raise(s32 sample) const { return sample; }
    s64 lower(s64 acc) const { return acc; }
};

struct multiple_scale { // shift < 0: the coefficients are multiples of 2^count
    s64 count;
    explicit multiple_scale(s32 shift) : count(-s64{shift}) {}
    s64 raise(s32 sample) const { return shift_right(sample, count); }
    s64 lower(s64 acc) const { return shift_left(acc, count); }
};

// Calls run with the scale that a shift asks for.
template <class Run> void with_scale(s32 shift, Run run) {
    if (shift >= 1)
        run(fraction_scale(shift));
    else if (shift == 0)
        run(unit_scale(shift));
    else
        run(multiple_scale(shift));
}

} // namespace earshot

#endif
