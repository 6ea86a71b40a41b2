// By how much responses of neighbouring directions come one after the other.
#ifndef EARSHOT_PREPARATION_DELAYS_HPP
#define EARSHOT_PREPARATION_DELAYS_HPP

#include "preparation/response.hpp"
#include "preparation/triangulation.hpp"

namespace preparation {

// Delays of the responses of one ear (spectra of fft_size points) at the vertices of a hull, in
// samples; the smallest is 0. The lag between the two ends of every edge is where their
// cross-correlation peaks, and the delays are those that agree best with all lags at once: where a
// single lag is wrong, as it may be in the shadow of the head, its neighbours outvote it.
std::vector<double> solve_delays(const std::vector<spectrum> &responses,
                                 const unit_vectors &vertices, const std::vector<triangle> &hull);

} // namespace preparation

#endif
