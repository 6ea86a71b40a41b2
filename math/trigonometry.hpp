// Trigonometry for the rest of the library; exported from math/trigonometry.cpp.
#ifndef EARSHOT_MATH_TRIGONOMETRY_HPP
#define EARSHOT_MATH_TRIGONOMETRY_HPP

#include <earshot/math.h>

namespace earshot {

inline constexpr s64 pi_q31 = EARSHOT_PI_Q31;
inline constexpr s64 half_pi_q31 = EARSHOT_HALF_PI_Q31;

// Sine of an angle in 2^-32 turns, Q31, as precise as high_precision_sin and without a division.
s32 sine_of_turns(u32 angle);

s32 high_precision_sin(s64 angle);
s64 high_precision_acos(s32 x);
s64 high_precision_atan2(s32 y, s32 x);

} // namespace earshot

#endif
