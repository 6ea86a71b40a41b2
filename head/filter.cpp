// From a direction to its filters: the triangle that holds it, the weights of the triangle's
// corners there, and with them filters and delays.
#include "head/kernels.hpp"
#include "head/sections.hpp"
#include "math/trigonometry.hpp"

#include <earshot/hrtf.h>

#include <bit>

namespace earshot {
namespace {

constexpr s32 right_angle = 90 << 16, full_turn = 360 << 16;

s32 within_turn(s32 azimuth) {
    const s32 rest = azimuth % full_turn;
    return rest < 0 ? rest + full_turn : rest;
}

s32 clamped(s32 elevation) {
    return elevation < -right_angle  ? -right_angle
           : elevation > right_angle ? right_angle
                                     : elevation;
}

struct vector {
    s32 front, left, up; // Q30
};

vector towards(s32 azimuth, s32 elevation) {
    constexpr u32 quarter = u32{1} << 30;
    // 2^48 / 360 degrees; an angle in degrees, Q16, becomes 2^-32 turns.
    const auto turns = [](s32 angle) { return static_cast<u32>(angle * s64{0xB60B60B61} >> 28); };
    const u32 a = turns(azimuth), e = turns(elevation);
    const s64 across = sine_of_turns(e + quarter);
    return {static_cast<s32>(across * sine_of_turns(a + quarter) >> 32),
            static_cast<s32>(across * sine_of_turns(a) >> 32), sine_of_turns(e) >> 1};
}

// How far a direction lies inside of each side of a triangle, as the triple product with the side's
// ends, Q60. The first is that of the side opposite to vertex 0.
struct insides {
    s64 of[3];
};

insides insides_of(const head_triangle &triangle, const vector &d) {
    const auto dot = [&](const s32(&n)[3]) {
        return s64{n[0]} * d.front + s64{n[1]} * d.left + s64{n[2]} * d.up;
    };
    return {{dot(triangle.normal[0]), dot(triangle.normal[1]), dot(triangle.normal[2])}};
}

// Beyond a side by no more than normals and directions are rounded by counts as inside: on a side
// two triangles could send a direction back and forth.
constexpr s64 tolerance = -(s64{1} << 33);

// Steps over the side that the direction is farthest beyond. A head may be anything: there is an
// end to that.
const head_triangle &triangle_around(const head_sections &head, const vector &d, u32 index,
                                     insides &inside) {
    for (u32 steps = head.header->triangles;; --steps) {
        const head_triangle &triangle = head.triangles[index];
        inside = insides_of(triangle, d);
        u32 farthest = 0;
        for (u32 k = 1; k < 3; ++k)
            if (inside.of[k] < inside.of[farthest]) farthest = k;
        if (inside.of[farthest] >= tolerance || steps == 0) return triangle;
        index = triangle.neighbour[farthest];
    }
}

// What vertices 0, and 0 and 1, have of the whole, Q30. Weights that are made from such shares by
// rounding are never negative and always make up the whole.
struct shares {
    u32 first, first_two;
};

shares shares_of(const insides &inside) {
    u64 part[3], sum = 0;
    for (u32 k = 0; k < 3; ++k) {
        part[k] = inside.of[k] < 0 ? 0 : static_cast<u64>(inside.of[k]);
        sum += part[k] >> 2;
    }
    if (sum == 0) return {1u << 30, 1u << 30};
    // To a sum of 31 bits, whose reciprocal then has 31 or 32 as well.
    const int excess = 64 - std::countl_zero(sum) + 2 - 31;
    sum = 0;
    for (u64 &p : part) {
        p = excess > 0 ? p >> excess : p << -excess;
        sum += p;
    }
    const u64 reciprocal = (u64{1} << 61) / sum;
    const auto share = [&](u64 p) { return static_cast<u32>(p * reciprocal >> 31); };
    return {share(part[0]), share(part[0] + part[1])};
}

void make_pair(const head_sections &head, s32 azimuth, s32 elevation, earshot_filter_pair &pair) {
    const s32 a = within_turn(azimuth), e = clamped(elevation);
    insides inside;
    const head_triangle &triangle =
        triangle_around(head, towards(a, e), head.nearby[cell_of(a, e)], inside);
    const shares share = shares_of(inside);

    constexpr u32 one = 1u << 30;
    const u32 fine[3] = {share.first, share.first_two - share.first, one - share.first_two};
    const auto rounded = [](u32 s) {
        return (s + (1u << (29 - weight_bits))) >> (30 - weight_bits);
    };
    const u32 until[3] = {rounded(share.first), rounded(share.first_two), 1u << weight_bits};

    head_blend blend;
    u64 delay[2] = {}, gain = 0;
    for (u32 k = 0; k < 3; ++k) {
        const head_vertex &vertex = head.vertices[triangle.vertex[k]];
        blend.weight[k] = until[k] - (k == 0 ? 0 : until[k - 1]);
        gain += u64{blend.weight[k]} * vertex.gain;
        for (u32 ear = 0; ear < 2; ++ear) {
            blend.record[ear][k] = head.records + s64{filter_words} * vertex.record[ear];
            delay[ear] += u64{fine[k]} * vertex.delay[ear];
        }
    }
    // Of the 512 samples of half a bin, Q16 x Q30, to 2^-32 turns.
    for (u32 ear = 0; ear < 2; ++ear)
        blend.turn[ear] = static_cast<u32>((delay[ear] + (1u << 22)) >> 23);
    head_kernels_for(active_isa()).make_filters(pair.ear, blend);
    // The sum loses up to 64 units of Q27 with each of the three low parts, the filter another half
    // of Q29: less than a unit of Q16, which the rounding up may not hold.
    pair.gain = static_cast<u32>(gain >> weight_bits) + 2;
    pair.reserved = 0;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_head_filter(const earshot_head *head, s32 azimuth, s32 elevation,
                        earshot_filter_pair *pair) {
    if (head == nullptr || pair == nullptr) return EARSHOT_BAD_MEMORY;
    earshot::make_pair(earshot::sections_of(head), azimuth, elevation, *pair);
    return EARSHOT_OK;
}

u32 earshot_head_use(hrtf_filt_front_instance *front, u32 source, const earshot_filter_pair *pair) {
    if (front == nullptr || front->state == nullptr || pair == nullptr) return EARSHOT_BAD_MEMORY;
    if (source >= front->state->config.max_sources) return EARSHOT_BAD_VALUE;
    for (u32 ear = 0; ear < 2; ++ear) front->state->sources[source].filter[ear] = pair->ear[ear];
    return EARSHOT_OK;
}

} // extern "C"
