#include "preparation/prepare.hpp"

#include "preparation/delays.hpp"
#include "preparation/equaliser.hpp"
#include "preparation/field_filters.hpp"
#include "preparation/fill.hpp"
#include "preparation/filters.hpp"
#include "preparation/head_file.hpp"
#include "preparation/measured_set.hpp"
#include "preparation/measures.hpp"
#include "preparation/parallel.hpp"
#include "preparation/shorten.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace preparation {
namespace {

// The diffuse-field power of the built-in tables, so that heads are as loud as each other.
constexpr double wanted_level = -0.695; // dB, mean of 200 Hz to 16 kHz

// Where a loudspeaker or a microphone passes next to nothing, noise is not raised any further.
constexpr double most_equalised = 30; // dB
constexpr double steepest = 3;        // power of the frequency: 18 dB per octave

// How often the equaliser is corrected by what the shortened responses have become, of so many of
// them at most.
constexpr int corrections = 2;
constexpr std::size_t enough_for_mean = 400;

// The words of a head end at 4; rounding needs a little.
constexpr double largest_allowed = 3.99;
// Room in a head for delays, samples.
constexpr double longest_delay = 63.9;

// Nothing but the average over directions and ears of a fourth-order field is left to gain.
constexpr int field_rounds = 60;
// More directions tell a field of fourth order nothing new.
constexpr int field_lattice = 6; // degrees
constexpr std::size_t many_for_field = 1500;

std::string in_text(const char *format, double value) {
    char text[100];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

bool speaks(double hertz) { return hertz >= 200 && hertz <= 16000; }

// Mean over the bins from 200 Hz to 16 kHz.
double mean_of_band(const signal &power) {
    double sum = 0;
    int count = 0;
    for (std::size_t k = 0; k < power.size(); ++k) {
        if (!speaks(table_rate / 2 * static_cast<double>(k) /
                    static_cast<double>(power.size() - 1)))
            continue;
        sum += power[k];
        ++count;
    }
    return sum / count;
}

// Of a response's energy, what lies outside of a head's taps.
double share_behind(const signal &response) {
    const auto end = response.begin() + static_cast<std::ptrdiff_t>(taps);
    const auto energy = [](auto from, auto to) { return std::inner_product(from, to, from, 0.0); };
    return energy(end, response.end()) / energy(response.begin(), response.end());
}

class preparation_of_head {
  public:
    preparation_of_head(measured_set measured, const head_options &options,
                        std::vector<std::string> notes)
        : measured_(std::move(measured)), options_(options) {
        result_.notes = std::move(notes);
        count_ = measured_.directions().size();
    }

    prepared_head run() {
        place();
        if (options_.equalise) equalise();
        shorten_all();
        set_level();
        make_filters();
        make_field_filters();
        limit();
        result_.report.name = head_.name;
        result_.words = write_head(head_);
        tell();
        return std::move(result_);
    }

  private:
    // Triangles of the measured directions and of those that fill their holes.
    void place() {
        head_.name = options_.name.empty() ? measured_.file().name : options_.name;
        head_.vertices = measured_.directions();
        head_.measured = count_;
        measured_hull_ = triangulate(head_.vertices);
        constexpr double least_clearance = 0.02;
        if (clearance(measured_hull_, head_.vertices) < least_clearance)
            throw cannot_prepare("has all directions on one half of the sphere; a head needs some "
                                 "of the other half, too");
        for (direction where : holes_between(measured_hull_, head_.vertices))
            head_.vertices.push_back(vector_of(where));
        head_.hull = triangulate(head_.vertices);
        areas_ = areas_of(head_.hull, head_.vertices);
        weights_.assign(areas_.begin(), areas_.begin() + static_cast<std::ptrdiff_t>(count_));
        const double total = std::accumulate(weights_.begin(), weights_.end(), 0.0);
        for (double &one : weights_) one /= total;
    }

    // A response as measured, times what equalises it.
    spectrum equalised(std::size_t d, std::size_t ear) const {
        spectrum bins = measured_.response(d, ear);
        if (!equaliser_.empty()) {
            multiply(bins, equaliser_);
            extend_downwards(bins);
        }
        return bins;
    }

    // Weighted mean power over every nth direction and both ears.
    template <typename Response> signal mean_power(std::size_t step, Response response) const {
        std::vector<std::size_t> used;
        for (std::size_t d = 0; d < count_; d += step) used.push_back(d);
        std::vector<signal> parts(16);
        for_all(parts.size(), [&](std::size_t part) {
            for (std::size_t n = part; n < used.size(); n += parts.size()) {
                for (std::size_t ear : {left, right}) {
                    const spectrum bins = response(used[n], ear);
                    parts[part].resize(bins.size());
                    for (std::size_t k = 0; k < bins.size(); ++k)
                        parts[part][k] += weights_[used[n]] * std::norm(bins[k]);
                }
            }
        });
        double total = 0;
        for (std::size_t d : used) total += 2 * weights_[d];
        signal mean(parts.front().size());
        for (const signal &part : parts) {
            for (std::size_t k = 0; k < part.size(); ++k) mean[k] += part[k] / total;
        }
        return mean;
    }

    void equalise() {
        signal mean = mean_power(
            1, [&](std::size_t d, std::size_t ear) { return measured_.response(d, ear); });
        const double floor = mean_of_band(mean) * std::pow(10, -most_equalised / 10);
        for (double &one : mean) one = std::max(one, floor);
        equaliser_ = equaliser(mean);
        // How the lowest third of an octave falls is how it goes on.
        const std::size_t low = bin_of(lowest_usable, mean.size());
        const std::size_t above = bin_of(lowest_usable * std::cbrt(2), mean.size());
        const double slope = std::log2(mean[above] / mean[low]) * 3 / 2;
        multiply(equaliser_, loudspeaker_slope(std::clamp(slope, 0.0, steepest), mean.size()));
        const std::size_t step = (count_ + enough_for_mean - 1) / enough_for_mean;
        const auto shortened = [&](std::size_t d, std::size_t ear) {
            return forward(shorten(equalised(d, ear)), 2 * (mean.size() - 1));
        };
        for (int pass = 0; pass < corrections; ++pass)
            multiply(equaliser_, equaliser(mean_power(step, shortened)));
    }

    void shorten_all() {
        for (auto &ear : responses_) ear.resize(count_);
        lost_.resize(count_);
        for_all(count_, [&](std::size_t d) {
            for (std::size_t ear : {left, right}) {
                const spectrum bins = equalised(d, ear);
                lost_[d][ear] = share_behind(inverse(bins));
                responses_[ear][d] = shorten(bins);
            }
        });
    }

    void set_level() {
        const double is = mean_of_band(mean_power(1, [&](std::size_t d, std::size_t ear) {
            return forward(responses_[ear][d], fft_size);
        }));
        gain_ = wanted_level - decibels(is);
        const double factor = std::pow(10, gain_ / 20);
        for (auto &ear : responses_) {
            for (signal &one : ear) {
                for (double &sample : one) sample *= factor;
            }
        }
    }

    void make_filters() {
        std::array<ear_filters, 2> ears;
        for_all(2, [&](std::size_t ear) {
            std::vector<spectrum> soft;
            soft.reserve(count_);
            for (const signal &one : responses_[ear]) soft.push_back(softened(one));
            ear_filters &made = ears[ear];
            made.delays = solve_delays(soft, measured_.directions(), measured_hull_);
            for (std::size_t d = 0; d < count_; ++d) {
                made.delays[d] = std::min(made.delays[d], longest_delay);
                made.aligned.push_back(advanced(soft[d], made.delays[d]));
            }
            fill_holes(made, head_.vertices, areas_);
        });
        const auto all = static_cast<std::uint32_t>(head_.vertices.size());
        for (std::uint32_t v = 0; v < all; ++v)
            head_.ears.push_back({{{v, ears[left].delays[v]}, {all + v, ears[right].delays[v]}}});
        head_.records = std::move(ears[left].aligned);
        std::ranges::move(ears[right].aligned, std::back_inserter(head_.records));
    }

    // All directions, or of very many those next to the points of a lattice.
    std::vector<std::size_t> enough_directions() const {
        std::vector<std::size_t> all(count_);
        std::iota(all.begin(), all.end(), 0);
        if (count_ <= many_for_field) return all;
        std::vector<std::size_t> some;
        for (direction where : lattice_of(field_lattice)) {
            const unit_vector at = vector_of(where);
            const std::size_t near = *std::ranges::max_element(
                all, {}, [&](std::size_t d) { return head_.vertices[d].dot(at); });
            if (angle_between(head_.vertices[near], at) < field_lattice) some.push_back(near);
        }
        std::ranges::sort(some);
        some.erase(std::unique(some.begin(), some.end()), some.end());
        return some;
    }

    void make_field_filters() {
        const auto used = enough_directions();
        unit_vectors places;
        places.reserve(used.size());
        for (std::size_t d : used) places.push_back(head_.vertices[d]);
        // Filled directions take their share of the sphere away from those at the rim.
        places.insert(places.end(), head_.vertices.begin() + static_cast<std::ptrdiff_t>(count_),
                      head_.vertices.end());
        const auto areas = areas_of(triangulate(places), places);
        std::vector<field_direction> all;
        double total = 0;
        for (std::size_t n = 0; n < used.size(); ++n) {
            all.push_back({direction_of(places[n]),
                           areas[n],
                           {&responses_[left][used[n]], &responses_[right][used[n]]}});
            total += areas[n];
        }
        for (auto &one : all) one.weight /= total;
        const auto by_ear = design_field_filters(all, field_rounds);
        for (std::size_t k = 0; k < amb_channels; ++k)
            head_.channels.push_back(
                {forward(by_ear[left][k], fft_size), forward(by_ear[right][k], fft_size)});
    }

    void limit() {
        double most = 0;
        for (const spectrum &one : head_.records) most = std::max(most, largest_gain(one));
        for (const auto &channel : head_.channels) {
            for (const spectrum &one : channel) most = std::max(most, largest_gain(one));
        }
        if (most <= largest_allowed) return;
        const double factor = largest_allowed / most;
        const auto scale = [&](spectrum &bins) {
            for (complex &bin : bins) bin *= factor;
        };
        for (spectrum &one : head_.records) scale(one);
        for (auto &channel : head_.channels) {
            for (spectrum &one : channel) scale(one);
        }
        const double decrease = -2 * decibels(factor);
        gain_ -= decrease;
        result_.notes.push_back(
            "its loudest direction goes beyond the range of filters: the head is " +
            in_text("%.1f dB quieter than others", decrease));
    }

    double distance_to_measured(const unit_vector &where) const {
        double nearest = 2;
        for (const unit_vector &one : measured_.directions())
            nearest = std::min(nearest, (one - where).norm());
        return nearest;
    }

    // Where something was filled, in words.
    void tell_of_holes() {
        double lowest = 90, highest = -90;
        for (const unit_vector &one : measured_.directions()) {
            const double elevation = direction_of(one).elevation;
            lowest = std::min(lowest, elevation);
            highest = std::max(highest, elevation);
        }
        std::size_t below = 0, above = 0, others = 0, deepest = 0;
        double depth = 0;
        for (std::size_t v = count_; v < head_.vertices.size(); ++v) {
            const double elevation = direction_of(head_.vertices[v]).elevation;
            if (elevation < lowest) {
                ++below;
            } else if (elevation > highest) {
                ++above;
            } else {
                ++others;
                const double here = distance_to_measured(head_.vertices[v]);
                if (here > depth) deepest = v;
                depth = std::max(depth, here);
            }
        }
        const auto note = [&](const std::string &where, std::size_t directions) {
            if (directions != 0) result_.notes.push_back("nothing measured " + where + "; filled");
        };
        note("below " + in_text("%g degrees", std::round(lowest * 10) / 10 + 0.0), below);
        note("above " + in_text("%g degrees", std::round(highest * 10) / 10 + 0.0), above);
        if (others == 0) return;
        note("around " + text_of(head_.vertices[deepest]) +
                 (others > 1 ? " and " + std::to_string(others - 1) + " more directions" : ""),
             others);
    }

    void tell() {
        head_report &report = result_.report;
        report.rate = measured_.file().rate;
        report.length = measured_.file().length;
        report.in_file = measured_.file().directions.size();
        report.distance = measured_.distance();
        report.measured = count_;
        report.common_delay = 1000 * measured_.common_delay();
        report.gain = gain_;
        for (std::size_t v = 0; v < head_.vertices.size(); ++v) {
            const direction at = direction_of(head_.vertices[v]);
            report.directions.push_back({at.azimuth,
                                         at.elevation,
                                         areas_[v],
                                         {head_.ears[v][left].delay, head_.ears[v][right].delay}});
        }
        double lost = 0, most = 0;
        for (std::size_t d = 0; d < count_; ++d) {
            for (std::size_t ear : {left, right}) {
                lost += weights_[d] * lost_[d][ear] / 2;
                most = std::max(most, lost_[d][ear]);
            }
        }
        constexpr double least = 1e-12;
        report.energy_lost = decibels(std::max(lost, least));
        report.most_energy_lost = decibels(std::max(most, least));
        constexpr double worth_a_note = 0.05;
        if (lost > worth_a_note)
            result_.notes.push_back(
                in_text("%.1f %% of the energy lies outside of the 2.7 ms that a head holds; ",
                        100 * lost) +
                "measured in a room, or with echoes?");
        for (std::size_t k = 0; !equaliser_.empty() && k < fft_bins; ++k) {
            const std::size_t bin = k * (equaliser_.size() - 1) / (fft_bins - 1);
            report.equaliser.push_back(decibels(std::norm(equaliser_[bin])));
        }
        tell_of_holes();
    }

    measured_set measured_;
    head_options options_;
    std::size_t count_ = 0; // of measured directions
    std::vector<triangle> measured_hull_;
    std::vector<double> areas_, weights_; // of all vertices; of the measured ones, sum 1
    spectrum equaliser_;
    std::array<std::vector<signal>, 2> responses_; // by ear and direction
    std::vector<std::array<double, 2>> lost_;      // share of energy, by direction and ear
    double gain_ = 0;                              // dB
    head_parts head_;
    prepared_head result_;
};

} // namespace

prepared_head prepare_head(std::span<const char> sofa, const head_options &options) {
    std::vector<std::string> notes;
    measured_set measured(read_sofa(sofa), notes);
    return preparation_of_head(std::move(measured), options, std::move(notes)).run();
}

} // namespace preparation
