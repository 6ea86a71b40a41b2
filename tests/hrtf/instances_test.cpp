/*
 * The instances of the renderer: which call is refused with what and in which order, what
 * the records hold, and that no block is touched past its size.
 */
#include "guarded.hpp"

#include <earshot/earshot.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>

namespace earshot::test {
namespace {

constexpr u32 ok = 0, no_config = 1, bad_value = 2, bad_memory = 3;
constexpr bool narrow = sizeof(void *) == 4;
constexpr hrtf_filt_back_config back_config = {1, 96, 256, 7, 4, 0};

constexpr u32 round8(std::size_t size) { return static_cast<u32>((size + 7) / 8 * 8); }
constexpr u32 hrtf_size = sizeof(hrtf_instance);
constexpr u32 front_size(u32 sources) {
    return round8(sizeof(hrtf_filt_front_instance) + sizeof(hrtf_filt_front_state)) +
           round8(hrtf_size) + sources * round8(sizeof(hrtf_filt_front_source));
}
constexpr u32 back_size = sizeof(hrtf_filt_back_instance) + sizeof(hrtf_filt_back_state);

void expect_all(u32 status, std::initializer_list<u32> results) {
    for (const u32 &r : results) EXPECT_EQ(status, r) << "at " << &r - results.begin();
}

/* One instance of each kind, in blocks of max_size bytes if they need more. */
struct instances {
    explicit instances(u32 sources = 3, u32 table = 0, u32 max_size = UINT32_MAX)
        : config{table, 48000, sources, 7, 8}, sizes{std::min(hrtf_size, max_size),
                                                     std::min(front_size(sources), max_size),
                                                     std::min(back_size, max_size)},
          blocks{guarded<unsigned char>(sizes[0]), guarded<unsigned char>(sizes[1]),
                 guarded<unsigned char>(sizes[2])} {
        const hrtf_config selector = {table};
        status[0] = hrtf_init(&hrtf, 1, &selector, blocks[0].data(), sizes[0]);
        status[1] = hrtf_filt_front_init(&front, 1, &config, blocks[1].data(), sizes[1]);
        status[2] = hrtf_filt_back_init(&back, 1, &back_config, blocks[2].data(), sizes[2]);
    }
    u32 get(u32 kind, u32 id, void *payload) const {
        return kind == 0   ? hrtf_get(hrtf, id, payload)
               : kind == 1 ? hrtf_filt_front_get(front, id, payload)
                           : hrtf_filt_back_get(back, id, payload);
    }
    u32 set(u32 kind, u32 id, void *payload) const {
        return kind == 0   ? hrtf_set(hrtf, id, payload)
               : kind == 1 ? hrtf_filt_front_set(front, id, payload)
                           : hrtf_filt_back_set(back, id, payload);
    }
    hrtf_filt_front_config config;
    u32 sizes[3], status[3];
    guarded<unsigned char> blocks[3];
    hrtf_instance *hrtf = nullptr;
    hrtf_filt_front_instance *front = nullptr;
    hrtf_filt_back_instance *back = nullptr;
};

TEST(HrtfInstances, RequirementsAreReported) {
    const hrtf_config table = {3};
    const hrtf_filt_front_config front = {0, 48000, 3, 0, 0};
    hrtf_requirement need{};
    const auto is = [&](u32 size, u32 second, u32 scratch) {
        return need.static_size == size && need.second == second && need.scratch_size == scratch;
    };
    expect_all(bad_value, {hrtf_get_req(1, &need, 1, nullptr), hrtf_get_req(0, &need, 2, nullptr),
                           hrtf_filt_front_get_req(1, &need, 1, nullptr),
                           hrtf_filt_front_get_req(0, &need, 2, nullptr),
                           hrtf_filt_back_get_req(1, &need, 1, nullptr),
                           hrtf_filt_back_get_req(0, &need, 2, nullptr)});
    expect_all(no_config,
               {hrtf_get_req(0, &need, 1, nullptr), hrtf_filt_front_get_req(0, &need, 1, nullptr),
                hrtf_filt_back_get_req(0, &need, 1, nullptr)});
    EXPECT_TRUE(is(0, 0, 0));
    EXPECT_EQ(ok, hrtf_get_req(0, &need, 1, &table)); // the selector is not looked at
    EXPECT_TRUE(is(narrow ? 48 : hrtf_size, 200, 0));
    EXPECT_EQ(ok, hrtf_static_get_init(nullptr, &need, nullptr, nullptr, 0, 2));
    EXPECT_TRUE(is(hrtf_size, hrtf_size, 0));
    EXPECT_EQ(ok, hrtf_filt_front_get_req(0, &need, 1, &front));
    EXPECT_TRUE(is(narrow ? 64 + 48 + 72 : front_size(3), 1024, 3088));
    EXPECT_EQ(ok, hrtf_filt_back_get_req(0, &need, 1, &back_config));
    EXPECT_TRUE(is(narrow ? 312 : back_size, 1024, 2048));
    u32 size = 0;
    EXPECT_EQ(ok, hrtf_filt_back_static_get_init(nullptr, &size, nullptr, nullptr, 0, 7));
    EXPECT_EQ(back_size, size);
    const u32 most = (UINT32_MAX - front_size(0)) / (front_size(1) - front_size(0));
    for (const u32 sources : {3u, most, most + 1, UINT32_MAX}) {
        const hrtf_filt_front_config many = {0, 48000, sources, 0, 0};
        const u32 status = sources > most ? bad_value : ok;
        EXPECT_EQ(status, hrtf_filt_front_get_req(0, &need, 1, &many));
        EXPECT_EQ(status, hrtf_filt_front_static_get_init(nullptr, &size, &many, nullptr, 0, 2));
        EXPECT_EQ(front_size(std::min(sources, most)), size);
        guarded<unsigned char> block(front_size(2));
        hrtf_filt_front_instance *handle = nullptr;
        EXPECT_EQ(sources > most ? bad_value : bad_memory,
                  hrtf_filt_front_init(&handle, 1, &many, block.data(), front_size(2)));
    }
}

TEST(HrtfInstances, ConfigurationsAreChecked) {
    struct {
        u32 table, rate, status;
    } const fronts[] = {{0, 48000, ok},        {1, 48000, ok},        {2, 48000, ok},
                        {0, 44100, no_config}, {3, 44100, no_config}, {3, 48000, bad_value},
                        {4, 48000, bad_value}};
    for (const auto &c : fronts) {
        SCOPED_TRACE(&c - fronts);
        instances all;
        const hrtf_filt_front_config config = {c.table, c.rate, 3, 7, 8};
        hrtf_requirement need;
        hrtf_filt_front_instance *handle = nullptr;
        EXPECT_EQ(c.status, hrtf_filt_front_get_req(0, &need, 1, &config));
        EXPECT_EQ(c.status, hrtf_filt_front_init(&handle, 1, &config, all.front, front_size(3)));
        EXPECT_EQ(c.status == ok ? all.front : nullptr, handle);
        EXPECT_EQ(c.status == bad_value, all.front->state == nullptr);
    }
    for (const hrtf_filt_back_config &c :
         {hrtf_filt_back_config{1, 112, 256, 0, 0, 0}, {1, 96, 512, 0, 0, 0}}) {
        instances all;
        hrtf_filt_back_instance *handle = nullptr;
        hrtf_requirement need;
        expect_all(bad_value, {hrtf_filt_back_get_req(0, &need, 1, &c),
                               hrtf_filt_back_init(&handle, 1, &c, all.back, back_size)});
        // Without the checks, any frame length and all sizes of the transform.
        EXPECT_EQ(ok, hrtf_filt_back_static_get_init(&handle, nullptr, &c, all.back, back_size, 1));
        EXPECT_EQ(8 * c.fft_size, handle->scratch_size);
        EXPECT_EQ(c.fft_size == 512 ? 10u : 9u, handle->state->level_shift);
        EXPECT_EQ(c.fft_size == 512 ? 2 : 4, handle->state->stride);
        handle->state->config.fft_size = 300;
        EXPECT_EQ(bad_value, hrtf_filt_back_initialize(handle));
        const hrtf_filt_back_config odd = handle->state->config;
        EXPECT_EQ(bad_value,
                  hrtf_filt_back_static_get_init(&handle, nullptr, &odd, all.back, back_size, 1));
        EXPECT_EQ(nullptr, all.back->state);
    }
    const instances third(3, 3);
    EXPECT_EQ(bad_value, third.status[0]);
    EXPECT_EQ(nullptr, third.hrtf);
}

/* The guard lies at the end of what init may touch. */
TEST(HrtfInstances, BlocksHoldTheInstances) {
    for (u32 size = 8; size <= std::max(front_size(3), back_size); size += 8) {
        const instances all(3, 1, size);
        const u32 needs[] = {hrtf_size, front_size(3), back_size};
        for (u32 m = 0; m < 3; ++m) {
            EXPECT_EQ(size < needs[m] ? bad_memory : ok, all.status[m]) << size;
            EXPECT_TRUE(all.blocks[m].intact());
        }
        if (size >= 16 && size < hrtf_size) {
            EXPECT_EQ(nullptr, reinterpret_cast<hrtf_instance *>(all.blocks[0].data())->info);
            EXPECT_EQ(nullptr,
                      reinterpret_cast<hrtf_filt_back_instance *>(all.blocks[2].data())->state);
        }
    }
    const instances all;
    const hrtf_filt_front_state &state = *all.front->state;
    EXPECT_EQ(hrtf_size, all.hrtf->static_size);
    EXPECT_EQ(front_size(3), all.front->static_size);
    EXPECT_EQ(3088u, all.front->scratch_size);
    EXPECT_EQ(nullptr, all.front->scratch_ptr);
    EXPECT_EQ(0, std::memcmp(&all.config, &state.config, sizeof all.config));
    EXPECT_EQ(3u, state.active);
    EXPECT_EQ(256, state.fft_size);
    EXPECT_EQ(9, state.input_shift);
    EXPECT_EQ(4, state.stride);
    EXPECT_EQ(29, state.q_format);
    unsigned char *sources = all.blocks[1].data() + front_size(0);
    EXPECT_EQ(static_cast<void *>(sources), state.sources);
    EXPECT_EQ(static_cast<void *>(sources - round8(hrtf_size)), state.hrtf);
    EXPECT_EQ(nullptr, state.sources[2].filter[1]);
    EXPECT_EQ(65536, state.sources[2].third);
    EXPECT_EQ(back_size, all.back->static_size);
    EXPECT_EQ(2048u, all.back->scratch_size);
    EXPECT_EQ(0, std::memcmp(&back_config, &all.back->state->config, sizeof back_config));
}

TEST(HrtfInstances, ParametersAreCheckedInOrder) {
    instances all, none;
    none.hrtf = nullptr, none.front = nullptr, none.back = nullptr;
    struct {
        u32 id, set[3], get[3]; // with null payloads; hrtf, front, back
    } const cases[] = {{3, {2, 2, 2}, {2, 2, 3}},  {4, {3, 3, 3}, {3, 3, 3}},
                       {5, {2, 2, 2}, {3, 3, 3}},  {6, {2, 0, 0}, {3, 0, 3}},
                       {7, {2, 3, 2}, {3, 3, 3}},  {8, {2, 3, 3}, {2, 0, 3}},
                       {9, {2, 2, 2}, {2, 3, 3}},  {10, {2, 3, 2}, {2, 3, 3}},
                       {11, {2, 2, 2}, {2, 2, 3}}, {~0u, {2, 2, 2}, {2, 2, 3}}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.id);
        for (u32 m = 0; m < 3; ++m) {
            EXPECT_EQ(c.set[m], all.set(m, c.id, nullptr));
            EXPECT_EQ(c.get[m], all.get(m, c.id, nullptr));
            expect_all(bad_memory, {none.set(m, c.id, nullptr), none.get(m, c.id, nullptr)});
        }
    }
}

/* A payload that is too small is no error; nothing is written then, and never behind its size. */
TEST(HrtfInstances, ValuesAreReadBack) {
    instances all;
    constexpr u32 kept = 0x5A5A5A5A;
    struct {
        u32 kind, id, words[4];
    } const answers[] = {
        {0, 5, {16, kept, 0x01000000, 0x01000200}},
        {1, 5, {16, kept, 0, 0x01000200}},
        {2, 5, {16, kept, 0, 0x01000200}},
        {0, 6, {8, 29}},
        {0, 7, {8, 256}},
        {1, 6, {8, kept}},
        {1, 8, {8, kept}},
        {1, 9, {8, 0}},
        {1, 10, {8, 3}},
        {2, 7, {8, 0}},
    };
    for (const auto &c : answers) {
        SCOPED_TRACE(&c - answers);
        for (u32 size = 4; size <= c.words[0]; size += 4) {
            guarded<u32> payload(size / 4);
            payload[0] = size;
            EXPECT_EQ(ok, all.get(c.kind, c.id, payload.data()));
            for (u32 i = 1; i < size / 4; ++i)
                EXPECT_EQ(size == c.words[0] ? c.words[i] : kept, payload[i]);
        }
    }
    for (u32 m = 0; m < 3; ++m) {
        hrtf_scratch_payload attach = {0, 0, &all}, answer = {sizeof answer - 1, 0, nullptr};
        expect_all(ok, {all.set(m, 4, &attach), all.get(m, 4, &answer)});
        EXPECT_EQ(nullptr, answer.address);
        answer.size = sizeof answer;
        EXPECT_EQ(ok, all.get(m, 4, &answer));
        EXPECT_EQ(&all, answer.address);
    }
    for (const hrtf_word_payload &sent : {hrtf_word_payload{7, 1}, {8, 5}}) {
        hrtf_word_payload changed = sent;
        expect_all(ok, {all.set(2, 8, &changed), all.set(2, 6, nullptr)}); // reset: not the flag
        EXPECT_EQ(sent.size == 8 ? 5u : 0u, all.back->state->changed);
    }
    EXPECT_EQ(ok, hrtf_filt_back_initialize(all.back));
    EXPECT_EQ(0u, all.back->state->changed);
    for (const u32 active : {4u, 0u, 3u}) {
        hrtf_word_payload payload = {8, active};
        EXPECT_EQ(active > 3 ? bad_value : ok, all.set(1, 10, &payload));
        EXPECT_EQ(active > 3 ? 3 : active, all.front->state->active);
    }
}

/* Whatever record lies inside the block can be named; what does not is refused or reads as 0. */
TEST(HrtfInstances, SourcesAreBoundedByTheBlock) {
    for (const u32 sources : {0u, 1u, 4u, 5u, 40u}) {
        instances all(sources);
        const u32 room = front_size(sources) - front_size(0);
        for (const u32 index : {0u, 1u, sources - 1, sources, sources + 1, ~0u}) {
            SCOPED_TRACE(std::to_string(sources) + " " + std::to_string(index));
            const bool inside = (u64{index} + 1) * sizeof(hrtf_filt_front_source) <= room;
            const u32 status = inside ? ok : bad_value;
            hrtf_filt_front_direction sent = {0, index, {5, 90 * 65536, 100 * 65536}};
            expect_all(status, {all.set(1, 7, &sent), all.set(1, 8, &sent)});
            EXPECT_EQ((inside ? 90 : 100) * 65536, sent.position.elevation);
            EXPECT_TRUE(!inside || all.front->state->sources[index].filter[0] != nullptr);
            hrtf_filt_front_direction answer = {19, index, {1, 1, 1}};
            EXPECT_EQ(ok, all.get(1, 7, &answer));
            answer.size = 20;
            EXPECT_EQ(index > sources ? bad_value : ok, all.get(1, 7, &answer));
            const s32 elevation = index > sources ? 1 : inside ? 100 * 65536 : 0;
            EXPECT_EQ(elevation, answer.position.elevation); // as given, not as clamped
        }
        EXPECT_TRUE(all.blocks[1].intact());
    }
}

/* A direction that has no record keeps the pair of the last one that had. */
TEST(HrtfInstances, SourcesKeepTheirFilters) {
    instances all(3, 2);
    const hrtf_filt_front_source &source = all.front->state->sources[1];
    for (const s32 channel : {24, 25}) {
        hrtf_filt_front_direction direction = {20, 1, {0, channel * 65536, 0}};
        EXPECT_EQ(channel > 24 ? bad_value : ok, all.set(1, 8, &direction));
        EXPECT_EQ(&hrtf_kemar_amb_rfft256[24 * 256][0], source.filter[0]);
        EXPECT_EQ(&hrtf_kemar_amb_rfft256[24 * 256 + 128][0], source.filter[1]);
        EXPECT_EQ(channel * 65536, source.azimuth);
    }
    EXPECT_EQ(ok, all.set(1, 6, nullptr));
    EXPECT_EQ(nullptr, source.filter[0]);
    EXPECT_EQ(65536, source.third);
    EXPECT_EQ(0, source.azimuth);
}

TEST(HrtfInstances, TheOtherCallsAreChecked) {
    instances all;
    const hrtf_filt_front_config third = {3, 48000, 0, 0, 0};
    for (u32 mode = 0; mode < 3; ++mode) {
        SCOPED_TRACE(mode);
        all.hrtf->scratch_size = all.front->scratch_size = all.back->scratch_size = 1;
        expect_all(mode == 2 ? bad_value : ok,
                   {hrtf_scratch_get_init(all.hrtf, &all, mode),
                    hrtf_filt_front_scratch_get_init(all.front, &all.config, &all, mode),
                    hrtf_filt_back_scratch_get_init(all.back, nullptr, &all, mode)});
        EXPECT_EQ(mode == 0 ? 0u : 1u, all.hrtf->scratch_size);
        EXPECT_EQ(mode == 0 ? 3088u : 1u, all.front->scratch_size);
        EXPECT_EQ(mode == 0 ? 2048u : 1u, all.back->scratch_size);
        for (void *p : {all.hrtf->scratch_ptr, all.front->scratch_ptr, all.back->scratch_ptr})
            EXPECT_EQ(mode == 0 ? nullptr : &all, p);
    }
    hrtf_filter_pair pair{};
    hrtf_position front{};
    expect_all(bad_value, {hrtf_filt_front_scratch_get_init(all.front, &third, &all, 0),
                           hrtf_process(all.hrtf, 2, &pair, 2, &front),
                           hrtf_process(all.hrtf, 3, &pair, 3, &front)});
    expect_all(
        bad_memory,
        {hrtf_scratch_get_init(nullptr, &all, 2),
         hrtf_filt_front_scratch_get_init(nullptr, nullptr, &all, 2),
         hrtf_filt_back_scratch_get_init(nullptr, nullptr, &all, 2), hrtf_initialize(nullptr),
         hrtf_filt_front_initialize(nullptr), hrtf_filt_front_reset(nullptr),
         hrtf_filt_back_initialize(nullptr), hrtf_filt_back_reset(nullptr),
         hrtf_process(nullptr, 0, &pair, 0, &front), hrtf_process(all.hrtf, 0, nullptr, 0, &front),
         hrtf_process(all.hrtf, 0, &pair, 0, nullptr), hrtf_selection(nullptr, &front, &pair),
         find_nearest_filt(nullptr, &front, 0, &pair)});
    all.hrtf->filter_info.table_selector = 2;
    EXPECT_EQ(ok, hrtf_initialize(all.hrtf));
    EXPECT_EQ(1, all.hrtf->filter_info.num_elevations);
    all.hrtf->info = nullptr;
    expect_all(bad_memory, {hrtf_process(all.hrtf, 3, &pair, 2, &front), all.set(0, 9, nullptr),
                            all.get(0, 9, nullptr)});
    EXPECT_EQ(nullptr, pair.ear[0]);
}

} // namespace
} // namespace earshot::test
