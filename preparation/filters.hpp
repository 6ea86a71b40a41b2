// Responses as a head keeps them: short in time after a delay by a fraction of a sample, too.
#ifndef EARSHOT_PREPARATION_FILTERS_HPP
#define EARSHOT_PREPARATION_FILTERS_HPP

#include "preparation/response.hpp"

namespace preparation {

// The spectrum of a response of up to taps samples for a real transform of fft_size points. Its
// first and last taps are faded, and the highest frequencies rolled off to nothing at half the
// rate: cut off sharply, a delay by a fraction of a sample would make either ring through the whole
// transform.
spectrum softened(const signal &response);

// The same response ahead by so many samples.
spectrum advanced(const spectrum &bins, double samples);

// Largest modulus of a bin.
double largest_gain(const spectrum &bins);

} // namespace preparation

#endif
