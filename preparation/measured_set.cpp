#include "preparation/measured_set.hpp"

#include "preparation/prepare.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numeric>
#include <tuple>

namespace preparation {
namespace {

// Fewer do not tell how a head sounds from all around; more, and what fills their holes, do not fit
// into a head's indices.
constexpr std::size_t fewest = 12, most = 65000;

// Two directions nearer than this are one, measured twice.
constexpr double same_direction = 0.02; // degrees

// A step in distance: what lies between two of them belongs together, however uneven.
constexpr double step_in_distance = 1.05;
constexpr double wanted_distance = 1; // metre: from there on, a head sounds nearly as from afar

// The earliest response begins here; what rings before a sound, as band limits do, needs room.
constexpr double onset_tap = 5.5;
constexpr double onset_level = 0.2; // of a response's peak
// Not the very first: one response with a click in it is not to move all others.
constexpr double earliest_share = 0.01;

constexpr std::size_t shortest_grid = 2400; // samples at table_rate
constexpr double lead = 64;                 // samples of the file, kept before what is cut off

[[noreturn]] void refuse(const std::string &why) { throw cannot_prepare(why); }

const char *name_of(std::size_t ear) { return ear == left ? "left" : "right"; }

double energy_of(std::span<const float> samples) {
    return std::transform_reduce(samples.begin(), samples.end(), 0.0, std::plus<>(),
                                 [](float x) { return double{x} * x; });
}

std::string metres(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.2f m", value);
    return text;
}

// Places in order of distance, parted where there is a step.
std::vector<std::vector<std::size_t>> shells(const std::vector<double> &distances) {
    std::vector<std::size_t> order(distances.size());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::stable_sort(order, {}, [&](std::size_t n) { return distances[n]; });
    std::vector<std::vector<std::size_t>> result;
    for (std::size_t n : order) {
        if (result.empty() || distances[n] > step_in_distance * distances[result.back().back()])
            result.emplace_back();
        result.back().push_back(n);
    }
    return result;
}

double mean_distance(const std::vector<std::size_t> &shell, const std::vector<double> &distances) {
    double sum = 0;
    for (std::size_t n : shell) sum += distances[n];
    return sum / static_cast<double>(shell.size());
}

// The first of each direction, in the order of the file.
std::vector<std::size_t> without_repeats(const std::vector<std::size_t> &all,
                                         const unit_vectors &directions) {
    const double reach = same_direction * per_degree;
    std::map<std::tuple<long, long, long>, std::vector<std::size_t>> boxes;
    std::vector<std::size_t> result;
    for (std::size_t n : all) {
        const unit_vector &at = directions[n];
        const std::array<long, 3> box{std::lround(at.x() / reach), std::lround(at.y() / reach),
                                      std::lround(at.z() / reach)};
        bool known = false;
        for (int around = 0; around < 27 && !known; ++around) {
            const auto found = boxes.find(
                {box[0] + around % 3 - 1, box[1] + around / 3 % 3 - 1, box[2] + around / 9 - 1});
            known =
                found != boxes.end() && std::ranges::any_of(found->second, [&](std::size_t other) {
                    return (directions[other] - at).norm() < reach;
                });
        }
        if (known) continue;
        boxes[{box[0], box[1], box[2]}].push_back(n);
        result.push_back(n);
    }
    return result;
}

} // namespace

std::string text_of(const unit_vector &where) {
    const direction at = direction_of(where);
    char text[60];
    // Rounded first: "-0" is no angle.
    std::snprintf(text, sizeof text, "azimuth %g, elevation %g",
                  std::round(at.azimuth * 10) / 10 + 0.0, std::round(at.elevation * 10) / 10 + 0.0);
    return text;
}

measured_set::measured_set(sofa_measurement from, std::vector<std::string> &notes)
    : file_(std::move(from)) {
    choose(notes);
    check_sound();
    find_onset();
    choose_grids();
}

// The same step of frequency at both rates, so that bins need no interpolation; the lengths are
// even, for bins that end at half the rate. What is left of a strange rate shifts no sample of a
// response by a thousandth of a sample.
void measured_set::choose_grids() {
    double least = 1;
    for (std::size_t length = shortest_grid; length <= 4 * shortest_grid; length += 2) {
        const double wanted = static_cast<double>(length) * file_.rate / table_rate;
        const double even = 2 * std::round(wanted / 2);
        const double off = std::abs(even / wanted - 1);
        if (off < least) {
            least = off;
            table_grid_ = length;
            file_grid_ = static_cast<std::size_t>(even);
        }
        if (least < 1e-6) return;
    }
}

void measured_set::choose(std::vector<std::string> &notes) {
    const auto all = shells(file_.distances);
    std::size_t largest = 0;
    for (const auto &shell : all) largest = std::max(largest, shell.size());
    const auto far_from_wanted = [&](const auto &shell) {
        return std::abs(std::log(mean_distance(shell, file_.distances) / wanted_distance));
    };
    const std::vector<std::size_t> *best = nullptr;
    for (const auto &shell : all) {
        if (2 * shell.size() < largest) continue;
        if (best == nullptr || far_from_wanted(shell) < far_from_wanted(*best)) best = &shell;
    }
    std::vector<std::size_t> shell = *best;
    std::ranges::sort(shell);
    distance_ = mean_distance(shell, file_.distances);
    if (all.size() > 1)
        notes.push_back("measured at " + std::to_string(all.size()) + " distances; the " +
                        std::to_string(shell.size()) + " responses of " + metres(distance_) +
                        " are used");
    chosen_ = without_repeats(shell, file_.directions);
    const std::size_t repeated = shell.size() - chosen_.size();
    if (repeated != 0)
        notes.push_back(std::to_string(repeated) +
                        (repeated == 1 ? " response repeats a direction and is"
                                       : " responses repeat a direction and are") +
                        " left out");
    if (chosen_.size() < fewest)
        refuse("has " + std::to_string(chosen_.size()) +
               " directions; a head needs 12 all around at least");
    if (chosen_.size() > most)
        refuse("has " + std::to_string(chosen_.size()) + " directions; a head has room for " +
               std::to_string(most) + ": leave some out");
    for (std::size_t n : chosen_) directions_.push_back(file_.directions[n]);
}

void measured_set::check_sound() const {
    std::vector<double> energies;
    for (std::size_t d = 0; d < chosen_.size(); ++d) {
        for (std::size_t ear : {left, right}) {
            energies.push_back(energy_of(samples(d, ear)));
            const double late = delay(d, ear);
            if (!std::isfinite(energies.back()) || !std::isfinite(late))
                refuse("has samples or delays that are not numbers (NaN or infinite) at " +
                       text_of(directions_[d]) + ", " + name_of(ear) + " ear");
            if (std::abs(late) > 1)
                refuse("has a delay of more than a second at " + text_of(directions_[d]) +
                       "; Data.Delay counts samples");
        }
    }
    std::vector<double> sorted = energies;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::ranges::nth_element(sorted, middle);
    for (std::size_t n = 0; n < energies.size(); ++n) {
        // 100 dB below the others, or nothing at all.
        if (!(energies[n] > 1e-10 * *middle))
            refuse("is silent at " + text_of(directions_[n / 2]) + ", " + name_of(n % 2) +
                   " ear; leave that direction out or measure it again");
    }
}

void measured_set::find_onset() {
    std::vector<double> onsets;
    for (std::size_t d = 0; d < chosen_.size(); ++d) {
        for (std::size_t ear : {left, right}) {
            const auto all = samples(d, ear);
            float peak = 0;
            for (float x : all) peak = std::max(peak, std::abs(x));
            const auto first = std::ranges::find_if(
                all, [&](float x) { return std::abs(x) >= onset_level * double{peak}; });
            onsets.push_back(static_cast<double>(first - all.begin()) / file_.rate + delay(d, ear));
        }
    }
    const auto early = onsets.begin() + static_cast<std::ptrdiff_t>(
                                            earliest_share * static_cast<double>(onsets.size()));
    std::ranges::nth_element(onsets, early);
    common_delay_ = *early - onset_tap / table_rate;
}

spectrum measured_set::response(std::size_t direction, std::size_t ear) const {
    const auto all = samples(direction, ear);
    const double ahead = common_delay_ - delay(direction, ear);
    const auto first = static_cast<std::size_t>(
        std::clamp(std::floor(ahead * file_.rate - lead), 0.0, static_cast<double>(all.size())));
    // The end is faded where the grid is too short for all of it.
    const auto room = file_grid_ - static_cast<std::size_t>(2 * lead);
    const std::size_t used = std::min(all.size() - first, room);
    signal part(all.begin() + static_cast<std::ptrdiff_t>(first),
                all.begin() + static_cast<std::ptrdiff_t>(first + used));
    const std::size_t fade = used < all.size() - first ? used / 4 : 0;
    for (std::size_t n = 0; n < fade; ++n)
        part[used - 1 - n] *= (static_cast<double>(n) + 0.5) / static_cast<double>(fade);
    spectrum bins = forward(part, file_grid_);
    bins.back() = 0; // half the rate of the file
    bins.resize(table_grid_ / 2 + 1);
    bins.back() = 0;
    preparation::delay(bins, (static_cast<double>(first) / file_.rate - ahead) * table_rate);
    return bins;
}

} // namespace preparation
