// Two words in one result.
#ifndef EARSHOT_MATH_PAIR_HPP
#define EARSHOT_MATH_PAIR_HPP

#include <earshot/types.h>

namespace earshot {

constexpr s64 pair(s32 low, s32 high) {
    return static_cast<s64>(u64{static_cast<u32>(high)} << 32 | static_cast<u32>(low));
}

} // namespace earshot

#endif
