// The equaliser that makes the average of all directions flat. Responses and powers are those of
// table_rate, of any number of bins from DC to half of it.
#ifndef EARSHOT_PREPARATION_EQUALISER_HPP
#define EARSHOT_PREPARATION_EQUALISER_HPP

#include "preparation/response.hpp"

namespace preparation {

// Below, loudspeakers end and noise hides their slope.
constexpr double lowest_usable = 110; // Hz

// The bin of a frequency, among so many.
std::size_t bin_of(double hertz, std::size_t bins);

// Minimum phase; it makes the mean power flat from lowest_usable to where measurements end, and
// goes on at the gain that it has there.
spectrum equaliser(const signal &mean_power);

// The slope of the loudspeaker below lowest_usable, which falls with this power of the frequency,
// as a minimum-phase gain: its phase reaches far up.
spectrum loudspeaker_slope(double exponent, std::size_t bins);

// A head is much smaller than the waves below 150 Hz: level and delay that a response has there
// hold down to DC.
void extend_downwards(spectrum &response);

void multiply(spectrum &response, const spectrum &filter);

} // namespace preparation

#endif
