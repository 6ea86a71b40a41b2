#include "preparation/field_filters.hpp"

#include "preparation/harmonics.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <future>
#include <map>
#include <numbers>
#include <optional>
#include <utility>

namespace preparation {
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
constexpr int alignments = 40; // of the first rounds

Index index(std::size_t n) { return static_cast<Index>(n); }

class ear_design {
  public:
    ear_design(const std::vector<field_direction> &all, std::size_t ear, const MatrixXd &gains,
               const VectorXd &area)
        : gains_(gains), area_(area), targets_(gains_.rows(), index(grid_bins)),
          weights_(gains_.rows(), index(grid_bins)), level_(VectorXd::Ones(index(grid_bins))),
          normal_(index(amb_channels * taps), index(amb_channels * taps)) {
        for (std::size_t d = 0; d < all.size(); ++d) {
            const spectrum response = forward(*all[d].ears[ear], grid);
            for (std::size_t f = 0; f < grid_bins; ++f) targets_(index(d), index(f)) = response[f];
        }
        for (std::size_t f = 0; f < grid_bins; ++f) weigh(f);
        set_up();
        solver_.emplace(normal_);
        wanted_ = targets_;
    }

    const std::vector<signal> &filters() const { return filters_; }
    const MatrixXcd &reached() const { return reached_; }
    MatrixXcd &targets() { return targets_; }
    const MatrixXcd &targets() const { return targets_; }

    void solve() {
        filters_ = split(solver_->solve(right_side(wanted_)));
        reached_ = responses(filters_);
    }

    // Measured magnitudes with the phases that were reached, raised so that the average over all
    // directions becomes that of the diffuse set.
    void aim() {
        wanted_ = targets_;
        for (std::size_t f = 0; f < grid_bins; ++f) {
            const double share = magnitude_share(f);
            if (share == 0) continue;
            const double is = area_.dot(reached_.col(index(f)).cwiseAbs2());
            const double should_be = area_.dot(targets_.col(index(f)).cwiseAbs2());
            double &level = level_(index(f));
            level = std::clamp(level * std::pow(should_be / is, 0.25), 0.5, 2.0);
            for (Index d = 0; d < wanted_.rows(); ++d) {
                complex &target = wanted_(d, index(f));
                const double turn = std::arg(reached_(d, index(f)) * std::conj(target));
                target *= std::polar(std::pow(level, share), share * turn);
            }
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

    // 0: phases count; 1: magnitudes alone.
    static double magnitude_share(std::size_t bin) {
        const double octaves = std::log2(magnitude_from / phase_until);
        const double at = std::log2(static_cast<double>(bin) * grid_step / phase_until) / octaves;
        const double position = bin == 0 ? 0 : std::clamp(at, 0.0, 1.0);
        return 0.5 - 0.5 * std::cos(std::numbers::pi * position);
    }

    const MatrixXd &gains_; // direction by channel
    const VectorXd &area_;  // of each direction
    MatrixXcd targets_;     // direction by bin
    MatrixXd weights_;      // direction by bin
    VectorXd level_;        // by which the target of a bin is raised
    MatrixXd normal_;       // lower half
    std::optional<Eigen::LLT<Eigen::Ref<MatrixXd>>> solver_;
    MatrixXcd wanted_, reached_; // direction by bin
    std::vector<signal> filters_;
};

class design {
  public:
    explicit design(const std::vector<field_direction> &all)
        : gains_(index(all.size()), index(amb_channels)), area_(gains_.rows()) {
        for (std::size_t d = 0; d < all.size(); ++d) {
            const auto encoded = encode(all[d].where);
            for (std::size_t k = 0; k < amb_channels; ++k) gains_(index(d), index(k)) = encoded[k];
            area_(index(d)) = all[d].weight;
            rings_[std::lround(all[d].where.elevation * 10)].push_back(index(d));
        }
        ears_.resize(all.front().ears.size());
        at_once([&](std::size_t ear) { ears_[ear].emplace(all, ear, gains_, area_); });
    }

    // Every round takes the phases over from the one before and solves for the filters; the first
    // one starts from the measured phases.
    std::vector<std::vector<signal>> run(int rounds) {
        for (int round = 0;; ++round) {
            at_once([&](std::size_t ear) { ears_[ear]->solve(); });
            if (round == rounds) break;
            if (round < alignments) align();
            at_once([&](std::size_t ear) { ears_[ear]->aim(); });
        }
        std::vector<std::vector<signal>> result;
        for (const auto &ear : ears_) result.push_back(ear->filters());
        return result;
    }

  private:
    // Both ears side by side.
    template <typename Work> void at_once(Work work) {
        std::vector<std::future<void>> others;
        for (std::size_t ear = 1; ear < ears_.size(); ++ear)
            others.push_back(std::async(std::launch::async, [&work, ear] { work(ear); }));
        work(0);
        for (auto &one : others) one.get();
    }

    // The loudspeaker was not equally far away on all rings, by a few hundredths of a metre. That
    // is common to both ears and nothing that a direction sounds like, but no smooth function on a
    // sphere follows it: each ring is delayed so that it goes with what was reached.
    void align() {
        for (const auto &[elevation, ring] : rings_) {
            double turns = 0, norm = 0;
            for (std::size_t f = 1; static_cast<double>(f) * grid_step < phase_until; ++f) {
                complex cross = 0;
                for (const auto &ear : ears_) {
                    for (Index d : ring) {
                        cross += ear->reached()(d, index(f)) *
                                 std::conj(std::as_const(*ear).targets()(d, index(f)));
                    }
                }
                turns += static_cast<double>(f) * std::arg(cross);
                norm += static_cast<double>(f * f);
            }
            for (std::size_t f = 0; f < grid_bins; ++f) {
                const complex turn = std::polar(1.0, static_cast<double>(f) * turns / norm);
                for (auto &ear : ears_) {
                    for (Index d : ring) ear->targets()(d, index(f)) *= turn;
                }
            }
        }
    }

    MatrixXd gains_;                           // direction by channel
    VectorXd area_;                            // of each direction
    std::map<long, std::vector<Index>> rings_; // directions by elevation, tenths of a degree
    std::vector<std::optional<ear_design>> ears_;
};

} // namespace

std::vector<std::vector<signal>> design_field_filters(const std::vector<field_direction> &all,
                                                      int rounds) {
    return design(all).run(rounds);
}

} // namespace preparation
