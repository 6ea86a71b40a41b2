// The triangles into which directions part the sphere: their convex hull.
#ifndef EARSHOT_PREPARATION_TRIANGULATION_HPP
#define EARSHOT_PREPARATION_TRIANGULATION_HPP

#include "preparation/direction.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace preparation {

struct triangle {
    std::array<std::uint32_t, 3> vertex;    // seen from outside, counter-clockwise
    std::array<std::uint32_t, 3> neighbour; // beyond the side that is opposite to each vertex
};

// All triangles of the hull, in the order of their vertices. Where four or more directions lie on
// one circle, as neighbours on rings do, the diagonals between them are a matter of taste: they
// depend on the directions alone, not on their order. Empty where the hull has no inside.
std::vector<triangle> triangulate(const unit_vectors &directions);

// The share of each vertex's vector that adds up to the direction, for a triangle of the hull: none
// is negative where it lies inside.
std::array<double, 3> shares_in(const triangle &one, const unit_vectors &vertices,
                                const unit_vector &where);

// The triangle that a direction lies in, looked for from neighbour to neighbour. The hull must
// enclose the centre of the sphere.
std::uint32_t find_triangle(const std::vector<triangle> &hull, const unit_vectors &vertices,
                            const unit_vector &where, std::uint32_t start);

// The distance from the centre of the sphere to the nearest side of the hull; not above 0 where the
// centre lies outside, and all directions on one half of the sphere.
double clearance(const std::vector<triangle> &hull, const unit_vectors &vertices);

// Pairs of vertices, smaller index first, in their order.
using edge = std::array<std::uint32_t, 2>;
std::vector<edge> edges_of(const std::vector<triangle> &hull);

// Angle in degrees between the corners and the centre of a triangle's circle.
double radius_of(const triangle &one, const unit_vectors &vertices);

} // namespace preparation

#endif
