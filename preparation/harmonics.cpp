#include "preparation/harmonics.hpp"

#include <cmath>
#include <cstdlib>
#include <numbers>

namespace preparation {
namespace {

// P_n^m(x) without the factor (-1)^m, by the recurrence over n.
double legendre(int n, int m, double x) {
    double current = 1;
    for (int k = 1; k <= m; ++k) current *= (2 * k - 1) * std::sqrt(1 - x * x);
    double previous = 0;
    for (int k = m + 1; k <= n; ++k) {
        const double next = ((2 * k - 1) * x * current - (k + m - 1) * previous) / (k - m);
        previous = current;
        current = next;
    }
    return current;
}

// sqrt((2 - [m = 0]) (n - m)! / (n + m)!)
double sn3d(int n, int m) {
    double ratio = m == 0 ? 1 : 2;
    for (int k = n - m + 1; k <= n + m; ++k) ratio /= k;
    return std::sqrt(ratio);
}

} // namespace

std::array<double, amb_channels> encode(direction where) {
    const double azimuth = where.azimuth * std::numbers::pi / 180;
    const double height = std::sin(where.elevation * std::numbers::pi / 180);
    std::array<double, amb_channels> gains{};
    for (std::size_t k = 0; k < amb_channels; ++k) {
        const int n = order_of(k), m = std::abs(degree_of(k));
        const double turn = degree_of(k) < 0 ? std::sin(m * azimuth) : std::cos(m * azimuth);
        gains[k] = sn3d(n, m) * legendre(n, m, height) * turn;
    }
    return gains;
}

} // namespace preparation
