// Directions around a listener: front is azimuth 0, left is azimuth 90, up is elevation 90.
#ifndef EARSHOT_PREPARATION_DIRECTION_HPP
#define EARSHOT_PREPARATION_DIRECTION_HPP

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace preparation {

struct direction {
    double azimuth;   // degrees, counter-clockwise
    double elevation; // degrees, upwards
};

using unit_vector = Eigen::Vector3d; // front, left, up
using unit_vectors = std::vector<unit_vector>;

constexpr double per_degree = std::numbers::pi / 180;

inline unit_vector vector_of(direction where) {
    const double azimuth = where.azimuth * per_degree, elevation = where.elevation * per_degree;
    return {std::cos(elevation) * std::cos(azimuth), std::cos(elevation) * std::sin(azimuth),
            std::sin(elevation)};
}

// Azimuth from -180 to 180 degrees.
inline direction direction_of(const unit_vector &where) {
    return {std::atan2(where.y(), where.x()) / per_degree,
            std::atan2(where.z(), std::hypot(where.x(), where.y())) / per_degree};
}

// Degrees; exact for small angles too.
inline double angle_between(const unit_vector &a, const unit_vector &b) {
    return 2 * std::asin(std::min(1.0, (a - b).norm() / 2)) / per_degree;
}

} // namespace preparation

#endif
