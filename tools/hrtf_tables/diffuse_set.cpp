#include "diffuse_set.hpp"

#include "preparation/equaliser.hpp"
#include "preparation/shorten.hpp"

#include <algorithm>
#include <cmath>

namespace hrtf {
namespace {

// Both rates have a grid of 9.375 Hz in common: 44100 / 4704 and 48000 / 5120.
constexpr std::size_t measured_grid = 4704;
constexpr std::size_t table_grid = 5120;
static_assert(44100.0 / measured_grid == table_rate / table_grid);

// Cut off the head of every response, in samples at 48 kHz. The earliest sound reaches the nearer
// ear 28 samples (at 44.1 kHz) after the start; some of the pre-ringing of the band limit stays.
constexpr double common_delay = 25.0;

// The loudspeaker ends at about 120 Hz, at 18 dB per octave.
constexpr double slope_exponent = 3;

constexpr int corrections = 4;

signal mean_power(const std::vector<spectrum> &responses, const measurement &measured) {
    signal mean(table_grid / 2 + 1);
    for (std::size_t d = 0; d < responses.size(); ++d) {
        for (std::size_t k = 0; k < mean.size(); ++k) {
            mean[k] += measured.directions[d].weight * std::norm(responses[d][k]);
        }
    }
    return mean;
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
        const spectrum slope = loudspeaker_slope(slope_exponent, table_grid / 2 + 1);
        for (spectrum &response : responses_) {
            multiply(response, first);
            multiply(response, slope);
            extend_downwards(response);
        }
        for (int pass = 0; pass < corrections; ++pass) {
            std::vector<spectrum> short_ones;
            for (const spectrum &response : responses_) {
                short_ones.push_back(forward(shorten(response), table_grid));
            }
            const spectrum correction = equaliser(mean_power(short_ones, measured_));
            for (spectrum &response : responses_) multiply(response, correction);
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
