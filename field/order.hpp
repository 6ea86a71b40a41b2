// Where channels and matrices of a field lie.
#ifndef EARSHOT_FIELD_ORDER_HPP
#define EARSHOT_FIELD_ORDER_HPP

#include <earshot/field.h>

namespace earshot {

constexpr bool is_order(u32 order) { return order >= 1 && order <= EARSHOT_FIELD_ORDER; }

// Of the harmonic of degree n and index m.
constexpr u32 channel_of(s32 n, s32 m) { return static_cast<u32>(n * n + n + m); }

// Rows, and columns, of the matrix of a degree, and where it begins among the entries.
constexpr s32 size_of_degree(s32 n) { return 2 * n + 1; }
constexpr s32 entries_before(s32 n) {
    s32 sum = 0;
    for (s32 k = 1; k < n; ++k) sum += size_of_degree(k) * size_of_degree(k);
    return sum;
}
static_assert(entries_before(EARSHOT_FIELD_ORDER + 1) == EARSHOT_FIELD_ENTRIES);

} // namespace earshot

#endif
