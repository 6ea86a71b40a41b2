// Values over time.
#pragma once

#include <algorithm>

#include "scene/description/scene.hpp"

namespace earshot_scenes {

// A way between two rows: part of whole, 0 <= part <= whole, whole from 1 to 2^45.
struct way {
    s64 part;
    s64 whole;
};

// a + (b - a) part / whole, rounded half up.
s32 between(s32 a, s32 b, const way &way);

// The same turn, degrees in Q16, by half a turn at most. Half a turn keeps its sign.
constexpr s64 shorter(s64 turn) {
    constexpr s64 half = whole_turn / 2;
    const s64 rest = turn % whole_turn;
    return rest > half ? rest - whole_turn : rest < -half ? rest + whole_turn : rest;
}

// Degrees in Q16 as a fraction of a turn, Q32, to the nearest; it wraps like the angle itself.
constexpr u32 turn_of_degrees(s64 degrees_q16) {
    const s64 within = (degrees_q16 % whole_turn + whole_turn) % whole_turn;
    return static_cast<u32>(((within << 32) + whole_turn / 2) / whole_turn);
}

// Degrees, Q16, from a the shorter way round to b, or to what is b but for whole turns. Two angles
// half a turn apart are joined the way their numbers go: from 0 to 180 over 90, back over 90 again.
s32 between_angles(s32 a, s32 b, const way &way);

position between(const position &a, const position &b, const way &way);
direction between(const direction &a, const direction &b, const way &way);
head_angles between(const head_angles &a, const head_angles &b, const way &way);
// Along the chord of the shorter arc, brought back to a modulus of 1.
quaternion between(const quaternion &a, const quaternion &b, const way &way);

template <class Value> bool moves(const track<Value> &rows) { return rows.size() > 1; }

template <class Value> Value at(const track<Value> &rows, s64 time) {
    const auto next =
        std::upper_bound(rows.begin(), rows.end(), time,
                         [](s64 wanted, const track_row<Value> &row) { return wanted < row.time; });
    if (next == rows.begin()) return next->value;
    const auto last = next - 1;
    if (next == rows.end()) return last->value;
    return between(last->value, next->value, {time - last->time, next->time - last->time});
}

} // namespace earshot_scenes
