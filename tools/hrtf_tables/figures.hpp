// How good the tables are: every figure by one method on both sides of the comparison.
#ifndef EARSHOT_TOOLS_HRTF_FIGURES_HPP
#define EARSHOT_TOOLS_HRTF_FIGURES_HPP

#include "layout.hpp"
#include "measurement.hpp"

#include <limits>
#include <string>
#include <vector>

namespace hrtf {

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

// The tables as read back.
struct table_set {
    std::vector<table_entry> diffuse; // all records, responses of fft_size samples
    std::vector<ear_pair> amb;        // by channel
    // The ears that the amb set gives a plane wave.
    ear_pair decode(direction where) const;
};
table_set unpack_tables(const words &diffuse, const words &amb);

constexpr double no_limit = std::numeric_limits<double>::infinity();

struct figure {
    const char *name;
    double value;
    double limit; // value must not be above it; a negative value not below minus it either
    const char *unit;
};

std::vector<figure> diffuse_figures(const measurement &measured, const table_set &tables);
std::vector<figure> amb_figures(const measurement &measured, const table_set &tables);
std::vector<figure> word_figures(const words &diffuse, const words &amb, const table_set &tables);

} // namespace hrtf

#endif
