/*
 * Calls of the ambisonic effect, of the selection of filters, of the renderer's two ends and of the
 * renderer whose headroom follows the signal, in any order and with any arguments, over blocks
 * between guard pages: what is answered is among what the headers state and the same on every isa,
 * and what is refused writes nothing.
 */
#include "fuzz.hpp"

#include <earshot/earshot.h>

#include <deque>

namespace earshot::fuzz {
namespace {

constexpr std::initializer_list<u32> two_or_three = {0, 2, 3}, all_statuses = {0, 1, 2, 3};

/* An instance's memory: aligned for pointers, so that up to seven bytes past its size are open. */
struct instance_block {
    operands &in;
    u32 usual;
    /* At times smaller or larger than it needs to be. */
    u32 kind = in.below(8), size = kind == 0   ? in.below(usual + 1)
                                   : kind == 1 ? usual + in.below(100)
                                               : usual;
    guarded<u64> words{(size + 7) / 8};

    void *data() const { return words.data(); }
    void require_intact() const {
        const auto *end = reinterpret_cast<const unsigned char *>(words.end());
        const bool kept =
            std::all_of(end - (8 - size % 8) % 8, end, [](unsigned char b) { return b == 0x5A; });
        require(kept && words.intact(), "no call leaves an instance's block");
    }
};

// --- Ambisonic effect ----------------------------------------------------------------------------

struct effect_calls {
    operands &in;
    transcript &out;
    hoa_effect_state *effect = nullptr;

    /* Angles within their range, a unit beyond, or any. */
    s32 angle(s32 limit) {
        const s32 any = in.take<s32>();
        return in.below(8) == 0 ? any : any % (limit + 2);
    }

    void set() {
        const u32 id = in.mostly(4 + in.below(6)), size = in.mostly(8);
        const guarded<hoa_effect_memory> memory(1);
        memory[0] = {nullptr, 7, in.take<u32>()};
        const guarded<s32> words(id == HOA_EFFECT_PARAM_ROTATION ? 2
                                 : id == HOA_EFFECT_PARAM_FOCUS  ? 3
                                                                 : 0);
        for (s32 &word : words)
            word = &word == &words[0] ? angle(HOA_EFFECT_MAX_YAW) : angle(HOA_EFFECT_MAX_PITCH);
        if (id == HOA_EFFECT_PARAM_FOCUS) words[2] = static_cast<s32>(in.below(3));
        const void *scratch = memory.data();
        const void *payload = id == HOA_EFFECT_PARAM_SCRATCH ? scratch : words.data();
        out.add_status(hoa_effect_set(effect, id, payload, size), two_or_three);
    }

    void get() {
        const u32 id = in.mostly(4 + in.below(6)), size = in.mostly(in.below(32));
        const guarded<u64> payload[] = {guarded<u64>(std::min(size, 32u) / 8)};
        out.add_call(payload, two_or_three,
                     [&] { return hoa_effect_get(effect, id, payload[0].data(), size); });
    }

    /* In place with the channels in another order, or from other buffers. */
    template <class Sample> void process() {
        const bool negative = in.below(16) == 0, in_place = in.flip();
        const u32 frames = negative ? in.take<u32>() | 1u << 31 : in.below(1400),
                  turn = in.below(4);
        std::deque<guarded<Sample>> blocks;
        const guarded<void *> from(4), to(4);
        for (u32 i = 0; i < (in_place ? 4 : 8); ++i) {
            in.fill(blocks.emplace_back(negative ? 0 : frames, in.flip()));
            from[i % 4] = blocks[i % 4].data();
            to[(i + turn) % 4] = blocks.back().data();
        }
        const guarded<hoa_effect_buffer> source(1), target(1);
        source[0] = {frames, in.mostly(4), from.data()};
        target[0] = {7, in.mostly(4), to.data()};
        out.add_call(blocks, {0, 2, 3, 4}, [&] {
            if (in.flip()) return hoa_effect_apply_effect_matrix(effect, &target[0], &source[0]);
            const u32 out_tag = in.mostly(3), in_tag = in.mostly(2);
            return hoa_effect_process(effect, out_tag, &target[0], in.mostly(sizeof target[0]),
                                      in_tag, &source[0], sizeof source[0]);
        });
        out.add(&target[0].frames, 1);
    }

    void one() {
        const u32 what = in.below(10);
        if (what < 2) return set();
        if (what == 2) return get();
        if (what == 3) return void(out.add_status(hoa_effect_reset(effect), {0, 2}));
        effect->config.bit_width == 16 ? process<s16>() : process<s32>();
    }

    void run() {
        const hoa_effect_config config = {
            in.mostly(48000), in.mostly(1), in.mostly(0), 0, in.mostly(16u << in.below(2)), 0};
        const guarded<hoa_effect_requirement> need[] = {guarded<hoa_effect_requirement>(1)};
        out.add_call(need, {0, 2}, [&] {
            const u32 reserved = in.mostly(0), size = in.mostly(sizeof need[0][0]);
            return hoa_effect_get_req(reserved, &need[0][0], size, in.mostly(1), &config,
                                      sizeof config);
        });
        hoa_effect_static_req_or_init(nullptr, &config, &need[0][0], nullptr, 0, 0);
        const instance_block block{in, std::min(need[0][0].static_size, 50000u)};
        /* Without the check of the configuration there are instances that cannot process. */
        const bool checked = in.below(4) != 0;
        out.add_status(checked ? hoa_effect_init(&effect, in.mostly(1), &config, sizeof config,
                                                 block.data(), block.size)
                               : hoa_effect_static_req_or_init(&effect, &config, nullptr,
                                                               block.data(), block.size, 1),
                       two_or_three);
        block.require_intact();
        for (u32 k = 0; effect != nullptr && in.are_left() && k < 16; ++k) one();
        block.require_intact();
    }
};

// --- Selection, front end and back end -----------------------------------------------------------

struct renderer_calls {
    operands &in;
    transcript &out;
    hrtf_instance *hrtf = nullptr;
    hrtf_filt_front_instance *front = nullptr;
    hrtf_filt_back_instance *back = nullptr;
    guarded<s32> scratch{2048, true}; /* the front end has less of it */

    hrtf_position position() {
        const s32 azimuth = in.take<s32>(), elevation = in.take<s32>();
        const s32 lap = in.below(4) == 0 ? INT32_MAX : 400 << 16;
        return {in.take<u16>(), azimuth % lap, elevation % lap};
    }

    /* With a payload of the size that it claims to have, which is whole words. */
    template <class Get, class Instance> void get(Get get, Instance *instance) {
        const u32 id = in.mostly(in.below(12)), words = 1 + in.below(4);
        const guarded<u64> payload(words);
        in.fill(payload);
        const u32 head[2] = {8 * words, in.mostly(in.below(5))};
        std::memcpy(payload.data(), head, sizeof head);
        out.add_status(get(instance, id, in.below(32) == 0 ? nullptr : payload.data()),
                       two_or_three);
        require(payload.intact(), "a get keeps to its payload");
        if (id != 4) out.add(payload); /* 4 answers an address */
    }

    template <class Set, class Instance> void set_scratch(Set set, Instance *instance, u32 words) {
        const guarded<hrtf_scratch_payload> payload(1);
        payload[0] = {16, 0, in.below(8) == 0 ? nullptr : scratch.end() - words};
        out.add_status(set(instance, 4, payload.data()), {0, 3});
    }

    void select() {
        const guarded<hrtf_position> where(1);
        const guarded<hrtf_filter_pair> pair(1);
        where[0] = position();
        pair[0] = {};
        const u32 row = in.below(20);
        const u32 status = out.add_status(
            row == 19   ? hrtf_process(hrtf, in.mostly(3), &pair[0], in.mostly(2), &where[0])
            : row == 18 ? hrtf_selection(hrtf, &where[0], &pair[0])
                        : find_nearest_filt(hrtf, &where[0], in.mostly(row), &pair[0]),
            two_or_three);
        out.add(where);
        for (const s32 *ear : pair[0].ear) {
            require((ear != nullptr) == (status == 0), "a pair is whole or missing");
            const auto offset = ear == nullptr ? 0 : ear - &hrtf_kemar_diffuse_rfft256[0][0];
            require(offset >= 0 && offset <= 2 * (125952 + 6400), "a filter lies in the tables");
            out.add(&offset, 1);
        }
    }

    void set_front() {
        const u32 id = in.mostly(7 + in.below(4));
        if (id == HRTF_FILT_FRONT_PARAM_SCRATCH)
            return set_scratch(hrtf_filt_front_set, front, 772);
        const guarded<hrtf_filt_front_direction> direction(1);
        direction[0] = {in.mostly(20), in.mostly(in.below(4)), position()};
        const guarded<hrtf_word_payload> word(1);
        word[0] = {in.mostly(8), in.mostly(in.below(4))};
        void *payload = direction.data();
        if (id == HRTF_FILT_FRONT_PARAM_ACTIVE) payload = word.data();
        out.add_status(hrtf_filt_front_set(front, id, payload), two_or_three);
        out.add(direction);
        require(word.intact(), "a set keeps to its payload");
    }

    void process_front() {
        std::deque<guarded<s32>> sounds;
        std::vector<const s32 *> inputs;
        for (u32 i = 0; i < front->state->config.max_sources; ++i) {
            in.fill(sounds.emplace_back(256, in.flip()));
            inputs.push_back(sounds.back().data());
        }
        const guarded<s32> ears[] = {guarded<s32>(258, true), guarded<s32>(258)};
        for (const auto &ear : ears) in.fill(ear);
        const hrtf_ear_spectra spectra = {{ears[0].data(), ears[1].data()}};
        const hrtf_ear_spectra *given = in.below(32) == 0 ? nullptr : &spectra;
        out.add_call(ears, two_or_three, [&] {
            const u32 bins = in.mostly(129);
            return hrtf_filt_front_process(front, bins, given, in.mostly(256), inputs.data());
        });
        for (const auto &sound : sounds) out.add(sound);
    }

    void set_back() {
        const u32 id = in.mostly(6 + in.below(3));
        if (id == HRTF_FILT_BACK_PARAM_SCRATCH) return set_scratch(hrtf_filt_back_set, back, 2048);
        const guarded<hrtf_word_payload> word(1);
        word[0] = {in.mostly(8), in.mostly(in.below(3))};
        out.add_status(hrtf_filt_back_set(back, id, word.data()), two_or_three);
    }

    template <class Sample> void process_back() {
        const hrtf_filt_back_config &config = back->state->config;
        const u32 length = config.frame_length, points = config.fft_size;
        const bool pairs = config.interleaved != 0;
        const guarded<Sample> ears[] = {guarded<Sample>(length * (pairs ? 2u : 1u), true),
                                        guarded<Sample>(pairs ? 0 : length)};
        const guarded<s32> bins[] = {guarded<s32>(points + 2), guarded<s32>(points + 2, true)};
        for (const auto &ear : bins) in.fill(ear);
        const hrtf_ear_spectra spectra = {{bins[0].data(), bins[1].data()}};
        const hrtf_ear_outputs outputs = {{ears[0].data(), ears[1].data()}};
        out.add_call(ears, two_or_three, [&] {
            const u32 samples = in.mostly(length);
            return hrtf_filt_back_process(back, samples, &outputs, in.mostly(points / 2 + 1),
                                          &spectra);
        });
        require(bins[0].intact() && bins[1].intact(), "spectra are not written around");
    }

    void one() {
        const u32 what = in.below(10);
        if (what == 0 && hrtf != nullptr) get(hrtf_get, hrtf);
        if (what == 1 && front != nullptr) get(hrtf_filt_front_get, front);
        if (what == 2 && back != nullptr) get(hrtf_filt_back_get, back);
        if (what == 3 && hrtf != nullptr) select();
        if ((what == 4 || what == 5) && front != nullptr) set_front();
        if ((what == 6 || what == 7) && front != nullptr) process_front();
        if (what == 8 && back != nullptr) set_back();
        if (what == 9 && back != nullptr)
            back->state->config.format == 2 ? process_back<s16>() : process_back<s32>();
    }

    void run() {
        const hrtf_config table = {in.mostly(in.below(5))};
        const hrtf_filt_front_config sources = {in.below(3), in.mostly(48000),
                                                in.mostly(in.below(4)), 0, 0};
        /* Without the check of the configuration, any length and larger transforms will do. */
        const bool checked = in.flip();
        const u32 length = checked ? 96 + 32 * in.below(2) : in.below(3000);
        const hrtf_filt_back_config ears = {in.mostly(1),    length,      256u << in.below(3), 0,
                                            2 * in.below(3), in.mostly(0)};
        const guarded<hrtf_requirement> need(3);
        const u32 handle = in.mostly(0), count = in.mostly(1);
        out.add_status(hrtf_get_req(handle, &need[0], count, &table), all_statuses);
        out.add_status(hrtf_filt_front_get_req(handle, &need[1], count, &sources), all_statuses);
        out.add_status(hrtf_filt_back_get_req(handle, &need[2], count, &ears), all_statuses);
        out.add(need);
        const instance_block blocks[] = {
            {in, sizeof(hrtf_instance)},
            {in, std::min(need[1].static_size, 1000u)},
            {in, sizeof(hrtf_filt_back_instance) + sizeof(hrtf_filt_back_state)}};
        void *const at[] = {blocks[0].data(), blocks[1].data(), blocks[2].data()};
        const u32 *const sizes[] = {&blocks[0].size, &blocks[1].size, &blocks[2].size};
        out.add_status(hrtf_init(&hrtf, count, &table, at[0], *sizes[0]), all_statuses);
        out.add_status(hrtf_filt_front_init(&front, count, &sources, at[1], *sizes[1]),
                       all_statuses);
        out.add_status(
            checked ? hrtf_filt_back_init(&back, count, &ears, at[2], *sizes[2])
                    : hrtf_filt_back_static_get_init(&back, nullptr, &ears, at[2], *sizes[2], 1),
            all_statuses);
        if (front != nullptr) set_scratch(hrtf_filt_front_set, front, 772);
        if (back != nullptr) set_scratch(hrtf_filt_back_set, back, 2048);
        for (u32 k = 0; in.are_left() && k < 24; ++k) one();
        for (const auto &block : blocks) block.require_intact();
        require(scratch.intact(), "the scratch memory suffices");
    }
};

// --- Renderer whose headroom follows the signal --------------------------------------------------

struct binaural_calls {
    operands &in;
    transcript &out;
    earshot_binaural *renderer = nullptr;
    earshot_binaural_config config{};
    std::deque<guarded<earshot_filter_pair>> pairs{};

    /* Filters and gains of any words: what wraps must wrap alike. */
    void set() {
        if (pairs.size() < 6) {
            const guarded<s32> words(2 * 256 + 1);
            in.fill(words);
            earshot_filter_pair &pair = pairs.emplace_back(1)[0];
            std::copy_n(words.begin(), 2 * 256, pair.ear[0]);
            pair.gain = in.flip() ? static_cast<u32>(words[512]) : 6 << 16;
        }
        const auto &pair = pairs[in.below(static_cast<u32>(pairs.size()))];
        out.add_status(earshot_binaural_set(renderer, in.mostly(in.below(4)),
                                            in.below(16) == 0 ? nullptr : pair.data()),
                       two_or_three);
    }

    void process() {
        std::deque<guarded<s32>> windows;
        std::vector<const s32 *> inputs;
        for (u32 s = 0; s < config.sources; ++s) {
            in.fill(windows.emplace_back(256, in.flip()));
            inputs.push_back(in.below(64) == 0 ? nullptr : windows.back().data());
        }
        const guarded<s32> written[] = {guarded<s32>(2 * config.frame_length, in.flip()),
                                        guarded<s32>(1)};
        out.add_call(written, {0, 3}, [&] {
            return earshot_binaural_process(renderer, inputs.data(), written[0].data(),
                                            written[1].data());
        });
        const s32 exponent = written[1][0];
        require(exponent == 0x5A5A5A5A || (exponent >= -8 && exponent <= 24),
                "an exponent is within its range");
    }

    void run() {
        config = {in.mostly(1 + in.below(4)), in.mostly(1 + in.below(128)),
                  in.mostly(in.below(129))};
        std::size_t size = 0;
        if (out.add_status(earshot_binaural_get_size(&config, &size), two_or_three) != 0) return;
        if (size > 100000) return;
        const instance_block block{in, static_cast<u32>(size)};
        out.add_status(earshot_binaural_init(&renderer, &config, block.data(), block.size),
                       two_or_three);
        for (u32 k = 0; renderer != nullptr && in.are_left() && k < 24; ++k) {
            const u32 what = in.below(8);
            if (what < 4) set();
            if (what == 4)
                out.add_status(earshot_binaural_fix_headroom(renderer, in.between(-3, 24)),
                               two_or_three);
            if (what > 4) process();
        }
        const u64 unsafe = earshot_binaural_unsafe_frames(renderer);
        out.add(&unsafe, 1);
        block.require_intact();
    }
};

} // namespace
} // namespace earshot::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace earshot::fuzz;
    same_on_every_isa(data, size, [](operands &in, transcript &out) {
        do {
            const u32 which = in.below(256);
            if (which >= 192)
                binaural_calls{in, out}.run();
            else if (which % 2 != 0)
                effect_calls{in, out}.run();
            else
                renderer_calls{in, out}.run();
        } while (in.are_left());
    });
    return 0;
}
