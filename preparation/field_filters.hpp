// Binaural filters of the channels of a fourth-order ambisonic signal.
#ifndef EARSHOT_PREPARATION_FIELD_FILTERS_HPP
#define EARSHOT_PREPARATION_FIELD_FILTERS_HPP

#include "preparation/direction.hpp"
#include "preparation/response.hpp"

#include <vector>

namespace preparation {

// A direction with what its ears hear, taps samples each. Of a head that is its own mirror image
// one ear is enough.
struct field_direction {
    direction where;
    double weight; // share of the sphere; all of them sum to 1
    std::vector<const signal *> ears;
};

// By ear, the filters of the channels, ACN order, SN3D: the sum over the channels of a plane wave's
// encoding gains times these is, or sounds like, the response for its direction.
std::vector<std::vector<signal>> design_field_filters(const std::vector<field_direction> &all,
                                                      int rounds);

} // namespace preparation

#endif
