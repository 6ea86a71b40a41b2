// How loud responses are in bands, and how far apart in time two ears hear.
#ifndef EARSHOT_PREPARATION_MEASURES_HPP
#define EARSHOT_PREPARATION_MEASURES_HPP

#include "preparation/response.hpp"

#include <vector>

namespace preparation {

double decibels(double power);

// Third-octave bands from 200 Hz to 16 kHz: centres 1000 x 2^(k/3) Hz.
constexpr int lowest_band = -7, highest_band = 12;
constexpr std::size_t bands = highest_band - lowest_band + 1;
double centre_of(std::size_t band); // Hz

// The mean power of a response in each band, over frequencies that are spread evenly on the
// logarithmic scale. Where an average is given, one value for each of those frequencies, the power
// is divided by it.
using band_powers = std::vector<double>;
std::vector<double> band_frequencies(); // Hz, ascending
band_powers powers(const signal &samples, double rate, const std::vector<double> &average = {});

// The weighted sum of the powers of responses at some frequencies, Hz.
std::vector<double> mean_power(const std::vector<const signal *> &all,
                               const std::vector<double> &weights, double rate,
                               const std::vector<double> &frequencies);

// The delay of the right ear against the left one in seconds: where the cross-correlation of the
// two, band-limited to 200 to 1500 Hz and each frequency weighted alike over the sphere, is
// highest.
class time_difference {
  public:
    // The set whose ears are compared gives the weights of the frequencies.
    time_difference(const std::vector<const ear_pair *> &set, const std::vector<double> &weights,
                    double rate);
    double operator()(const ear_pair &ears) const;

  private:
    double rate_;
    std::vector<double> frequencies_, gains_;
};

} // namespace preparation

#endif
