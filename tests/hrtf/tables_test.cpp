/* The HRTF tables as data: their order in memory, and what any head's responses must show. How
 * close they are to the measurement is the report tool's to check. */
#include "hrtf/tables.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

namespace earshot::test {
namespace {

struct bins {
    std::complex<double> value[129];
    std::complex<double> &operator[](int k) { return value[k]; }
    const std::complex<double> &operator[](int k) const { return value[k]; }
};
constexpr double pi = 3.14159265358979323846;
constexpr int entries = 128; /* of a filter */

struct row_rule {
    int elevation;
    s32 step_word;
    int records;
};
constexpr row_rule row_rules[18] = {
    {-40, 421396, 29}, {-30, 393216, 31}, {-20, 327680, 37}, {-10, 327680, 37}, {0, 327680, 37},
    {10, 327680, 37},  {20, 327680, 37},  {30, 393216, 31},  {32, 393216, 31},  {34, 393216, 31},
    {36, 393216, 31},  {38, 393216, 31},  {40, 421396, 29},  {50, 524288, 23},  {60, 655360, 19},
    {70, 983040, 13},  {80, 1966080, 7},  {90, 23592960, 1}};

double azimuth_of(int row, int record) { /* degrees */
    return std::abs(row_rules[row].elevation) == 40 ? record * 360.0 / 56
                                                    : record * row_rules[row].step_word / 65536.0;
}

const s32 (*filter_of(int row, int record, int ear))[2] {
    return hrtf_kemar_diffuse_rfft256 + hrtf_kemar_diffuse_table_info[row].offset +
           (2 * record + ear) * entries;
}

const s32 (*channel_of(int channel, int ear))[2] {
    return hrtf_kemar_amb_rfft256 + (2 * channel + ear) * entries;
}

bins unpack(const s32 (*filter)[2]) {
    bins result;
    for (int k = 1; k < entries; ++k) result[k] = {filter[k][0] * 0x1p-29, filter[k][1] * 0x1p-29};
    result[0] = filter[0][0] * 0x1p-29;
    result[128] = filter[0][1] * 0x1p-29;
    return result;
}

bins diffuse(int row, int record, int ear) { return unpack(filter_of(row, record, ear)); }

/* By how much the right ear is later at about 375 Hz, in microseconds. */
double lag(const bins &left, const bins &right) {
    return std::arg(left[2] * std::conj(right[2])) / (2 * pi * 375) * 1e6;
}

double level(const bins &ear, int from, int to) { /* dB, mean power of the bins */
    double power = 0;
    for (int k = from; k < to; ++k) power += std::norm(ear[k]);
    return 10 * std::log10(power / (to - from));
}

template <typename function> void for_each_record(function visit) {
    for (int row = 0; row < 18; ++row) {
        for (int record = 0; record < row_rules[row].records; ++record) visit(row, record);
    }
}

TEST(hrtf_tables, lie_one_after_the_other) {
    /* Compilers take two names for two objects unless they lose sight of them. */
    const auto address = [](const void *at) {
        const void *volatile hidden = at;
        return reinterpret_cast<std::uintptr_t>(hidden);
    };
    const auto filters = address(hrtf_kemar_diffuse_rfft256);
    EXPECT_EQ(filters % 16, 0u);
    EXPECT_EQ(address(hrtf_kemar_amb_rfft256), filters + 1007616);
    EXPECT_EQ(address(hrtf_kemar_diffuse_table_info), filters + 1007616 + 51200);
    EXPECT_EQ(sizeof hrtf_kemar_diffuse_table_info, 216u);
    /* One object under two names. */
    EXPECT_EQ(address(::hrtf_kemar_diffuse_rfft256), filters);
    EXPECT_EQ(address(::hrtf_kemar_amb_rfft256), address(hrtf_kemar_amb_rfft256));
    EXPECT_EQ(address(::hrtf_kemar_diffuse_table_info), address(hrtf_kemar_diffuse_table_info));
    EXPECT_EQ(address(::hrtf_kemar_amb_table_info), address(hrtf_kemar_amb_table_info));
}

TEST(hrtf_tables, have_rows_that_fill_them) {
    s32 offset = 0;
    for (int row = 0; row < 18; ++row) {
        const hrtf_table_row &stored = ::hrtf_table_info[0][row];
        EXPECT_EQ(stored.elevation, row_rules[row].elevation * 65536) << row;
        EXPECT_EQ(stored.offset, offset) << row;
        EXPECT_EQ(stored.azimuth_step, row_rules[row].step_word) << row;
        offset += row_rules[row].records * ::hrtf_azimuth_offset_grp[0];
    }
    EXPECT_EQ(offset, ::hrtf_len_grp[0]);
    const hrtf_table_row &amb = ::hrtf_table_info[1][0];
    EXPECT_EQ(amb.elevation, 0);
    EXPECT_EQ(amb.offset, 0);
    EXPECT_EQ(amb.azimuth_step, 65536);
    EXPECT_EQ(25 * ::hrtf_azimuth_offset_grp[1], ::hrtf_len_grp[1]);
    for (int group = 0; group < 2; ++group) {
        EXPECT_EQ(::hrtf_num_elevation_grp[group], group == 0 ? 18 : 1);
        EXPECT_EQ(::hrtf_fft_size_grp[group], 256);
        EXPECT_EQ(::hrtf_q_format_grp[group], 29);
    }
}

/* 128 taps, the rest silent; the scale; and the most that comes of samples within 1,
 * which tells how much headroom a program has to keep. */
TEST(hrtf_tables, hold_short_responses) {
    std::complex<double> circle[256];
    for (int k = 0; k < 256; ++k) circle[k] = std::polar(1.0, 2 * pi * k / 256);
    double inside = 0, outside = 0, largest_sum[2] = {0, 0}, largest_word = 0;
    const auto look_at = [&](const s32(*filter)[2], int table) {
        const bins spectrum = unpack(filter);
        double sum = 0;
        for (int n = 0; n < 256; ++n) {
            double tap = spectrum[0].real() + (n % 2 == 0 ? 1 : -1) * spectrum[128].real();
            for (int k = 1; k < 128; ++k) tap += 2 * (spectrum[k] * circle[n * k % 256]).real();
            tap /= 256;
            (n < 128 ? inside : outside) += tap * tap;
            sum += std::abs(tap);
        }
        largest_sum[table] = std::max(largest_sum[table], sum);
        for (int k = 0; k < entries; ++k) {
            for (s32 word : {filter[k][0], filter[k][1]})
                largest_word = std::max(largest_word, std::abs(word * 0x1p-29));
        }
    };
    for (int filter = 0; filter < 2 * 492; ++filter)
        look_at(hrtf_kemar_diffuse_rfft256 + filter * entries, 0);
    for (int filter = 0; filter < 2 * 25; ++filter)
        look_at(hrtf_kemar_amb_rfft256 + filter * entries, 1);
    EXPECT_LT(outside, inside * 1e-16); /* -160 dB */
    EXPECT_LT(largest_word, 3.34);
    EXPECT_GT(largest_word, 3.33);
    EXPECT_NEAR(largest_sum[0], 7.62, 0.005);
    EXPECT_NEAR(largest_sum[1], 3.24, 0.005);
}

/* All stored directions are on the left or in the median plane. */
TEST(hrtf_tables, have_the_left_ear_first) {
    for_each_record([](int row, int record) {
        const double azimuth = azimuth_of(row, record);
        const bins left = diffuse(row, record, 0), right = diffuse(row, record, 1);
        if (azimuth == 0 || std::abs(azimuth - 180) < 1e-9) {
            const s32 *words = filter_of(row, record, 0)[0];
            EXPECT_TRUE(std::equal(words, words + 256, words + 256)) << row << ", " << record;
            return;
        }
        EXPECT_GT(lag(left, right), 10) << row << ", " << record;
        EXPECT_GT(level(left, 2, 86), level(right, 2, 86)) << row << ", " << record;
    });
    const bins left = diffuse(4, 18, 0), right = diffuse(4, 18, 1);
    /* 3 a sin(azimuth) / c for a sphere of the head's size, at low frequencies */
    EXPECT_NEAR(lag(left, right), 3 * 0.0875 / 343 * 1e6, 75);
    EXPECT_GT(level(left, 11, 54) - level(right, 11, 54), 8);
}

/* From 30 to 40 degrees, wherever both have the azimuth, or nearly so. */
TEST(hrtf_tables, go_smoothly_from_30_to_40_degrees) {
    for (int row = 8; row <= 11; ++row) {
        for (int record = 0; record < 31; ++record) {
            const double place = azimuth_of(row, record) * 56 / 360;
            const int below = static_cast<int>(place + 1e-9);
            const int above = std::min(below + 1, 28);
            const auto between = [&](double is, double at_30, double at_40_below,
                                     double at_40_above, double slack) {
                EXPECT_GE(is, std::min({at_30, at_40_below, at_40_above}) - slack)
                    << row << ", " << record;
                EXPECT_LE(is, std::max({at_30, at_40_below, at_40_above}) + slack)
                    << row << ", " << record;
            };
            const auto lag_at = [](int r, int j) {
                return lag(diffuse(r, j, 0), diffuse(r, j, 1));
            };
            between(lag_at(row, record), lag_at(7, record), lag_at(12, below), lag_at(12, above),
                    3);
            for (int ear = 0; ear < 2; ++ear) { /* octaves */
                for (int from = 2; from < 64; from *= 2) {
                    const auto level_at = [&](int r, int j) {
                        return level(diffuse(r, j, ear), from, 2 * from);
                    };
                    between(level_at(row, record), level_at(7, record), level_at(12, below),
                            level_at(12, above), 0.5);
                }
            }
        }
    }
}

int order_of(int channel) { return static_cast<int>(std::sqrt(channel)); }
int degree_of(int channel) { return channel - order_of(channel) * (order_of(channel) + 1); }

/* The gain of an ambisonic channel, SN3D. */
double encode(int channel, double azimuth, double elevation) {
    const int m = std::abs(degree_of(channel)), n = order_of(channel);
    const double scale = (m == 0 ? 1 : 2) * std::tgamma(n - m + 1) / std::tgamma(n + m + 1);
    const double turn = degree_of(channel) < 0 ? std::sin(m * azimuth) : std::cos(m * azimuth);
    return std::sqrt(scale) *
           std::assoc_legendre(static_cast<unsigned>(n), static_cast<unsigned>(m),
                               std::sin(elevation)) *
           turn;
}

TEST(hrtf_tables, have_symmetric_ambisonic_channels) {
    for (int channel = 0; channel < 25; ++channel) {
        const s32 sign = degree_of(channel) < 0 ? -1 : 1;
        for (int k = 0; k < 2 * entries; ++k) {
            EXPECT_EQ(channel_of(channel, 1)[k / 2][k % 2],
                      sign * channel_of(channel, 0)[k / 2][k % 2])
                << channel << ", " << k;
        }
    }
}

/* A plane wave through the amb tables sounds as the diffuse tables say. */
TEST(hrtf_tables, give_ambisonics_the_diffuse_responses) {
    std::vector<double> lag_errors;
    double low = 0, high = 0;
    for_each_record([&](int row, int record) {
        const double azimuth = azimuth_of(row, record) * pi / 180;
        const double elevation = row_rules[row].elevation * pi / 180;
        bins decoded[2] = {}, wanted[2];
        for (int ear = 0; ear < 2; ++ear) {
            wanted[ear] = diffuse(row, record, ear);
            for (int channel = 0; channel < 25; ++channel) {
                const bins filter = unpack(channel_of(channel, ear));
                const double gain = encode(channel, azimuth, elevation);
                for (int k = 0; k < 129; ++k) decoded[ear][k] += gain * filter[k];
            }
            const auto square = [](double x) { return x * x; };
            low += square(level(decoded[ear], 1, 11) - level(wanted[ear], 1, 11)) / (2 * 492);
            high += square(level(decoded[ear], 14, 85) - level(wanted[ear], 14, 85)) / (2 * 492);
        }
        lag_errors.push_back(std::abs(lag(decoded[0], decoded[1]) - lag(wanted[0], wanted[1])));
    });
    std::sort(lag_errors.begin(), lag_errors.end());
    EXPECT_LT(lag_errors[lag_errors.size() / 2], 10); /* microseconds */
    EXPECT_LT(lag_errors.back(), 50);
    EXPECT_LT(std::sqrt(low), 0.5);  /* dB, to 2 kHz */
    EXPECT_LT(std::sqrt(high), 1.5); /* dB, 2.5 to 16 kHz */
}

} // namespace
} // namespace earshot::test
