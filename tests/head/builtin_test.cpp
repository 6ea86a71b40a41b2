/*
 * The built-in head: whole, its own mirror image, at measured directions what the tables hold,
 * between them within the taps that frames leave it; every bit of it pinned.
 */
#include "../support/digest.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"
#include "made_head.hpp"

#include <earshot/earshot.h>

#include <gtest/gtest.h>

namespace earshot::test {
namespace {

constexpr double pi = 3.14159265358979323846, rate = 48000;
constexpr s32 degree = 65536;

class HeadBuiltin : public ::testing::Test {
  protected:
    std::vector<s32> memory_ = std::vector<s32>(earshot_head_builtin_size() / sizeof(s32));
    const earshot_head *head_ = nullptr;

    void SetUp() override { ASSERT_EQ(EARSHOT_OK, make(memory_, head_)); }
    static u32 make(std::vector<s32> &memory, const earshot_head *&head) {
        return earshot_head_builtin(memory.data(), memory.size() * sizeof(s32), &head);
    }
    earshot_filter_pair filter(s32 azimuth, s32 elevation) const {
        earshot_filter_pair pair;
        EXPECT_EQ(EARSHOT_OK, earshot_head_filter(head_, azimuth, elevation, &pair));
        return pair;
    }
};

TEST_F(HeadBuiltin, IsAWholeHead) {
    const earshot_head *opened = nullptr;
    const size_t size = memory_.size() * sizeof(s32);
    ASSERT_EQ(EARSHOT_OK, earshot_head_open(memory_.data(), size, &opened));
    earshot_head_info info;
    ASSERT_EQ(EARSHOT_OK, earshot_head_describe(opened, &info));
    EXPECT_EQ(710u, info.directions);
    EXPECT_EQ(19u, info.filled);
    EXPECT_EQ(25u, info.channels);
    EXPECT_NE(nullptr, std::strstr(info.name, "KEMAR"));
    const earshot_head *none = nullptr;
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_builtin(nullptr, size, &none));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_builtin(memory_.data(), size, nullptr));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_builtin(memory_.data(), size - 1, &none));
    auto *odd = reinterpret_cast<unsigned char *>(memory_.data()) + 2;
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_builtin(odd, size, &none));
    EXPECT_EQ(nullptr, none);
}

/* A change of these is a change of every scene that goes by a head. */
TEST_F(HeadBuiltin, IsPinnedToTheBit) {
    on_every_isa([this](isa) {
        const earshot_head *head = nullptr;
        std::vector<s32> memory(memory_.size());
        ASSERT_EQ(EARSHOT_OK, make(memory, head));
        digest bytes, filters;
        for (const s32 word : memory) bytes.add(word);
        operand_source draw(7);
        for (int i = 0; i < 500; ++i) {
            const s32 azimuth = draw.between(-200 * degree, 200 * degree);
            const earshot_filter_pair pair =
                filter(azimuth, draw.between(-90 * degree, 90 * degree));
            for (const auto &ear : pair.ear)
                for (const s32 word : ear) filters.add(word);
            filters.add(pair.gain);
        }
        EXPECT_EQ(13480970777292375665u, bytes.value());
        EXPECT_EQ(3652140217166048028u, filters.value());
    });
}

/* Its triangles are too; where they meet, weights may differ by their rounding. */
TEST_F(HeadBuiltin, SwapsEarsWhereDirectionsAreMirrored) {
    operand_source draw;
    for (int i = 0; i < 500; ++i) {
        const s32 azimuth = draw.between(-180 * degree, 180 * degree);
        const s32 elevation = draw.between(-90 * degree, 90 * degree);
        const earshot_filter_pair one = filter(azimuth, elevation),
                                  other = filter(-azimuth, elevation);
        s32 largest = 0;
        for (u32 ear = 0; ear < 2; ++ear)
            for (u32 k = 0; k < filter_words; ++k)
                largest = std::max(largest, std::abs(one.ear[ear][k] - other.ear[1 - ear][k]));
        ASSERT_LE(largest, 1 << 16) << azimuth << ' ' << elevation;
    }
}

TEST_F(HeadBuiltin, ChannelsAreThoseOfTheTables) {
    hrtf_instance instance, *hrtf = &instance;
    const hrtf_config amb = {2};
    ASSERT_EQ(EARSHOT_OK, hrtf_init(&hrtf, 1, &amb, &instance, sizeof instance));
    for (u32 c = 0; c < EARSHOT_HEAD_CHANNELS; ++c) {
        const earshot_filter_pair *pair = nullptr;
        ASSERT_EQ(EARSHOT_OK, earshot_head_channel(head_, c, &pair));
        hrtf_position position = {0, static_cast<s32>(c) * degree, 0};
        hrtf_filter_pair tables;
        ASSERT_EQ(EARSHOT_OK, hrtf_selection(hrtf, &position, &tables));
        double largest = 0;
        for (u32 ear = 0; ear < 2; ++ear) {
            ASSERT_EQ(0, std::memcmp(tables.ear[ear], pair->ear[ear], sizeof pair->ear[ear]));
            largest = std::max({largest, std::abs(double(pair->ear[ear][0])),
                                std::abs(double(pair->ear[ear][1]))});
            for (u32 k = 2; k < filter_words; k += 2)
                largest = std::max(largest, std::hypot(pair->ear[ear][k], pair->ear[ear][k + 1]));
        }
        EXPECT_EQ(std::ceil(largest / 8192), pair->gain);
    }
}

// --- Beside the tables ---------------------------------------------------------------------------

using samples = std::vector<double>;

samples response_of(const s32 *filter) {
    samples cosines(256), result(256);
    for (u32 n = 0; n < 256; ++n) cosines[n] = std::cos(2 * pi * n / 256);
    for (u32 n = 0; n < 256; ++n) {
        double sum = filter[0] + (n % 2 ? -1.0 : 1.0) * filter[1];
        for (u32 bin = 1; bin < 128; ++bin)
            sum += 2 * (filter[2 * bin] * cosines[bin * n % 256] -
                        filter[2 * bin + 1] * cosines[(bin * n + 192) % 256]);
        result[n] = sum / 256 / (1 << 29);
    }
    return result;
}

double energy_at(const samples &x, double frequency) {
    const std::complex<double> z = std::polar(1.0, -2 * pi * frequency / rate);
    std::complex<double> sum;
    for (std::size_t n = x.size(); n-- > 0;) sum = sum * z + x[n];
    return std::norm(sum);
}

double third_octave(const samples &x, double centre) {
    double sum = 0;
    for (int k = -8; k <= 8; ++k) sum += energy_at(x, centre * std::pow(2, k / 51.0));
    return 10 * std::log10(sum);
}

/* By how many seconds one filter is later than another that is much the same: the slope of the
 * phase between them, by energy. */
double lag(const s32 *filter, const s32 *other) {
    double product = 0, square = 0;
    for (u32 bin = 1; bin < 107; ++bin) {
        const std::complex<double> a(filter[2 * bin], filter[2 * bin + 1]);
        const std::complex<double> b(other[2 * bin], other[2 * bin + 1]);
        product -= bin * (a * std::conj(b)).imag();
        square += double(bin) * bin * std::norm(b);
    }
    return product / square * 256 / (2 * pi) / rate;
}

TEST_F(HeadBuiltin, AgreesWithTheTablesAtMeasuredDirections) {
    hrtf_instance instance, *hrtf = &instance;
    const hrtf_config diffuse = {0};
    ASSERT_EQ(EARSHOT_OK, hrtf_init(&hrtf, 1, &diffuse, &instance, sizeof instance));
    double worst_lag = 0, worst_level = 0;
    const head_vertex *vertices = sections_of(head_).vertices;
    for (u32 v = 0; v < 710; v += 9) {
        const s32 *d = vertices[v].direction;
        hrtf_position at = {
            0, static_cast<s32>(std::lround(std::atan2(d[1], d[0]) * 180 / pi * degree)),
            static_cast<s32>(std::lround(std::asin(d[2] / double{1 << 30}) * 180 / pi * degree))};
        const earshot_filter_pair pair = filter(at.azimuth, at.elevation);
        hrtf_filter_pair tables;
        ASSERT_EQ(EARSHOT_OK, hrtf_selection(hrtf, &at, &tables));
        const double itd = lag(pair.ear[0], tables.ear[0]) - lag(pair.ear[1], tables.ear[1]);
        worst_lag = std::max(worst_lag, std::abs(itd));
        for (u32 ear = 0; ear < 2; ++ear) {
            const samples made = response_of(pair.ear[ear]), stored = response_of(tables.ear[ear]);
            for (int band = -7; band <= 12; ++band) { /* 198 Hz to 16 kHz */
                const double centre = 1000 * std::pow(2, band / 3.0);
                const double level = third_octave(made, centre) - third_octave(stored, centre);
                worst_level = std::max(worst_level, std::abs(level));
            }
        }
    }
    std::printf("interaural time %.3f us, third octaves %.3f dB\n", worst_lag * 1e6, worst_level);
    EXPECT_LT(worst_lag, 1e-6);
    EXPECT_LT(worst_level, 0.2);
}

TEST_F(HeadBuiltin, KeepsWithinItsTaps) {
    operand_source draw;
    double outside = 0, worst = 0;
    constexpr int count = 300;
    for (int i = 0; i < count; ++i) {
        const earshot_filter_pair pair =
            filter(draw.between(0, 360 * degree), draw.between(-90 * degree, 90 * degree));
        const samples x = response_of(pair.ear[i % 2]);
        double all = 0, beyond = 0;
        for (u32 n = 0; n < 256; ++n) all += x[n] * x[n];
        for (u32 n = 140; n < 236; ++n) beyond += x[n] * x[n];
        outside += beyond / all / count;
        worst = std::max(worst, beyond / all);
    }
    std::printf("outside of its taps: %.1f dB on average, %.1f at most\n", 10 * std::log10(outside),
                10 * std::log10(worst));
    EXPECT_LT(10 * std::log10(outside), -109);
    EXPECT_LT(10 * std::log10(worst), -92);
}

} // namespace
} // namespace earshot::test
