// Real spherical harmonics as ambisonic channels: ACN order, SN3D normalisation.
#ifndef EARSHOT_PREPARATION_HARMONICS_HPP
#define EARSHOT_PREPARATION_HARMONICS_HPP

#include "preparation/direction.hpp"
#include "preparation/response.hpp"

#include <array>

namespace preparation {

constexpr int amb_order = 4;
static_assert((amb_order + 1) * (amb_order + 1) == amb_channels);

constexpr int order_of(std::size_t channel) {
    int order = 0;
    while ((order + 1) * (order + 1) <= static_cast<int>(channel)) ++order;
    return order;
}

// Degree m, from -order to order. Negative degrees go with sin(m azimuth) and change sign between
// left and right.
constexpr int degree_of(std::size_t channel) {
    const int order = order_of(channel);
    return static_cast<int>(channel) - order * (order + 1);
}

// The gains that encode a plane wave from a direction.
std::array<double, amb_channels> encode(direction where);

} // namespace preparation

#endif
