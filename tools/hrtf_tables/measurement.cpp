#include "measurement.hpp"

#include "preparation/prepare.hpp"
#include "preparation/sofa.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

namespace hrtf {
namespace {

double sine_of_degrees(double degrees) { return std::sin(degrees * per_degree); }

// Each elevation ring stands for the zone up to half-way to the next ring, its directions share
// the zone equally. The lowest ring was measured at -40 degrees: its zone ends as far below as
// above, at -45; what was not measured does not count.
void weigh(std::vector<measured_direction> &all) {
    std::map<double, std::size_t> rings;
    for (const auto &one : all) ++rings[one.where.elevation];
    const auto lower_bound_of = [&](auto ring) {
        if (ring == rings.begin()) return 1.5 * ring->first - 0.5 * std::next(ring)->first;
        return (std::prev(ring)->first + ring->first) / 2;
    };
    double total = 0;
    for (auto &one : all) {
        const auto ring = rings.find(one.where.elevation);
        const double low = lower_bound_of(ring);
        const double high = std::next(ring) == rings.end() ? 90 : lower_bound_of(std::next(ring));
        one.weight =
            (sine_of_degrees(high) - sine_of_degrees(low)) / static_cast<double>(ring->second);
        total += one.weight;
    }
    for (auto &one : all) one.weight /= total;
}

double energy(const signal &samples) {
    double sum = 0;
    for (double sample : samples) sum += sample * sample;
    return sum;
}

std::size_t onset(const signal &samples) {
    double peak = 0;
    for (double sample : samples) peak = std::max(peak, std::abs(sample));
    std::size_t n = 0;
    while (std::abs(samples[n]) < peak / 5) ++n;
    return n;
}

// From the left the left ear is the louder and the earlier one, whatever the file says.
void check_sides(const measurement &measured) {
    const auto &from_left = measured.directions[measured.find({90, 0})].ears;
    const auto &from_right = measured.directions[measured.find({270, 0})].ears;
    const auto nearer = [](const signal &near, const signal &far) {
        return energy(near) > 4 * energy(far) && onset(near) + 20 < onset(far);
    };
    if (!nearer(from_left[left], from_left[right]) || !nearer(from_right[right], from_right[left]))
        fail("the sides of the measurement are not as expected");
}

} // namespace

void fail(const std::string &what) {
    std::fprintf(stderr, "hrtf tables: %s\n", what.c_str());
    std::exit(2);
}

std::size_t measurement::find(direction wanted) const {
    for (std::size_t k = 0; k < directions.size(); ++k) {
        const direction here = directions[k].where;
        const double turn = std::remainder(here.azimuth - wanted.azimuth, 360);
        if (std::abs(turn) < 0.01 && std::abs(here.elevation - wanted.elevation) < 0.01) return k;
    }
    fail("a direction was not measured: azimuth " + std::to_string(wanted.azimuth) +
         ", elevation " + std::to_string(wanted.elevation));
}

measurement read_measurement(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(in), {});
    sofa_measurement file;
    try {
        file = read_sofa(bytes);
    } catch (const cannot_prepare &why) {
        fail(path + ": " + why.what());
    }
    if (file.directions.size() != 710 || file.length != 512 || file.rate != 44100.0)
        fail(path + " is not the measurement of 710 directions, 512 taps, 44100 Hz");
    measurement result{file.rate, {}};
    for (std::size_t m = 0; m < file.directions.size(); ++m) {
        const auto ear = [&](std::size_t which) {
            const auto samples = file.response(m, which);
            return signal(samples.begin(), samples.end());
        };
        // Through a vector and back, with no more digits than were published: the design of the amb
        // set repeats a hundred times and hears the last one.
        const auto [azimuth, elevation] = direction_of(file.directions[m]);
        const direction where{static_cast<float>(azimuth < -1e-9 ? azimuth + 360 : azimuth),
                              std::round(elevation * 1000) / 1000};
        result.directions.push_back({where, {ear(left), ear(right)}, 0});
    }
    weigh(result.directions);
    check_sides(result);
    return result;
}

} // namespace hrtf
