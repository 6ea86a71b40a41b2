// Measurements as SOFA files hold them (AES69, convention SimpleFreeFieldHRIR).
#ifndef EARSHOT_PREPARATION_SOFA_HPP
#define EARSHOT_PREPARATION_SOFA_HPP

#include "preparation/direction.hpp"
#include "preparation/response.hpp"

#include <span>
#include <string>

namespace preparation {

struct sofa_measurement {
    std::string name; // whatever the file calls what was measured; may be empty
    double rate = 0;  // Hz
    std::size_t length = 0;
    unit_vectors directions;                   // as the listener sees them
    std::vector<double> distances;             // metres
    std::vector<std::array<double, 2>> delays; // of each direction's ears, samples of the file
    std::vector<float> samples;                // direction by ear by sample

    std::span<const float> response(std::size_t which, std::size_t ear) const {
        return std::span(samples).subspan((2 * which + ear) * length, length);
    }
};

// Reads the bytes of a file. Throws cannot_prepare (prepare.hpp) where they are no such
// measurement, or hold what is no sound.
sofa_measurement read_sofa(std::span<const char> bytes);

} // namespace preparation

#endif
