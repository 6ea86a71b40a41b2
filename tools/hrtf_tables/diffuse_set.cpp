#include "diffuse_set.hpp"

#include "preparation/shorten.hpp"

#include <algorithm>
#include <cmath>

namespace hrtf {
namespace {

// Both rates have a grid of 9.375 Hz in common: 44100 / 4704 and 48000 / 5120.
constexpr std::size_t measured_grid = 4704;
constexpr std::size_t table_grid = 5120;
constexpr double grid_step = table_rate / table_grid;
static_assert(44100.0 / measured_grid == grid_step);

// Cut off the head of every response, in samples at 48 kHz. The earliest sound reaches the nearer
// ear 28 samples (at 44.1 kHz) after the start; some of the pre-ringing of the band limit stays.
constexpr double common_delay = 25.0;

// The loudspeaker ends at about 120 Hz. Further down there is noise in place of its slope, but the
// phase that belongs to the slope reaches far up: the equaliser goes on at 18 dB per octave, which
// leaves the mean phase of all directions that of a delay.
constexpr double lowest_usable = 110; // Hz
constexpr double slope_exponent = 3;
// A head is much smaller than the waves at this frequency: a response keeps its level and its delay
// from here down to DC.
constexpr double lowest_measured = 150; // Hz
// Above, the measurement falls into the stop band of its converters: no equaliser follows it there.
constexpr double highest_equalised = 19500; // Hz

constexpr int corrections = 4;

std::size_t bin_of(double hertz) {
    return static_cast<std::size_t>(std::lround(hertz / grid_step));
}

signal mean_power(const std::vector<spectrum> &responses, const measurement &measured) {
    signal mean(table_grid / 2 + 1);
    for (std::size_t d = 0; d < responses.size(); ++d) {
        for (std::size_t k = 0; k < mean.size(); ++k) {
            mean[k] += measured.directions[d].weight * std::norm(responses[d][k]);
        }
    }
    return mean;
}

// The minimum-phase equaliser that makes the mean power flat up to highest_equalised.
spectrum equaliser(const signal &mean) {
    std::vector<double> gain(mean.size());
    const std::size_t low = bin_of(lowest_usable), high = bin_of(highest_equalised);
    for (std::size_t k = 0; k < gain.size(); ++k) {
        gain[k] = 1 / std::sqrt(mean[std::clamp(k, low, high)]);
    }
    return minimum_phase(gain);
}

// The slope of the loudspeaker below lowest_usable, as a minimum-phase gain.
spectrum loudspeaker_slope() {
    std::vector<double> gain(table_grid / 2 + 1, 1);
    const std::size_t low = bin_of(lowest_usable);
    for (std::size_t k = 0; k < low; ++k) {
        const double bin = std::max(0.5, static_cast<double>(k));
        gain[k] = std::pow(static_cast<double>(low) / bin, slope_exponent);
    }
    return minimum_phase(gain);
}

void apply(const spectrum &filter, spectrum &response) {
    for (std::size_t k = 0; k < response.size(); ++k) response[k] *= filter[k];
}

// Level and delay of the lowest measured frequency, down to DC.
void extend_downwards(spectrum &response) {
    const std::size_t from = bin_of(lowest_measured);
    const double level = std::abs(response[from]);
    const double phase = std::arg(response[from]);
    for (std::size_t k = 0; k < from; ++k) {
        response[k] = std::polar(level, phase * static_cast<double>(k) / static_cast<double>(from));
    }
}

// The response a share t of the way from a to b: levels in decibels and phases go linearly, so
// that delays and magnitudes lie between those of the two. The phase between them is unwrapped
// upwards from DC, where it is small.
spectrum between(const spectrum &a, const spectrum &b, double t) {
    spectrum result(a.size());
    double turned = 0;
    complex last = 1;
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (a[k] == 0.0 || b[k] == 0.0) break; // above the band of the measurement
        const complex ratio = b[k] / a[k];
        turned += std::arg(ratio / last);
        last = ratio;
        result[k] = a[k] * std::polar(std::pow(std::abs(ratio), t), t * turned);
    }
    return result;
}

// Left-ear responses on the grid of the tables.
class response_set {
  public:
    explicit response_set(const measurement &measured) : measured_(measured) {
        for (const auto &one : measured.directions) {
            spectrum response = forward(one.ears[left], measured_grid);
            response.back() = 0; // half the rate of the measurement
            response.resize(table_grid / 2 + 1);
            delay(response, -common_delay);
            responses_.push_back(std::move(response));
        }
    }

    // Equalises so that the average of the shortened responses is flat.
    void equalise() {
        const spectrum first = equaliser(mean_power(responses_, measured_));
        const spectrum slope = loudspeaker_slope();
        for (spectrum &response : responses_) {
            apply(first, response);
            apply(slope, response);
            extend_downwards(response);
        }
        for (int pass = 0; pass < corrections; ++pass) {
            std::vector<spectrum> short_ones;
            for (const spectrum &response : responses_) {
                short_ones.push_back(forward(shorten(response), table_grid));
            }
            const spectrum correction = equaliser(mean_power(short_ones, measured_));
            for (spectrum &response : responses_) apply(correction, response);
        }
    }

    const spectrum &at(direction where) const { return responses_[measured_.find(where)]; }

    // Anywhere on a ring of directions that are step degrees apart.
    spectrum on_ring(direction where, double step) const {
        const double position = where.azimuth / step;
        const double below = std::floor(position + 1e-9);
        const spectrum &lower = at({below * step, where.elevation});
        const double share = position - below;
        if (share < 1e-9) return lower;
        return between(lower, at({(below + 1) * step, where.elevation}), share);
    }

    spectrum anywhere(direction where, bool is_measured) const {
        if (is_measured) return at(where);
        constexpr double low = 30, high = 40; // degrees, the rings around what was not measured
        return between(on_ring({where.azimuth, low}, 6), on_ring({where.azimuth, high}, 360.0 / 56),
                       (where.elevation - low) / (high - low));
    }

  private:
    const measurement &measured_;
    std::vector<spectrum> responses_;
};

direction mirrored(direction where) {
    return {std::fmod(360 - where.azimuth, 360), where.elevation};
}

void scale(ear_pair &ears, double factor) {
    for (signal &ear : ears) {
        for (double &sample : ear) sample *= factor;
    }
}

// The left ear alone is used, its mirror image serves as the right one; that is how the
// measurement was published, and it must hold of what was read.
void check_symmetry(const measurement &measured) {
    for (const auto &one : measured.directions) {
        const auto &other = measured.directions[measured.find(mirrored(one.where))];
        if (one.ears[left] != other.ears[right]) fail("the measurement is not symmetric");
    }
}

} // namespace

equalised_set make_diffuse_set(const measurement &measured) {
    check_symmetry(measured);
    response_set responses(measured);
    responses.equalise();
    const auto ears_at = [&](direction where, bool is_measured) -> ear_pair {
        return {shorten(responses.anywhere(where, is_measured)),
                shorten(responses.anywhere(mirrored(where), is_measured))};
    };

    equalised_set result{measured.directions, diffuse_directions()};
    double most = 0;
    for (auto &record : result.records) {
        record.ears = ears_at(record.where, record.measured);
        for (const signal &ear : record.ears) most = std::max(most, largest_part(ear));
    }
    for (auto &record : result.records) scale(record.ears, largest_coefficient / most);
    for (auto &one : result.directions) {
        one.ears = ears_at(one.where, true);
        scale(one.ears, largest_coefficient / most);
    }
    return result;
}

} // namespace hrtf
