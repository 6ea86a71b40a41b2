#include "preparation/fill.hpp"

#include "preparation/filters.hpp"
#include "preparation/shorten.hpp"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>

namespace preparation {
namespace {

constexpr int lattice = 15; // degrees

// A direction lies in a hole where the nearest measured one is farther than this, or than so many
// times the gaps of the measurement as they are.
constexpr double smallest_hole = 16; // degrees
constexpr double wider_than_gaps = 1.25;

// A delay over the sphere is nearly that of a plane wave to a point off the centre of a round head:
// spherical harmonics up to the second order.
constexpr int law_terms = 9;
using law = Eigen::Vector<double, law_terms>;
law law_at(const unit_vector &d) {
    const double x = d.x(), y = d.y(), z = d.z();
    return law{1, x, y, z, x * y, y * z, x * z, x * x - y * y, 3 * z * z - 1};
}

// How much each measured direction counts for one in a hole. Sum 1.
std::vector<double> weights_at(const unit_vector &where, const unit_vectors &vertices,
                               const std::vector<double> &areas, std::size_t measured) {
    std::vector<double> weights;
    double total = 0;
    for (std::size_t n = 0; n < measured; ++n) {
        const double distance = (vertices[n] - where).squaredNorm();
        weights.push_back(areas[n] / (distance * distance));
        total += weights.back();
    }
    for (double &one : weights) one /= total;
    return weights;
}

law fitted_law(const std::vector<double> &delays, const unit_vectors &vertices,
               const std::vector<double> &areas) {
    Eigen::Matrix<double, law_terms, law_terms> normal = 1e-6 * decltype(normal)::Identity();
    law right_side = law::Zero();
    for (std::size_t n = 0; n < delays.size(); ++n) {
        const law terms = law_at(vertices[n]);
        normal += areas[n] * terms * terms.transpose();
        right_side += areas[n] * delays[n] * terms;
    }
    return normal.ldlt().solve(right_side);
}

// Above 12 dB it is not the phases of the mean that took the level away.
constexpr double most_raised = 4;

// The mean, as loud as what it is made of.
spectrum loud_mean(const std::vector<spectrum> &aligned, const std::vector<double> &weights) {
    spectrum mean(fft_bins);
    signal wanted(fft_bins), is(fft_bins);
    for (std::size_t n = 0; n < weights.size(); ++n) {
        for (std::size_t k = 0; k < fft_bins; ++k) {
            mean[k] += weights[n] * aligned[n][k];
            wanted[k] += weights[n] * std::norm(aligned[n][k]);
        }
    }
    for (std::size_t k = 0; k < fft_bins; ++k) is[k] = std::norm(mean[k]);
    wanted = third_octave_mean(wanted);
    is = third_octave_mean(is);
    for (std::size_t k = 0; k < fft_bins; ++k) {
        if (is[k] > 0) mean[k] *= std::min(most_raised, std::sqrt(wanted[k] / is[k]));
    }
    return mean;
}

} // namespace

std::vector<double> areas_of(const std::vector<triangle> &hull, const unit_vectors &vertices) {
    std::vector<double> areas(vertices.size());
    for (const triangle &one : hull) {
        const unit_vector &a = vertices[one.vertex[0]], &b = vertices[one.vertex[1]],
                          &c = vertices[one.vertex[2]];
        // The solid angle of a triangle, after van Oosterom and Strackee (1983).
        const double solid = 2 * std::atan2(a.cross(b).dot(c), 1 + a.dot(b) + b.dot(c) + c.dot(a));
        for (std::uint32_t v : one.vertex) areas[v] += solid / (12 * std::numbers::pi);
    }
    return areas;
}

std::vector<direction> lattice_of(int step) {
    std::vector<direction> all;
    for (int elevation = -90; elevation <= 90; elevation += step) {
        const double around = 360 * std::cos(elevation * per_degree) / step;
        const long count = std::max(1L, std::lround(around));
        for (long n = 0; n < count; ++n) {
            all.push_back({360.0 * static_cast<double>(n) / static_cast<double>(count),
                           static_cast<double>(elevation)});
        }
    }
    return all;
}

std::vector<direction> holes_between(const std::vector<triangle> &hull,
                                     const unit_vectors &vertices) {
    std::vector<double> gaps;
    gaps.reserve(hull.size());
    for (const triangle &one : hull) gaps.push_back(radius_of(one, vertices));
    std::ranges::nth_element(gaps, gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2));
    const double limit = std::max(smallest_hole, wider_than_gaps * gaps[gaps.size() / 2]);
    const double nearest = std::cos(limit * per_degree);
    std::vector<direction> holes;
    for (direction where : lattice_of(lattice)) {
        const unit_vector at = vector_of(where);
        if (std::ranges::none_of(vertices, [&](const auto &v) { return v.dot(at) > nearest; }))
            holes.push_back(where);
    }
    return holes;
}

void fill_holes(ear_filters &ear, const unit_vectors &vertices, const std::vector<double> &areas) {
    const std::size_t measured = ear.delays.size();
    const law fit = fitted_law(ear.delays, vertices, areas);
    for (std::size_t v = measured; v < vertices.size(); ++v) {
        const auto weights = weights_at(vertices[v], vertices, areas, measured);
        double delay = fit.dot(law_at(vertices[v]));
        for (std::size_t n = 0; n < measured; ++n)
            delay += weights[n] * (ear.delays[n] - fit.dot(law_at(vertices[n])));
        delay = std::max(0.0, delay);
        const spectrum mean = loud_mean(ear.aligned, weights);
        ear.aligned.push_back(advanced(softened(inverse(advanced(mean, -delay))), delay));
        ear.delays.push_back(delay);
    }
}

} // namespace preparation
