#include "amb_set.hpp"

#include "preparation/harmonics.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace hrtf {
namespace {

using Eigen::Index;
using Eigen::MatrixXcd;
using Eigen::MatrixXd;
using Eigen::VectorXcd;
using Eigen::VectorXd;

constexpr std::size_t grid = 512; // transform of the design: finer than that of the tables
constexpr std::size_t grid_bins = grid / 2 + 1;
constexpr double grid_step = table_rate / grid;

// Below the first frequency phases are kept, above the second one magnitudes alone count.
constexpr double phase_until = 1200, magnitude_from = 1800; // Hz

// Frequencies weigh by the inverse of themselves, so that every third of an octave counts alike;
// below this one, and above the end of the measurement, all weigh the same.
constexpr double lowest_weighted = 800, highest_weighted = 19000; // Hz
constexpr double weight_above = 0.1;

// How much a quiet direction counts: errors are divided by the magnitude to this power. 0 would
// serve the near side only, 1 is the relative error, which gives up the loud directions.
constexpr double relative = 0.5;
constexpr double quietest = 0.02; // of the mean: below, a magnitude counts as this

// Keeps the zone below the lowest measured ring from growing: a share of the weight of a frequency.
constexpr double restraint = 1e-3;
constexpr int rounds = 100, alignments = 40;

Index index(std::size_t n) { return static_cast<Index>(n); }

class design {
  public:
    explicit design(const equalised_set &diffuse)
        : gains_(index(diffuse.directions.size()), index(amb_channels)),
          targets_(gains_.rows(), index(grid_bins)), weights_(gains_.rows(), index(grid_bins)),
          area_(gains_.rows()), level_(VectorXd::Ones(index(grid_bins))),
          normal_(index(amb_channels * taps), index(amb_channels * taps)) {
        for (std::size_t d = 0; d < diffuse.directions.size(); ++d) {
            const auto &one = diffuse.directions[d];
            const auto encoded = encode(one.where);
            for (std::size_t k = 0; k < amb_channels; ++k) gains_(index(d), index(k)) = encoded[k];
            const spectrum response = forward(one.ears[left], grid);
            for (std::size_t f = 0; f < grid_bins; ++f) targets_(index(d), index(f)) = response[f];
            area_(index(d)) = one.weight;
            rings_[one.where.elevation].push_back(index(d));
        }
        for (std::size_t f = 0; f < grid_bins; ++f) weigh(f);
        set_up();
    }

    // The left-ear filter of each channel. Every round takes the phases over from the one before
    // and solves for the filters; the first one starts from the measured phases.
    std::vector<signal> run() {
        const Eigen::LLT<Eigen::Ref<MatrixXd>> solver(normal_);
        MatrixXcd wanted = targets_;
        std::vector<signal> filters;
        for (int round = 0;; ++round) {
            filters = split(solver.solve(right_side(wanted)));
            if (round == rounds) return filters;
            const MatrixXcd reached = responses(filters);
            if (round < alignments) align(reached);
            wanted = next_target(reached);
        }
    }

  private:
    void weigh(std::size_t f) {
        const VectorXd magnitude = targets_.col(index(f)).cwiseAbs();
        const double mean = std::sqrt(area_.dot(magnitude.cwiseAbs2()));
        const double frequency = static_cast<double>(f) * grid_step;
        const double share = (frequency > highest_weighted ? weight_above : 1) /
                             std::clamp(frequency, lowest_weighted, highest_weighted);
        for (Index d = 0; d < magnitude.size(); ++d) {
            const double ratio = std::max(magnitude(d) / mean, quietest);
            weights_(d, index(f)) =
                share * area_(d) * std::pow(ratio, -2 * relative) / (mean * mean);
        }
    }

    // The normal equations of all taps of all channels. What two channels have in common depends on
    // the distance of their taps alone, for the weights are real.
    void set_up() {
        std::vector<MatrixXd> common;
        for (std::size_t f = 0; f < grid_bins; ++f) {
            const VectorXd weight = weights_.col(index(f));
            common.push_back(gains_.transpose() * weight.asDiagonal() * gains_);
            common.back().diagonal().array() += restraint * weight.sum();
        }
        for (Index k = 0; k < index(amb_channels); ++k) {
            for (Index l = 0; l <= k; ++l) {
                spectrum product(grid_bins);
                for (std::size_t f = 0; f < grid_bins; ++f) product[f] = common[f](k, l);
                const signal correlation = inverse(product);
                for (std::size_t n = 0; n < taps; ++n) {
                    for (std::size_t m = 0; m < taps; ++m) {
                        normal_(k * index(taps) + index(n), l * index(taps) + index(m)) =
                            correlation[n > m ? n - m : m - n];
                    }
                }
            }
        }
    }

    VectorXd right_side(const MatrixXcd &wanted) const {
        const MatrixXcd sums = gains_.transpose() * weights_.cwiseProduct(wanted);
        VectorXd result(normal_.rows());
        for (std::size_t k = 0; k < amb_channels; ++k) {
            spectrum bins(grid_bins);
            for (std::size_t f = 0; f < grid_bins; ++f) bins[f] = sums(index(k), index(f));
            const signal samples = inverse(bins);
            for (std::size_t n = 0; n < taps; ++n) result(index(k * taps + n)) = samples[n];
        }
        return result;
    }

    static std::vector<signal> split(const VectorXd &all) {
        std::vector<signal> result;
        for (std::size_t k = 0; k < amb_channels; ++k) {
            result.emplace_back(all.data() + k * taps, all.data() + (k + 1) * taps);
        }
        return result;
    }

    // What the filters give for each direction and bin.
    MatrixXcd responses(const std::vector<signal> &filters) const {
        MatrixXcd spectra(index(amb_channels), index(grid_bins));
        for (std::size_t k = 0; k < amb_channels; ++k) {
            const spectrum bins = forward(filters[k], grid);
            for (std::size_t f = 0; f < grid_bins; ++f) spectra(index(k), index(f)) = bins[f];
        }
        return gains_ * spectra;
    }

    // The loudspeaker was not equally far away on all rings, by a few hundredths of a metre. That
    // is common to both ears and nothing that a direction sounds like, but no smooth function on a
    // sphere follows it: each ring is delayed so that it goes with what was reached.
    void align(const MatrixXcd &reached) {
        for (const auto &[elevation, ring] : rings_) {
            double turns = 0, norm = 0;
            for (std::size_t f = 1; static_cast<double>(f) * grid_step < phase_until; ++f) {
                complex cross = 0;
                for (Index d : ring) {
                    cross += reached(d, index(f)) * std::conj(targets_(d, index(f)));
                }
                turns += static_cast<double>(f) * std::arg(cross);
                norm += static_cast<double>(f * f);
            }
            for (std::size_t f = 0; f < grid_bins; ++f) {
                const complex turn = std::polar(1.0, static_cast<double>(f) * turns / norm);
                for (Index d : ring) targets_(d, index(f)) *= turn;
            }
        }
    }

    // 0: phases count; 1: magnitudes alone.
    static double magnitude_share(std::size_t bin) {
        const double octaves = std::log2(magnitude_from / phase_until);
        const double at = std::log2(static_cast<double>(bin) * grid_step / phase_until) / octaves;
        const double position = bin == 0 ? 0 : std::clamp(at, 0.0, 1.0);
        return 0.5 - 0.5 * std::cos(std::numbers::pi * position);
    }

    // Measured magnitudes with the phases that were reached, raised so that the average over all
    // directions becomes that of the diffuse set.
    MatrixXcd next_target(const MatrixXcd &reached) {
        MatrixXcd wanted = targets_;
        for (std::size_t f = 0; f < grid_bins; ++f) {
            const double share = magnitude_share(f);
            if (share == 0) continue;
            const double is = area_.dot(reached.col(index(f)).cwiseAbs2());
            const double should_be = area_.dot(targets_.col(index(f)).cwiseAbs2());
            double &level = level_(index(f));
            level = std::clamp(level * std::pow(should_be / is, 0.25), 0.5, 2.0);
            for (Index d = 0; d < wanted.rows(); ++d) {
                complex &target = wanted(d, index(f));
                const double turn = std::arg(reached(d, index(f)) * std::conj(target));
                target *= std::polar(std::pow(level, share), share * turn);
            }
        }
        return wanted;
    }

    MatrixXd gains_;                             // direction by channel
    MatrixXcd targets_;                          // direction by bin
    MatrixXd weights_;                           // direction by bin
    VectorXd area_;                              // of each direction
    std::map<double, std::vector<Index>> rings_; // directions by elevation
    VectorXd level_;                             // by which the target of a bin is raised
    MatrixXd normal_;                            // lower half
};

} // namespace

std::vector<ear_pair> make_amb_set(const equalised_set &diffuse) {
    std::vector<ear_pair> result;
    for (signal &filter : design(diffuse).run()) {
        signal other = filter;
        if (degree_of(result.size()) < 0) {
            for (double &sample : other) sample = -sample;
        }
        result.push_back({std::move(filter), std::move(other)});
    }
    return result;
}

} // namespace hrtf
