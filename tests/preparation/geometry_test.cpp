#include "preparation/delays.hpp"
#include "preparation/fill.hpp"
#include "preparation/filters.hpp"
#include "preparation/triangulation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <set>

namespace preparation {
namespace {

struct named_directions {
    const char *name;
    unit_vectors directions;
};

// Rings of equally many directions: four neighbours lie on one circle, and so does a whole ring.
unit_vectors rings(int step, int lowest, int highest) {
    unit_vectors all;
    for (int elevation = lowest; elevation <= highest; elevation += step) {
        for (int azimuth = 0; azimuth < 360; azimuth += step) {
            all.push_back(
                vector_of({static_cast<double>(azimuth), static_cast<double>(elevation)}));
        }
    }
    return all;
}

unit_vectors scattered(std::size_t count) {
    std::mt19937 random;
    std::normal_distribution<double> any;
    unit_vectors all;
    while (all.size() < count)
        all.push_back(unit_vector(any(random), any(random), any(random)).normalized());
    return all;
}

std::vector<named_directions> sets() {
    unit_vectors cube;
    for (int corner = 0; corner < 8; ++corner) {
        cube.push_back(unit_vector(corner & 1 ? 1 : -1, corner & 2 ? 1 : -1, corner & 4 ? 1 : -1)
                           .normalized());
    }
    unit_vectors poles = rings(5, -85, 85);
    poles.insert(poles.end(), {{0, 0, 1}, {0, 0, -1}});
    unit_vectors beside = scattered(50);
    for (int n = 0; n < 50; ++n) // a hundredth of a degree away
        beside.push_back(
            (beside[static_cast<std::size_t>(n)] + unit_vector(2e-4, 0, 0)).normalized());
    return {{"cube", cube},
            {"grid", poles},
            {"rings", rings(30, -30, 30)},
            {"without the pole", rings(1, 87, 89)},
            {"scattered", scattered(2000)},
            {"close pairs", beside}};
}

TEST(Triangulation, EveryDirectionIsACornerOfAClosedConvexSurface) {
    for (const auto &[name, directions] : sets()) {
        SCOPED_TRACE(name);
        const auto hull = triangulate(directions);
        ASSERT_EQ(hull.size(), 2 * directions.size() - 4);
        std::set<std::uint32_t> corners;
        for (std::uint32_t t = 0; t < hull.size(); ++t) {
            const unit_vector &a = directions[hull[t].vertex[0]];
            const unit_vector normal =
                (directions[hull[t].vertex[1]] - a).cross(directions[hull[t].vertex[2]] - a);
            corners.insert(hull[t].vertex.begin(), hull[t].vertex.end());
            for (std::size_t k = 0; k < 3; ++k) {
                const triangle &beyond = hull[hull[t].neighbour[k]];
                ASSERT_EQ(std::ranges::count(beyond.neighbour, t), 1);
                const auto far = std::ranges::find(beyond.neighbour, t) - beyond.neighbour.begin();
                const auto corner = beyond.vertex[static_cast<std::size_t>(far)];
                ASSERT_LE(normal.dot(directions[corner] - a), 1e-15);
            }
        }
        EXPECT_EQ(corners.size(), directions.size());
    }
}

TEST(Triangulation, DoesNotDependOnTheOrderOfDirections) {
    unit_vectors directions = rings(30, -60, 60);
    const auto triangles_of = [](const unit_vectors &all) {
        std::set<std::set<std::array<double, 3>>> result;
        for (const triangle &one : triangulate(all)) {
            std::set<std::array<double, 3>> corners;
            for (std::uint32_t v : one.vertex) corners.insert({all[v].x(), all[v].y(), all[v].z()});
            result.insert(corners);
        }
        return result;
    };
    const auto before = triangles_of(directions);
    std::ranges::reverse(directions);
    EXPECT_EQ(triangles_of(directions), before);
}

TEST(Triangulation, ADirectionIsFoundFromAnywhere) {
    const unit_vectors directions = scattered(300);
    const auto hull = triangulate(directions);
    std::mt19937 random(1);
    for (const unit_vector &where : scattered(500)) {
        const auto start = static_cast<std::uint32_t>(random() % hull.size());
        const auto found = hull[find_triangle(hull, directions, where, start)];
        EXPECT_GT(std::ranges::min(shares_in(found, directions, where)), -1e-9);
    }
}

TEST(Triangulation, ClearanceTellsWhetherTheCentreIsInside) {
    for (const auto &[lowest, enclosed] : {std::pair{-30, true}, {0, false}, {30, false}}) {
        const unit_vectors directions = rings(10, lowest, 80);
        EXPECT_EQ(clearance(triangulate(directions), directions) > 1e-9, enclosed) << lowest;
    }
    EXPECT_TRUE(triangulate(rings(10, 0, 0)).empty());
}

TEST(Fill, AreasMakeUpTheSphereAndFollowTheGaps) {
    const unit_vectors directions = rings(30, -60, 60);
    const auto areas = areas_of(triangulate(directions), directions);
    double sum = 0;
    for (double one : areas) sum += one;
    EXPECT_NEAR(sum, 1, 1e-12);
    // A ring's zone ends half-way to the next. Which diagonals part it is as it may be.
    const double ring = std::accumulate(areas.begin() + 24, areas.begin() + 36, 0.0);
    EXPECT_NEAR(ring, std::sin(15 * per_degree), 0.01);
}

TEST(Fill, HolesAreWhereNothingIsNear) {
    const unit_vectors whole = rings(10, -80, 80), upper = rings(10, -40, 80);
    EXPECT_TRUE(holes_between(triangulate(whole), whole).empty());
    for (const direction &one : holes_between(triangulate(upper), upper))
        EXPECT_LT(one.elevation, -50);
    // Few directions everywhere are a coarse measurement, not one with holes.
    const unit_vectors coarse = rings(60, -60, 60);
    EXPECT_TRUE(holes_between(triangulate(coarse), coarse).empty());
}

// Noise that is delayed as by a sphere, less alike the farther apart: every delay is found again.
TEST(Delays, AreThoseOfTheResponses) {
    const unit_vectors directions = rings(15, -75, 75);
    std::mt19937 random(2);
    std::normal_distribution<double> any;
    signal common(40);
    for (double &sample : common) sample = any(random);
    std::vector<spectrum> responses;
    std::vector<double> expected;
    for (const unit_vector &one : directions) {
        signal own = common;
        for (double &sample : own) sample += 0.3 * any(random);
        expected.push_back(17 - 17 * one.y());
        responses.push_back(advanced(softened(own), -expected.back()));
    }
    const auto delays = solve_delays(responses, directions, triangulate(directions));
    EXPECT_EQ(std::ranges::min(delays), 0);
    double offset = 0;
    for (std::size_t n = 0; n < delays.size(); ++n)
        offset += (delays[n] - expected[n]) / static_cast<double>(delays.size());
    for (std::size_t n = 0; n < delays.size(); ++n)
        EXPECT_NEAR(delays[n] - offset, expected[n], 0.2) << n;
}

} // namespace
} // namespace preparation
