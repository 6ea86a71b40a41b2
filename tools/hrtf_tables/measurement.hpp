// The measured responses: MIT Media Laboratory, KEMAR with the normal pinna, 1994.
#ifndef EARSHOT_TOOLS_HRTF_MEASUREMENT_HPP
#define EARSHOT_TOOLS_HRTF_MEASUREMENT_HPP

#include "preparation/direction.hpp"
#include "preparation/response.hpp"

#include <string>
#include <vector>

namespace hrtf {

using namespace preparation;

struct measured_direction {
    direction where;
    ear_pair ears; // 512 samples each
    double weight; // share of the sphere; all weights sum to 1
};

struct measurement {
    double rate; // Hz
    std::vector<measured_direction> directions;

    // The index of the direction within a hundredth of a degree of the wanted one; ends the program
    // when there is none.
    std::size_t find(direction wanted) const;
};

// Reads an AES69 file. Ends the program when the file is not the expected one, or
// when its azimuths or ears turn out to be exchanged.
measurement read_measurement(const std::string &path);

[[noreturn]] void fail(const std::string &what);

} // namespace hrtf

#endif
