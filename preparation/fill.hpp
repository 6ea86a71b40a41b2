// Where nothing was measured.
#ifndef EARSHOT_PREPARATION_FILL_HPP
#define EARSHOT_PREPARATION_FILL_HPP

#include "preparation/response.hpp"
#include "preparation/triangulation.hpp"

namespace preparation {

// Each vertex's share of the sphere: a third of the solid angle of its triangles. They sum to 1.
std::vector<double> areas_of(const std::vector<triangle> &hull, const unit_vectors &vertices);

// Directions all around, on rings that are so many degrees apart, as are directions on a ring. Its
// own mirror image; from below.
std::vector<direction> lattice_of(int step);

// Directions that fill the holes between measured ones: of a lattice,
// those that are farther from all of them than the gaps of the measurement explain. From below.
std::vector<direction> holes_between(const std::vector<triangle> &hull,
                                     const unit_vectors &vertices);

// What one ear hears: spectra of fft_size points without their delays, and these in samples.
struct ear_filters {
    std::vector<spectrum> aligned;
    std::vector<double> delays;
};

// Adds the filters of the vertices behind the measured ones, which are all that the ear has yet.
// Each is the mean of the measured ones, the nearest of which count most, and as loud as they are.
// Its delay follows a smooth law of the sphere through all measured ones.
void fill_holes(ear_filters &ear, const unit_vectors &vertices, const std::vector<double> &areas);

} // namespace preparation

#endif
