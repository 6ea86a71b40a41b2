// Where nothing was measured.
#ifndef EARSHOT_PREPARATION_FILL_HPP
#define EARSHOT_PREPARATION_FILL_HPP

#include "preparation/response.hpp"
#include "preparation/triangulation.hpp"

namespace preparation {

// Each vertex's share of the sphere: a third of the solid angle of its triangles. They sum to 1.
std::vector<double> areas_of(const std::vector<triangle> &hull, const unit_vectors &vertices);

// Directions that fill the holes between measured ones: of a lattice that is its own mirror image,
// those that are farther from all of them than the gaps of the measurement explain. From below.
std::vector<direction> holes_between(const std::vector<triangle> &hull,
                                     const unit_vectors &vertices);

// How much each measured direction counts for one in a hole: the nearest ones most. Sum 1.
std::vector<double> fill_weights(const unit_vectors &measured, const std::vector<double> &areas,
                                 const unit_vector &where);

// The delay at directions in holes, samples: a smooth law of the sphere through all measured ones,
// and what it misses at those near by.
std::vector<double> fill_delays(const unit_vectors &measured, const std::vector<double> &areas,
                                const std::vector<double> &delays, const unit_vectors &holes);

// The spectrum of a response in a hole, of aligned ones: their mean, as loud as they are.
spectrum fill_response(const std::vector<spectrum> &aligned, const std::vector<double> &weights);

} // namespace preparation

#endif
