// Roots and powers for the rest of the library; exported from math/power.cpp.
#ifndef EARSHOT_MATH_POWER_HPP
#define EARSHOT_MATH_POWER_HPP

#include <earshot/math.h>

namespace earshot {

s32 sqrt_compute(s32 x, s16 a, s16 b);
s32 exp10_fixed(s32 x);

} // namespace earshot

#endif
