// The response of a given number of taps that comes closest to a long one.
#ifndef EARSHOT_PREPARATION_SHORTEN_HPP
#define EARSHOT_PREPARATION_SHORTEN_HPP

#include "preparation/response.hpp"
#include "preparation/spectrum.hpp"

namespace preparation {

// The mean of the values over a third of an octave around each bin but DC, which stays.
signal third_octave_mean(const signal &values);

// Weighted least squares over the frequencies, in place of a cut in time: every third of an octave
// counts alike and by its relative error, so that neither the low frequencies, which time
// differences are heard by, nor the side away from the source lose to what is loud.
signal shorten(const spectrum &target);

} // namespace preparation

#endif
