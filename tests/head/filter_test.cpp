/*
 * The filters of any direction: against the same formula in floating point, over the whole sphere
 * and at its awkward places; the same bits from every isa.
 */
#include "../support/isas.hpp"
#include "../support/operands.hpp"
#include "head/kernels.hpp"
#include "made_head.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace earshot::test {
namespace {

using spectrum = std::vector<std::complex<double>>;

/* A head, and what its filters should be: in floating point, the triangle found by trying all. */
class model {
  public:
    explicit model(int divisions) : made_(divisions), head_(made_.opened()) {}

    made_head &made() { return made_; }

    earshot_filter_pair filter(s32 azimuth, s32 elevation) const {
        earshot_filter_pair pair;
        EXPECT_EQ(EARSHOT_OK, earshot_head_filter(head_, azimuth, elevation, &pair));
        return pair;
    }

    spectrum expected(const point &d, u32 ear) {
        const mesh &m = made_.shape();
        double best = -1;
        std::array<double, 3> weights{};
        std::array<u32, 3> corners{};
        for (const auto &t : m.triangles) {
            std::array<double, 3> inside;
            for (u32 k = 0; k < 3; ++k)
                inside[k] = dot(cross(m.vertices[t[(k + 1) % 3]], m.vertices[t[(k + 2) % 3]]), d);
            const double least = *std::min_element(inside.begin(), inside.end());
            if (least <= best) continue;
            best = least;
            weights = inside;
            corners = t;
        }
        const double sum = weights[0] + weights[1] + weights[2];
        double delay = 0;
        for (u32 k = 0; k < 3; ++k)
            delay += weights[k] / sum * made_.vertices()[corners[k]].delay[ear] / 65536;
        spectrum result;
        for (u32 bin = 0; bin < 128; ++bin) {
            std::complex<double> mixed;
            for (u32 k = 0; k < 3; ++k) {
                const u32 record = made_.vertices()[corners[k]].record[ear];
                const s32 *words = made_.records() + std::size_t{filter_words} * record + 2 * bin;
                const std::complex<double> entry(record_value(static_cast<u32>(words[0])),
                                                 record_value(static_cast<u32>(words[1])));
                mixed += weights[k] / sum * entry / double{1 << 21};
            }
            const double shrunk = std::pow(32767.0 / 32768, 2);
            result.push_back(mixed * std::polar(shrunk, -std::acos(-1.0) / 128 * bin * delay));
        }
        return result;
    }

  private:
    made_head made_;
    const earshot_head *head_;
};

spectrum entries_of(const earshot_filter_pair &pair, u32 ear) {
    spectrum result;
    for (u32 bin = 0; bin < 128; ++bin)
        result.emplace_back(pair.ear[ear][2 * bin] / double{1 << 29},
                            bin == 0 ? 0 : pair.ear[ear][2 * bin + 1] / double{1 << 29});
    return result;
}

/* Energy of the difference over that of what is expected, in dB. */
double difference(const spectrum &actual, const spectrum &expected) {
    double error = 0, energy = 0;
    for (u32 bin = 0; bin < expected.size(); ++bin) {
        error += std::norm(actual[bin] - expected[bin]);
        energy += std::norm(expected[bin]);
    }
    return 10 * std::log10(error / energy + 1e-30);
}

struct direction {
    s32 azimuth, elevation; /* degrees, Q16 */
};

direction towards(const point &p) {
    const double unit = 180 * 65536 / std::acos(-1.0);
    const point d = normalised(p);
    return {static_cast<s32>(std::lround(std::atan2(d[1], d[0]) * unit)),
            static_cast<s32>(std::lround(std::asin(std::clamp(d[2], -1.0, 1.0)) * unit))};
}

/* Vertices, points on sides, near them and anywhere. */
std::vector<direction> directions_over(const mesh &m, operand_source &draw, int count) {
    std::vector<direction> result;
    for (int i = 0; i < count; ++i) {
        const auto &t = m.triangles[static_cast<size_t>(draw.below(m.triangles.size()))];
        const double along = draw.between(0, 1000) / 1000.0;
        point p = m.vertices[t[0]];
        if (i % 2)
            for (u32 c = 0; c < 3; ++c) p[c] += along * m.vertices[t[1]][c];
        result.push_back(towards(p));
        result.push_back({result.back().azimuth + draw.between(-50, 50),
                          result.back().elevation + draw.between(-50, 50)});
        result.push_back({draw.between(-180 << 16, 180 << 16), draw.between(-90 << 16, 90 << 16)});
    }
    return result;
}

TEST(HeadFilter, FollowsTheFormulaEverywhere) {
    for (const int divisions : {0, 2, 3}) {
        model m(divisions);
        operand_source draw;
        double worst = -300;
        for (const direction &d : directions_over(m.made().shape(), draw, 120)) {
            const earshot_filter_pair pair = m.filter(d.azimuth, d.elevation);
            const s32 elevation = std::clamp(d.elevation, -90 << 16, 90 << 16);
            for (u32 ear = 0; ear < 2; ++ear) {
                const spectrum expected = m.expected(direction_of(d.azimuth, elevation), ear);
                const double error = difference(entries_of(pair, ear), expected);
                worst = std::max(worst, error);
                ASSERT_LT(error, divisions == 0 ? -80 : -88)
                    << d.azimuth << ' ' << d.elevation << " ear " << ear;
                for (const auto &entry : entries_of(pair, ear))
                    ASSERT_LE(std::abs(entry), pair.gain / 65536.0);
            }
            ASSERT_EQ(0, pair.ear[0][1]);
            ASSERT_EQ(0u, pair.reserved);
        }
        std::printf("%d divisions: error %.1f dB at most\n", divisions, worst);
    }
}

/* A vertex has its own filters and delay, and no more gain than it needs. */
TEST(HeadFilter, GivesTheVerticesThemselves) {
    model m(3);
    const mesh &shape = m.made().shape();
    for (u32 v = 0; v < shape.vertices.size(); ++v) {
        const direction d = towards(shape.vertices[v]);
        EXPECT_NEAR(m.made().vertices()[v].gain, m.filter(d.azimuth, d.elevation).gain, 40);
    }
}

TEST(HeadFilter, TurnsWrapAndElevationsAreClamped) {
    model m(2);
    operand_source draw;
    const auto expect_same = [&](direction a, s32 azimuth, s32 elevation) {
        const earshot_filter_pair first = m.filter(a.azimuth, a.elevation),
                                  second = m.filter(azimuth, elevation);
        EXPECT_EQ(0, std::memcmp(&first, &second, sizeof first)) << azimuth << ' ' << elevation;
    };
    constexpr s32 turn = 360 << 16, up = 90 << 16;
    for (int i = 0; i < 300; ++i) {
        const s32 azimuth = draw.next<s32>(), elevation = draw.next<s32>();
        const s32 rest = (azimuth % turn + turn) % turn;
        expect_same({rest, std::clamp(elevation, -up, up)}, azimuth, elevation);
    }
    for (const s32 end : {-up, up}) /* the poles are one direction each, but for a unit */
        for (const s32 azimuth : {INT32_MIN, -turn / 2, 1, turn - 1, INT32_MAX})
            EXPECT_LT(
                difference(entries_of(m.filter(azimuth, end), 0), entries_of(m.filter(0, end), 0)),
                -80);
}

/* Steps of a hundredth of a degree over sides and vertices: what delays of a few samples between
 * neighbours make of it is 44 dB below the filter, another triangle's filter is 20. */
TEST(HeadFilter, ChangesByLittleWithTheDirection) {
    model m(2);
    operand_source draw;
    double worst = -300;
    for (const direction &d : directions_over(m.made().shape(), draw, 300)) {
        const bool sideways = draw.below(2) != 0 && std::abs(d.elevation) < 85 << 16;
        const earshot_filter_pair before = m.filter(d.azimuth, d.elevation),
                                  after = m.filter(d.azimuth + (sideways ? 655 : 0),
                                                   d.elevation + (sideways ? 0 : 655));
        for (u32 ear = 0; ear < 2; ++ear)
            worst = std::max(worst, difference(entries_of(after, ear), entries_of(before, ear)));
    }
    EXPECT_LT(worst, -42);
    EXPECT_GT(worst, -70);
}

/* Words at their bounds, weights from nothing to all, any turn. */
TEST(HeadFilter, IsTheSameOnEveryIsa) {
    operand_source draw;
    for (int i = 0; i < 200; ++i) {
        std::vector<s32> records(6 * filter_words + 5);
        for (s32 &word : records) {
            const s32 any = draw.next<s32>();
            word = static_cast<s32>(
                record_word(std::clamp(any >> draw.between(8, 16), -(1 << 23), (1 << 23) - 129)));
        }
        head_blend blend;
        for (u32 k = 0; k < 6; ++k)
            blend.record[k / 3][k % 3] =
                &records[filter_words * k + static_cast<u32>(draw.below(6))];
        const u32 some = static_cast<u32>(draw.below(5) ? draw.below(16385) : 16384);
        const u32 more = static_cast<u32>(draw.below(16385 - some));
        for (u32 k = 0; k < 3; ++k)
            blend.weight[(k + u32(i)) % 3] = k == 0 ? some : k == 1 ? more : 16384 - some - more;
        for (u32 &turn : blend.turn) turn = static_cast<u32>(draw.next<s32>());
        std::vector<s32> expected(2 * filter_words + 2, 77), actual;
        const auto ears = [](std::vector<s32> &words) {
            return reinterpret_cast<s32(*)[filter_words]>(&words[1]);
        };
        head_kernels_for(isa::scalar).make_filters(ears(expected), blend);
        for (const isa other : all_isas) {
            if (!is_available(other)) continue;
            actual.assign(expected.size(), 77);
            head_kernels_for(other).make_filters(ears(actual), blend);
            ASSERT_EQ(expected, actual) << name_of(other);
        }
    }
    on_every_isa([](isa) {}); /* names those that this processor lacks */
}

} // namespace
} // namespace earshot::test
