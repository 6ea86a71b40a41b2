/* From directions to filters: the nearest record of the tables, and none outside them. */
#include "tests/support/operands.hpp"

#include <earshot/earshot.h>
#include <earshot/hrtf.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

namespace earshot::test {
namespace {

constexpr s32 deg = 65536;

struct selector {
    explicit selector(u32 table) {
        const hrtf_config config = {table};
        EXPECT_EQ(0u, hrtf_init(&handle, 1, &config, &memory, sizeof memory));
    }
    hrtf_instance memory{}, *handle = nullptr;
};

/* Entries from the start of the diffuse filters; the amb filters follow them. */
std::ptrdiff_t entry_of(const s32 *filter) {
    return (reinterpret_cast<std::intptr_t>(filter) -
            reinterpret_cast<std::intptr_t>(&hrtf_kemar_diffuse_rfft256)) /
           8;
}

TEST(HrtfSelect, TableSetsAreDescribed) {
    for (const u32 number : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
        hrtf_filter_info info{}, *record = &info;
        info.table_selector = number;
        const bool amb = number == 2, refused = number == 3;
        EXPECT_EQ(refused ? 2u : 0u, get_filter_info(&record));
        EXPECT_EQ(number, info.table_selector);
        EXPECT_EQ(refused ? 0 : amb ? 1 : 18, info.num_elevations);
        EXPECT_EQ(refused ? 0 : amb ? 6400 : 125952, info.length);
        EXPECT_EQ(refused ? 0 : 29, info.q_format);
        EXPECT_EQ(refused ? 0 : 256, info.fft_size);
        EXPECT_EQ(refused ? 0 : 256, info.azimuth_offset);
        EXPECT_EQ(refused ? nullptr : hrtf_table_info[amb], info.table_info);
        EXPECT_EQ(refused ? nullptr : hrtf_fft_filter[amb], info.filters);
    }
}

/* Records count from the row's first; swapped: ear 0 has the record's second half. */
TEST(HrtfSelect, DirectionsGiveTheNearestRecord) {
    struct {
        u32 table;
        s32 azimuth, elevation, clamped;
        u32 row;
        s32 record;
        bool swapped;
    } const cases[] = {
        {0, 0, 0, 0, 4, 0, false},
        {0, 359 * deg, 0, 0, 4, 0, true},
        {0, -90 * deg, 0, 0, 4, 18, true},
        {0, 5 * deg / 2, 0, 0, 4, 1, false},
        {0, 5 * deg / 2 - 1, 0, 0, 4, 0, false},
        {0, 180 * deg, 0, 0, 4, 36, false},
        {0, 180 * deg + 1, 0, 0, 4, 36, true},
        {0, 360 * deg, 0, 0, 4, 0, true},
        {0, -360 * deg, 0, 0, 4, 0, false},
        {0, 720 * deg, 0, 0, 4, 0, true},
        {0, INT32_MIN, 0, 0, 4, 2, true},  // 352 degrees
        {0, INT32_MAX, 0, 0, 4, 2, false}, // 8 degrees
        {4, 0, 100 * deg, 90 * deg, 17, 0, false},
        {0, 0, INT32_MIN, -40 * deg, 0, 0, false},
        {0, 0, INT32_MAX, 90 * deg, 17, 0, false},
        {0, 0, 31 * deg, 31 * deg, 7, 0, false},
        {0, 0, 31 * deg + 1, 31 * deg + 1, 8, 0, false},
        {0, 0, 35 * deg, 35 * deg, 9, 0, false},
        {0, 0, 45 * deg, 45 * deg, 12, 0, false},
        {0, 180 * deg, 50 * deg, 50 * deg, 13, 23, false}, // the first of the next row
        {0, 180 * deg, 90 * deg, 90 * deg, 17, 1, false},  // the first amb record
        {0, -180 * deg, -40 * deg, -40 * deg, 0, 28, false},
        {2, 24 * deg, 80 * deg, 80 * deg, 0, 24, false},
        {2, -24 * deg, 0, 0, 0, 24, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        selector s(c.table);
        const std::ptrdiff_t first =
            (c.table == 2 ? 125952 : hrtf_kemar_diffuse_table_info[c.row].offset) + 256 * c.record;
        hrtf_position position = {77, c.azimuth, c.elevation};
        for (int call = 0; call < 3; ++call) {
            hrtf_filter_pair pair{};
            EXPECT_EQ(0u, call == 0   ? hrtf_process(s.handle, 3, &pair, 2, &position)
                          : call == 1 ? hrtf_selection(s.handle, &position, &pair)
                                      : find_nearest_filt(s.handle, &position, c.row, &pair));
            EXPECT_EQ(first + (c.swapped ? 128 : 0), entry_of(pair.ear[0]));
            EXPECT_EQ(first + (c.swapped ? 0 : 128), entry_of(pair.ear[1]));
        }
        EXPECT_EQ(c.azimuth, position.azimuth);
        EXPECT_EQ(c.clamped, position.elevation);
    }
}

/* Any azimuth, in rows of the tables and of any content: the record that the loops of the
 * definition give, if it lies in the tables, else none. */
TEST(HrtfSelect, AnyAzimuthFollowsTheLoops) {
    operand_source source;
    const s64 all = 125952 + 6400 + 27; // the last are rows
    for (int i = 0; i < rounds; ++i) {
        selector s(0);
        const auto index = static_cast<u32>(source.below(18));
        hrtf_table_row rows[18];
        std::copy_n(hrtf_kemar_diffuse_table_info, 18, rows);
        hrtf_table_row &row = rows[index];
        const bool amb = source.below(4) == 0;
        if (source.below(2)) row.azimuth_step = source.between(1, 1 << source.between(1, 24));
        if (source.below(4) == 0) row.offset = source.next<s32>();
        if (source.below(4) == 0) row.offset = source.between(-130000, 130000);
        s.memory.filter_info.table_info = rows;
        s.memory.filter_info.filters = hrtf_fft_filter[amb];

        hrtf_position position = {0, source.next<s32>(), 0};
        s64 turn = position.azimuth;
        while (turn < 0) turn += 360 * deg;
        while (turn > 360 * deg) turn -= 360 * deg;
        const bool swapped = turn > 180 * deg;
        const s64 folded = swapped ? 360 * deg - turn : turn, step = row.azimuth_step;
        const s64 record = (2 * folded + step) / (2 * step); // nearest, halves up
        const s64 first = (amb ? 125952 : 0) + s64{row.offset} + 256 * record;
        const bool inside = first >= 0 && first + 256 <= all;

        hrtf_filter_pair pair{};
        ASSERT_EQ(inside ? 0u : 2u, find_nearest_filt(s.handle, &position, index, &pair));
        ASSERT_EQ(inside, pair.ear[0] != nullptr);
        if (!inside) continue;
        ASSERT_EQ(first + (swapped ? 128 : 0), entry_of(pair.ear[0]));
        ASSERT_EQ(first + (swapped ? 0 : 128), entry_of(pair.ear[1]));
    }
    selector amb(2), fewer(0);
    fewer.memory.filter_info.num_elevations = 17;
    hrtf_position position = {0, 25 * deg, 0};
    hrtf_filter_pair pair{};
    EXPECT_EQ(2u, hrtf_process(amb.handle, 3, &pair, 2, &position));
    for (const u32 no_row : {17u, 18u, 0xFFFFFFFFu})
        EXPECT_EQ(2u, find_nearest_filt(fewer.handle, &position, no_row, &pair));
    EXPECT_EQ(nullptr, pair.ear[0]);
}

TEST(HrtfSelect, NearestElevationHasNoClamp) {
    const hrtf_table_row rows[] = {{-10, 0, 0}, {10, 0, 0}, {INT32_MAX, 0, 0}, {11, 0, 0}};
    EXPECT_EQ(0u, find_nearest_elevation(0, 4, rows));
    EXPECT_EQ(1u, find_nearest_elevation(1, 4, rows));
    EXPECT_EQ(2u, find_nearest_elevation(INT32_MIN, 4, rows)); // the difference wraps to 1
    EXPECT_EQ(0u, find_nearest_elevation(11, -1, rows));
    EXPECT_EQ(0u, find_nearest_elevation(11, 0, nullptr));
    clearOverflow();
    const hrtf_table_row only = {0, 0, 0};
    EXPECT_EQ(0u, find_nearest_elevation(INT32_MIN, 1, &only));
    EXPECT_EQ(1, isOverflow());
    clearOverflow();
}

} // namespace
} // namespace earshot::test
