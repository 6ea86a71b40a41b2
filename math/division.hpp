// Division for the rest of the library; exported from math/division.cpp.
#ifndef EARSHOT_MATH_DIVISION_HPP
#define EARSHOT_MATH_DIVISION_HPP

#include <earshot/math.h>

namespace earshot {

s32 divide_qx(s32 num, s32 den, u32 q);
s64 divide_dp(s64 num, s64 den, s16 q);

} // namespace earshot

#endif
