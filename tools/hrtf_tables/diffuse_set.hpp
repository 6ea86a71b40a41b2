// The diffuse set: measured responses, equalised by their diffuse-field average.
#ifndef EARSHOT_TOOLS_HRTF_DIFFUSE_SET_HPP
#define EARSHOT_TOOLS_HRTF_DIFFUSE_SET_HPP

#include "layout.hpp"
#include "measurement.hpp"

namespace hrtf {

// The largest part of any bin of the set, in Q29: just below 3.34.
constexpr double largest_coefficient = 3.339;

// The directions of the measurement with the responses that the tables hold: 48 kHz, equalised,
// taps samples, scaled. The ears are mirror images of each other.
struct equalised_set {
    std::vector<measured_direction> directions; // in the order of the measurement
    std::vector<table_entry> records;           // of the diffuse set
};

equalised_set make_diffuse_set(const measurement &measured);

} // namespace hrtf

#endif
