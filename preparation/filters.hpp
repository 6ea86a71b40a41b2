// Responses as a head keeps them: short in time after a delay by a fraction of a sample, too.
#ifndef EARSHOT_PREPARATION_FILTERS_HPP
#define EARSHOT_PREPARATION_FILTERS_HPP

#include "preparation/response.hpp"

namespace preparation {

// The spectrum of a response of fft_size samples at most, of which those in the second half come
// before the sound, as if its ends were folded and its highest frequencies rolled off to nothing at
// half the rate: cut off sharply, a delay by a fraction of a sample would make either ring through
// the whole transform. What an end loses by its fade goes to the other side of it, mirrored: the
// sum of the taps stays, and with it the level of low frequencies. 0.2 dB at 16 kHz, 0.3 at 18, 2.7
// at
// 20. head/builtin.cpp does the same with whole numbers.
spectrum softened(const signal &response);

// The same response ahead by so many samples.
spectrum advanced(const spectrum &bins, double samples);

// Largest modulus of a bin.
double largest_gain(const spectrum &bins);

} // namespace preparation

#endif
