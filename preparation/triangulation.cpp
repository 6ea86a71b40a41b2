#include "preparation/triangulation.hpp"

#include <algorithm>
#include <map>
#include <random>

namespace preparation {
namespace {

using std::uint32_t;
using std::uint64_t;

constexpr uint32_t none = 0xFFFFFFFF;

// Twice the area of the triangle times its height below the point: above 0 where the point lies on
// the outer side.
double height_above(const unit_vector &a, const unit_vector &b, const unit_vector &c,
                    const unit_vector &point) {
    return (b - a).cross(c - a).dot(point - a);
}

uint64_t scrambled(uint64_t bits) {
    bits = (bits ^ bits >> 31) * 0x9E3779B97F4A7C15;
    bits = (bits ^ bits >> 29) * 0xBF58476D1CE4E5B9;
    return bits ^ bits >> 32;
}

// Directions on one circle would make faces of more than three corners, and rounding would make
// nonsense of them. Each is moved outwards by an amount of its own, far above what rounding does
// and far below what could bury a direction a hundredth of a degree away. Left and right are moved
// almost alike, so that a measurement that is its own mirror image gets such triangles, too.
unit_vector moved_out(const unit_vector &at) {
    const auto cell = [](double value) {
        return static_cast<uint64_t>(std::llround(value * 1e6) + 1'000'000);
    };
    const uint64_t side = cell(at.x()) << 42 ^ cell(std::abs(at.y())) << 21 ^ cell(at.z());
    const double share = static_cast<double>(scrambled(side) >> 11) * 0x1p-53;
    return at * (1 + 1e-11 * share + (at.y() > 0 ? 1e-14 : 0));
}

// The hull grows point by point: what the new one sees is taken away, and the rim of the hole is
// joined to it.
class growing_hull {
  public:
    explicit growing_hull(const unit_vectors &directions) {
        for (const unit_vector &one : directions) points_.push_back(moved_out(one));
    }

    std::vector<triangle> run() {
        if (!begin()) return {};
        for (uint32_t point : shuffled()) add(point);
        return finished();
    }

  private:
    struct face {
        std::array<uint32_t, 3> vertex;
        std::array<uint32_t, 3> neighbour;
        uint32_t seen_by; // the last point that it was looked at from
        bool gone;
    };

    // Four points far apart: the first, the farthest from it, from their line, from their plane.
    bool begin() {
        if (points_.size() < 4) return false;
        const auto best = [&](auto &&distance) {
            uint32_t most = 0;
            for (uint32_t n = 1; n < points_.size(); ++n) {
                if (distance(points_[n]) > distance(points_[most])) most = n;
            }
            return most;
        };
        const unit_vector &a = points_[0];
        const uint32_t second = best([&](const auto &p) { return (p - a).norm(); });
        const unit_vector line = points_[second] - a;
        const uint32_t third = best([&](const auto &p) { return line.cross(p - a).norm(); });
        const unit_vector plane = line.cross(points_[third] - a);
        const uint32_t fourth = best([&](const auto &p) { return std::abs(plane.dot(p - a)); });
        const double height = plane.dot(points_[fourth] - a);
        if (std::abs(height) < 1e-6) return false;
        first_ = {0, second, third, fourth};
        if (height > 0) std::swap(first_[1], first_[2]);
        centre_ =
            (points_[first_[0]] + points_[first_[1]] + points_[first_[2]] + points_[first_[3]]) / 4;
        const auto [p, q, r, s] = first_;
        faces_ = {{{p, q, r}, {3, 2, 1}, none, false},
                  {{p, s, q}, {3, 0, 2}, none, false},
                  {{q, s, r}, {2, 0, 1}, none, false},
                  {{p, r, s}, {2, 1, 0}, none, false}};
        link_again();
        return true;
    }

    // Neighbours from scratch.
    void link_again() {
        std::map<edge, uint32_t> owner;
        for (uint32_t f = 0; f < faces_.size(); ++f) {
            for (std::size_t k = 0; k < 3; ++k)
                owner[{faces_[f].vertex[(k + 1) % 3], faces_[f].vertex[(k + 2) % 3]}] = f;
        }
        for (face &one : faces_) {
            for (std::size_t k = 0; k < 3; ++k)
                one.neighbour[k] = owner.at({one.vertex[(k + 2) % 3], one.vertex[(k + 1) % 3]});
        }
    }

    // In random order the way to a point's face is short and few faces are made in vain.
    std::vector<uint32_t> shuffled() const {
        std::vector<uint32_t> order;
        for (uint32_t n = 0; n < points_.size(); ++n) {
            if (std::ranges::find(first_, n) == first_.end()) order.push_back(n);
        }
        std::mt19937 random;
        for (std::size_t n = order.size(); n > 1; --n) std::swap(order[n - 1], order[random() % n]);
        return order;
    }

    bool sees(uint32_t point, const face &one) const {
        return height_above(points_[one.vertex[0]], points_[one.vertex[1]], points_[one.vertex[2]],
                            points_[point]) > 0;
    }

    // The face that the line from the inner centre to the point goes through.
    uint32_t face_towards(uint32_t point) const {
        const unit_vector way = points_[point] - centre_;
        uint32_t at = last_;
        for (std::size_t steps = 0; steps < faces_.size(); ++steps) {
            double lowest = 0;
            uint32_t next = none;
            for (std::size_t k = 0; k < 3; ++k) {
                const unit_vector a = points_[faces_[at].vertex[(k + 1) % 3]] - centre_;
                const unit_vector b = points_[faces_[at].vertex[(k + 2) % 3]] - centre_;
                const double inside = a.cross(b).dot(way);
                if (inside < lowest) {
                    lowest = inside;
                    next = faces_[at].neighbour[k];
                }
            }
            if (next == none) break;
            at = next;
        }
        return at;
    }

    void add(uint32_t point) {
        const uint32_t start = face_towards(point);
        if (!sees(point, faces_[start])) return;
        // Sides of the hole, each with the face beyond it.
        std::map<uint32_t, std::pair<uint32_t, uint32_t>> rim;
        std::vector<uint32_t> visible{start};
        faces_[start].seen_by = point;
        for (std::size_t n = 0; n < visible.size(); ++n) {
            const face one = faces_[visible[n]];
            faces_[visible[n]].gone = true;
            for (std::size_t k = 0; k < 3; ++k) {
                face &next = faces_[one.neighbour[k]];
                if (next.seen_by == point) continue;
                if (sees(point, next)) {
                    next.seen_by = point;
                    visible.push_back(one.neighbour[k]);
                } else {
                    rim[one.vertex[(k + 1) % 3]] = {one.vertex[(k + 2) % 3], one.neighbour[k]};
                }
            }
        }
        close(point, rim, visible);
    }

    void close(uint32_t point, const std::map<uint32_t, std::pair<uint32_t, uint32_t>> &rim,
               std::vector<uint32_t> &free) {
        const uint32_t begin = rim.begin()->first;
        uint32_t from = begin, first = none, before = none;
        do {
            const auto [to, beyond] = rim.at(from);
            uint32_t here = static_cast<uint32_t>(faces_.size());
            if (free.empty()) {
                faces_.emplace_back();
            } else {
                here = free.back();
                free.pop_back();
            }
            faces_[here] = {{from, to, point}, {none, before, beyond}, none, false};
            if (before != none) faces_[before].neighbour[0] = here;
            if (first == none) first = here;
            for (std::size_t k = 0; k < 3; ++k) {
                if (faces_[beyond].vertex[k] != from && faces_[beyond].vertex[k] != to)
                    faces_[beyond].neighbour[k] = here;
            }
            before = here;
            from = to;
        } while (from != begin);
        faces_[before].neighbour[0] = first;
        faces_[first].neighbour[1] = before;
        last_ = first;
    }

    std::vector<triangle> finished() {
        std::erase_if(faces_, [](const face &one) { return one.gone; });
        for (face &one : faces_) {
            std::rotate(one.vertex.begin(), std::ranges::min_element(one.vertex), one.vertex.end());
        }
        std::ranges::sort(faces_, {}, &face::vertex);
        link_again();
        std::vector<triangle> result;
        for (const face &one : faces_) result.push_back({one.vertex, one.neighbour});
        return result;
    }

    unit_vectors points_;
    unit_vector centre_;
    std::array<uint32_t, 4> first_{};
    std::vector<face> faces_;
    uint32_t last_ = 0; // a face of the hull as it is
};

} // namespace

std::vector<triangle> triangulate(const unit_vectors &directions) {
    return growing_hull(directions).run();
}

std::array<double, 3> shares_in(const triangle &one, const unit_vectors &vertices,
                                const unit_vector &where) {
    std::array<double, 3> shares{};
    for (std::size_t k = 0; k < 3; ++k) {
        const unit_vector &a = vertices[one.vertex[(k + 1) % 3]];
        shares[k] = a.cross(vertices[one.vertex[(k + 2) % 3]]).dot(where);
    }
    return shares;
}

std::uint32_t find_triangle(const std::vector<triangle> &hull, const unit_vectors &vertices,
                            const unit_vector &where, std::uint32_t start) {
    uint32_t at = start;
    for (std::size_t steps = 0; steps < hull.size(); ++steps) {
        const auto shares = shares_in(hull[at], vertices, where);
        const auto lowest = std::ranges::min_element(shares);
        // On a side, rounding must not choose.
        if (*lowest > -1e-9) break;
        at = hull[at].neighbour[static_cast<std::size_t>(lowest - shares.begin())];
    }
    return at;
}

double clearance(const std::vector<triangle> &hull, const unit_vectors &vertices) {
    double least = hull.empty() ? 0 : 1;
    for (const triangle &one : hull) {
        const unit_vector &a = vertices[one.vertex[0]];
        const unit_vector normal = (vertices[one.vertex[1]] - a).cross(vertices[one.vertex[2]] - a);
        least = std::min(least, normal.normalized().dot(a));
    }
    return least;
}

std::vector<edge> edges_of(const std::vector<triangle> &hull) {
    std::vector<edge> all;
    for (const triangle &one : hull) {
        for (std::size_t k = 0; k < 3; ++k) {
            const uint32_t a = one.vertex[k], b = one.vertex[(k + 1) % 3];
            if (a < b) all.push_back({a, b});
        }
    }
    std::ranges::sort(all);
    return all;
}

double radius_of(const triangle &one, const unit_vectors &vertices) {
    const unit_vector &a = vertices[one.vertex[0]];
    const unit_vector normal = (vertices[one.vertex[1]] - a).cross(vertices[one.vertex[2]] - a);
    return std::acos(std::clamp(normal.normalized().dot(a), -1.0, 1.0)) / per_degree;
}

} // namespace preparation
