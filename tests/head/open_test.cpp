/*
 * What is taken for a head and what is not: each rule of the format broken by itself under a
 * checksum that is right, heads cut short or altered, and what calls refuse.
 */
#include "../hrtf/guarded.hpp"
#include "../support/operands.hpp"
#include "made_head.hpp"

#include <earshot/earshot.h>

#include <gtest/gtest.h>

#include <functional>

namespace earshot::test {
namespace {

TEST(HeadOpen, ChecksumIsThatOfIeee8023) {
    const auto of = [](const char *text) {
        return checksum_of(reinterpret_cast<const unsigned char *>(text), std::strlen(text));
    };
    EXPECT_EQ(0u, of(""));
    EXPECT_EQ(0xCBF43926u, of("123456789"));
    EXPECT_EQ(0x414FA339u, of("The quick brown fox jumps over the lazy dog"));
}

TEST(HeadOpen, TakesWholeHeadsAndDescribesThem) {
    for (const u32 channels : {0u, 25u}) {
        made_head made(1, channels);
        const earshot_head *head = nullptr;
        ASSERT_EQ(EARSHOT_OK, made.open(&head));
        earshot_head_info info;
        ASSERT_EQ(EARSHOT_OK, earshot_head_describe(head, &info));
        EXPECT_EQ(1u, info.version);
        EXPECT_EQ(made.size(), info.size);
        EXPECT_EQ(made.header().checksum, info.checksum);
        EXPECT_EQ(18u, info.directions);
        EXPECT_EQ(0u, info.filled);
        EXPECT_EQ(32u, info.triangles);
        EXPECT_EQ(channels, info.channels);
        EXPECT_STREQ("made for a test", info.name);
        const earshot_filter_pair *pair = nullptr;
        for (u32 c = 0; c < channels; ++c) {
            ASSERT_EQ(EARSHOT_OK, earshot_head_channel(head, c, &pair));
            EXPECT_EQ(made.channel_pairs() + c, pair);
        }
        EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_head_channel(head, channels, &pair));
    }
}

TEST(HeadOpen, RefusesWhatTheFormatDoesNotAllow) {
    using change = std::function<void(made_head &)>;
    const auto last = [](auto *section, u32 count) -> auto & { return section[count - 1]; };
    const std::pair<const char *, change> cases[] = {
        {"magic", [](made_head &h) { h.header().magic ^= 1; }},
        {"version", [](made_head &h) { h.header().version = 2; }},
        {"size", [](made_head &h) { h.header().size -= 4; }},
        {"no vertices", [](made_head &h) { h.header().vertices = 0; }},
        {"fewer vertices", [](made_head &h) { h.header().vertices -= 1; }},
        {"sections of another size",
         [](made_head &h) {
             h.header().vertices += 2;
             h.header().triangles -= 1;
         }},
        {"vertices that make the size wrap", [](made_head &h) { h.header().vertices += 1u << 27; }},
        {"records that make the size wrap", [](made_head &h) { h.header().records += 1u << 22; }},
        {"nothing measured", [](made_head &h) { h.header().measured = 0; }},
        {"more measured than there is", [](made_head &h) { h.header().measured += 1; }},
        {"one channel", [](made_head &h) { h.header().channels = 1; }},
        {"reserved words", [](made_head &h) { h.header().reserved[2] = 1; }},
        {"name without an end", [](made_head &h) { std::memset(h.header().name, 'a', 80); }},
        {"name with something behind it", [](made_head &h) { h.header().name[79] = 'a'; }},
        {"vertex of a triangle",
         [=](made_head &h) { last(h.triangles(), 8).vertex[2] = h.header().vertices; }},
        {"neighbour", [=](made_head &h) { last(h.triangles(), 8).neighbour[2] = 8; }},
        {"reserved word of a triangle", [](made_head &h) { h.triangles()[3].reserved = 1; }},
        {"cell", [=](made_head &h) { last(h.nearby(), cells) = 8; }},
        {"record", [=](made_head &h) { last(h.vertices(), 6).record[1] = 12; }},
        {"record far away", [](made_head &h) { h.vertices()[0].record[0] = UINT32_MAX; }},
        {"delay", [=](made_head &h) { last(h.vertices(), 6).delay[1] = 64 << 16; }},
        {"gain that leaves Q29", [](made_head &h) { h.vertices()[0].gain = 4 << 16; }},
        {"gain below an entry", [](made_head &h) { h.vertices()[1].gain -= 1; }},
        {"entry above the gain",
         [](made_head &h) { h.records()[11 * 256 + 255] = s32(record_word(3 << 21)); }},
        {"gain of Nyquist", [](made_head &h) { h.records()[10 * 256 + 1] = 1; }},
        {"low part of nine bits", [](made_head &h) { h.records()[4] = 128 << 16; }},
        {"low part of nine bits, negative", [](made_head &h) { h.records()[4] = -129 * 65536; }},
        {"gain of a channel", [=](made_head &h) { last(h.channel_pairs(), 25).gain = 1; }},
        {"gain of a channel that is none",
         [](made_head &h) { h.channel_pairs()[0].gain = 8 << 16; }},
        {"reserved word of a channel", [](made_head &h) { h.channel_pairs()[7].reserved = 1; }},
    };
    for (const auto &[name, change] : cases) {
        SCOPED_TRACE(name);
        made_head made(0, 25);
        change(made);
        made.repair();
        const earshot_head *head = nullptr;
        EXPECT_EQ(EARSHOT_BAD_VALUE, made.open(&head));
        EXPECT_EQ(nullptr, head);
    }
}

TEST(HeadOpen, RefusesWhatIsCutOrAltered) {
    made_head made(0);
    const earshot_head *head = nullptr;
    const size_t whole = made.size();
    for (size_t size = 0; size <= whole + 8; ++size) {
        if (size == whole) continue;
        made.header().size = static_cast<u32>(size);
        const bool guard = size % 4 == 0 && (size - 4 < 200 || whole - size < 200);
        if (guard) { /* nothing behind the bytes is looked at */
            const guarded<unsigned char> cut(size);
            std::memcpy(cut.data(), made.bytes(), size);
            ASSERT_EQ(EARSHOT_BAD_VALUE, earshot_head_open(cut.data(), size, &head)) << size;
        } else {
            ASSERT_EQ(EARSHOT_BAD_VALUE, earshot_head_open(made.bytes(), size, &head)) << size;
        }
    }
    made.header().size = static_cast<u32>(whole);
    operand_source draw;
    for (int i = 0; i < 2000; ++i) {
        const u64 bit = draw.below(8 * made.size());
        made.bytes()[bit / 8] ^= static_cast<unsigned char>(1 << bit % 8);
        ASSERT_EQ(EARSHOT_BAD_VALUE, made.open(&head)) << "bit " << bit;
        made.bytes()[bit / 8] ^= static_cast<unsigned char>(1 << bit % 8);
    }
    ASSERT_EQ(EARSHOT_OK, made.open(&head));
}

TEST(HeadOpen, CallsRefuseMissingPointers) {
    made_head made(0, 25);
    const earshot_head *head = made.opened();
    ASSERT_NE(nullptr, head);
    earshot_head_info info;
    earshot_filter_pair pair;
    const earshot_filter_pair *channel = nullptr;
    const u32 refused[] = {earshot_head_open(nullptr, made.size(), &head),
                           earshot_head_open(made.bytes(), made.size(), nullptr),
                           earshot_head_open(made.bytes() + 2, made.size() - 2, &head),
                           earshot_head_describe(nullptr, &info),
                           earshot_head_describe(head, nullptr),
                           earshot_head_filter(nullptr, 0, 0, &pair),
                           earshot_head_filter(head, 0, 0, nullptr),
                           earshot_head_channel(nullptr, 0, &channel),
                           earshot_head_channel(head, 0, nullptr)};
    for (const u32 &status : refused)
        EXPECT_EQ(EARSHOT_BAD_MEMORY, status) << "call " << &status - refused;
}

TEST(HeadOpen, PairsGoToSourcesOfTheFrontEnd) {
    made_head made(0, 25);
    const earshot_filter_pair *pair = nullptr;
    ASSERT_EQ(EARSHOT_OK, earshot_head_channel(made.opened(), 3, &pair));
    const hrtf_filt_front_config config = {0, 48000, 2, 0, 0};
    hrtf_requirement need;
    ASSERT_EQ(EARSHOT_OK, hrtf_filt_front_get_req(0, &need, 1, &config));
    const guarded<unsigned char> block(need.static_size);
    hrtf_filt_front_instance *front = nullptr;
    ASSERT_EQ(EARSHOT_OK, hrtf_filt_front_init(&front, 1, &config, block.data(), need.static_size));
    EXPECT_EQ(EARSHOT_OK, earshot_head_use(front, 1, pair));
    EXPECT_EQ(pair->ear[0], front->state->sources[1].filter[0]);
    EXPECT_EQ(pair->ear[1], front->state->sources[1].filter[1]);
    EXPECT_EQ(nullptr, front->state->sources[0].filter[0]);
    EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_head_use(front, 2, pair));
    EXPECT_EQ(EARSHOT_BAD_VALUE, earshot_head_use(front, UINT32_MAX, pair));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_use(nullptr, 0, pair));
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_use(front, 0, nullptr));
    front->state = nullptr;
    EXPECT_EQ(EARSHOT_BAD_MEMORY, earshot_head_use(front, 0, pair));
}

} // namespace
} // namespace earshot::test
