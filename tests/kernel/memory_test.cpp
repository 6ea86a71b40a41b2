/* Bounded copies and the allocation cursor. */
#include "../support/operands.hpp"

#include <earshot/kernel.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

namespace earshot::test {
namespace {

using bytes = std::vector<unsigned char>;

/* Between all places of a block, overlapping or not; the bytes around stay. */
TEST(bounded_copy, moves_the_smaller_size) {
    operand_source source;
    bytes before(64);
    std::iota(before.begin(), before.end(), static_cast<unsigned char>(1));
    for (int round = 0; round < rounds; ++round) {
        const u32 from = source.next<u32>() % 32, to = source.next<u32>() % 32;
        const u32 room = source.next<u32>() % 33, size = source.next<u32>() % 33;
        const u32 count = std::min(room, size);
        bytes expected = before, moved = before, copied = before;
        std::copy_n(&before[from], count, &expected[to]);
        ASSERT_EQ(memsmove(&moved[to], room, &moved[from], size), count);
        ASSERT_EQ(moved, expected) << from << " to " << to << ", " << room << " of " << size;
        /* A truncated copy may not overlap. */
        if (size > room && std::max(from, to) - std::min(from, to) < count) continue;
        ASSERT_EQ(memscpy(&copied[to], room, &copied[from], size), count);
        ASSERT_EQ(copied, expected) << from << " to " << to << ", " << room << " of " << size;
    }
}

uintptr_t address(const void *pointer) { return reinterpret_cast<uintptr_t>(pointer); }
uintptr_t round_up(uintptr_t v, uintptr_t step) { return (v / step + (v % step != 0)) * step; }
u32 round_up_32(u64 v, u64 step) { return static_cast<u32>((v + step - 1) / step * step); }

TEST(cursor, moves_by_rounded_sizes) {
    operand_source source;
    for (int round = 0; round < rounds; ++round) {
        const bool paged = round % 2 != 0;
        const auto allocate = paged ? smm_malloc_4kaligned : smm_malloc;
        const auto clear = paged ? smm_calloc_4kaligned : smm_calloc;
        const u32 count = source.next<u32>(), size = source.next<u32>(), product = count * size;
        const auto before = source.next<uintptr_t>(), start = round_up(before, paged ? 4096 : 1);
        uintptr_t cursor = before, at_zero = paged ? static_cast<uintptr_t>(-5) : 0;
        EXPECT_EQ(address(allocate(&cursor, size)), start);
        EXPECT_EQ(cursor, start + round_up_32(size, 8));
        EXPECT_EQ(clear(&at_zero, count, size), nullptr);
        EXPECT_EQ(at_zero, round_up_32(product, 8));
        EXPECT_EQ(smm_malloc_size(size), round_up_32(size, 8));
        EXPECT_EQ(smm_calloc_size(count, size), round_up_32(product, 8));
        EXPECT_EQ(smm_calloc_size_4kaligned(count, size), 2 * round_up_32(product, 4096));
        EXPECT_EQ(allocate(nullptr, size), nullptr);
        ASSERT_FALSE(HasFailure()) << before << ": " << count << " x " << size;
    }
}

TEST(cursor, clears_exactly_what_is_asked_for) {
    for (const auto &[count, size] : {std::pair{1u, 1u}, {3u, 7u}, {0u, 9u}, {0x10001u, 0x10000u}})
        for (const auto clear : {smm_calloc, smm_calloc_4kaligned}) {
            const u32 product = count * size; /* wraps to 65536 in the last case */
            bytes region(product + 3 * 4096, 0xA5), expected = region;
            uintptr_t cursor = 0;
            smm_init(&cursor, &region[1]);
            EXPECT_EQ(cursor, address(&region[1]));
            const uintptr_t start = round_up(cursor, clear == smm_calloc ? 1 : 4096);
            EXPECT_EQ(address(clear(&cursor, count, size)), start);
            std::memset(&expected[start - address(region.data())], 0, product);
            EXPECT_EQ(region, expected) << count << " x " << size;
            smm_init(nullptr, region.data());
            EXPECT_EQ(clear(nullptr, count, size), nullptr);
        }
}

} // namespace
} // namespace earshot::test
