/*
 * Whole frames through both ends of the renderer: against the rules written down once more, against
 * convolution in double precision, and with every buffer in guarded memory.
 */
#include "fft/tables.hpp"
#include "guarded.hpp"
#include "tests/support/digest.hpp"
#include "tests/support/exact.hpp"
#include "tests/support/isas.hpp"
#include "tests/support/operands.hpp"

#include <earshot/earshot.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <deque>
#include <vector>

namespace earshot::test {
namespace {

constexpr u32 n = 256, half = 128, bins = 129, fade = 32;
constexpr double pi = 3.14159265358979323846;
using words = std::vector<s32>;

s32 clamp(s64 x) { return wrap(clamp32(x)); }

/* Both ends with all that they use. */
struct renderer {
    renderer(u32 sources, const hrtf_filt_back_config &config, bool shifted = false, u32 tables = 0)
        : length(config.frame_length), pairs(config.interleaved != 0),
          is_slim(config.format == 2), spectrum{guarded<s32>(2 * bins, shifted),
                                                guarded<s32>(2 * bins, shifted)},
          front_scratch(3088 / 4, shifted),
          back_scratch(2 * n, shifted), wide{guarded<s32>(pairs ? 2 * length : length, shifted),
                                             guarded<s32>(length, shifted)},
          slim{guarded<s16>(pairs ? 2 * length : length, shifted), guarded<s16>(length, shifted)} {
        const hrtf_filt_front_config front_config = {tables, 48000, sources, 0, 0};
        hrtf_requirement need;
        EXPECT_EQ(0u, hrtf_filt_front_get_req(0, &need, 1, &front_config));
        blocks.emplace_back(need.static_size / sizeof(void *), shifted);
        EXPECT_EQ(
            0u, hrtf_filt_front_init(&front, 1, &front_config, blocks[0].data(), need.static_size));
        EXPECT_EQ(0u, hrtf_filt_back_get_req(0, &need, 1, &config));
        blocks.emplace_back(need.static_size / sizeof(void *), shifted);
        EXPECT_EQ(0u, hrtf_filt_back_init(&back, 1, &config, blocks[1].data(), need.static_size));
        front->scratch_ptr = front_scratch.data();
        back->scratch_ptr = back_scratch.data();
        for (u32 i = 0; i < sources; ++i) input.push_back(inputs.emplace_back(n, shifted).data());
        clear_spectra();
    }
    void clear_spectra() {
        for (auto &ear : spectrum) std::fill(ear.begin(), ear.end(), 0);
    }
    u32 place(u32 source, s32 azimuth, s32 elevation) {
        hrtf_filt_front_direction d = {20, source, {0, azimuth * 65536, elevation * 65536}};
        return hrtf_filt_front_set(front, 8, &d);
    }
    u32 play_front() {
        const hrtf_ear_spectra ears = {{spectrum[0].data(), spectrum[1].data()}};
        return hrtf_filt_front_process(front, bins, &ears, n, input.data());
    }
    u32 play_back() {
        const hrtf_ear_spectra ears = {{spectrum[0].data(), spectrum[1].data()}};
        hrtf_ear_outputs out = {{wide[0].data(), wide[1].data()}};
        if (is_slim) out = {{slim[0].data(), slim[1].data()}};
        if (pairs) out.ear[1] = nullptr;
        return hrtf_filt_back_process(back, length, &out, bins, &ears);
    }
    s32 output(u32 ear, u32 i) const {
        const u32 buffer = pairs ? 0 : ear, at = pairs ? 2 * i + ear : i;
        return is_slim ? slim[buffer][at] : wide[buffer][at];
    }
    bool intact() const {
        bool all = front_scratch.intact() && back_scratch.intact();
        for (u32 i : {0u, 1u})
            all = all && blocks[i].intact() && spectrum[i].intact() && wide[i].intact() &&
                  slim[i].intact();
        return all;
    }

    u32 length;
    bool pairs, is_slim;
    guarded<s32> spectrum[2], front_scratch, back_scratch, wide[2];
    guarded<s16> slim[2];
    std::deque<guarded<void *>> blocks;
    std::deque<guarded<s32>> inputs;
    std::vector<const s32 *> input;
    hrtf_filt_front_instance *front = nullptr;
    hrtf_filt_back_instance *back = nullptr;
};

/* --- The rules once more -----------------------------------------------------------------------*/

words model_product(const words &spectrum, const s32 *filter, s64 q) {
    words out(2 * bins);
    out[0] = clamp(scaled(s64{spectrum[0]} * filter[0], -q));
    out[n] = clamp(scaled(s64{spectrum[n]} * filter[1], -q));
    for (u32 i = 2; i < n; i += 2) {
        const auto times = [&](u32 a, u32 b) {
            return static_cast<u64>(s64{spectrum[i + a]} * filter[i + b]);
        };
        const s64 sums[] = {static_cast<s64>(times(0, 0) - times(1, 1)),
                            static_cast<s64>(times(0, 1) + times(1, 0))};
        for (u32 part : {0u, 1u}) out[i + part] = wrap(rounded64(sums[part], -q));
    }
    return out;
}

words model_front(const s32 *input, const s32 *filter, s64 q = 29) {
    words x(n), spectrum(2 * bins);
    for (u32 i = 0; i < n; ++i) x[i] = static_cast<s32>(floor_div(input[i], 512));
    Vorkel_rfft_32x32(x.data(), n, &fft_twiddles[0][0], &fft_recombine_twiddles[0][0], 4,
                      spectrum.data());
    return model_product(spectrum, filter, q);
}

/* A frame and its tail, before the format. */
words model_back(words spectrum, u32 length, const words *faded_from) {
    words x(n);
    Vorkel_rifft_32x32_scaled(spectrum.data(), n, &fft_twiddles[0][0],
                              &fft_recombine_twiddles[0][0], 4, x.data());
    words y(length + fade);
    for (u32 i = 0; i < y.size(); ++i) y[i] = half + i < n ? clamp(512 * s64{x[half + i]}) : 0;
    for (u32 i = 0; i < fade && faded_from != nullptr; ++i)
        y[i] =
            clamp(floor_div((32 - i) * s64{(*faded_from)[i]}, 32) + floor_div(i * s64{y[i]}, 32));
    return y;
}

/* Filters of any content, spectra that are not clear, all layouts, and guards around everything. */
void check_frames() {
    operand_source source(5);
    digest pinned;
    for (u32 run = 0; run < 32; ++run) {
        SCOPED_TRACE(run);
        const u32 length = run & 1 ? 128 : 96, fading = run >> 1 & 1;
        const u32 crossfade = fading ? 1 : run >> 2 & 2, pairs = run & 8 ? 5 : 0; // any other value
        renderer host(3, {crossfade, length, n, 0, run & 4 ? 2u : 3u, pairs}, run & 16);
        guarded<s32> filters(6 * n, run & 16);
        words tail[2] = {words(fade), words(fade)};
        for (u32 i = 0; i < 2 * fade; ++i)
            host.back->state->tail[i % 2][i / 2] = tail[i % 2][i / 2] = source.next<s32>();
        u32 changed = 0;
        for (int frame = 0; frame < 4; ++frame) {
            words sums[2];
            for (u32 ear : {0u, 1u}) {
                for (s32 &w : host.spectrum[ear]) w = source.next<s32>() >> 9 * (frame & 1);
                sums[ear].assign(host.spectrum[ear].begin(), host.spectrum[ear].end());
            }
            for (s32 &w : filters) w = source.next<s32>() >> frame;
            for (u32 s = 0; s < 3; ++s) {
                const u64 shift = source.below(24);
                for (s32 &w : host.inputs[s]) w = source.next<s32>() >> shift;
                for (u32 ear : {0u, 1u}) {
                    const s32 *filter = &filters[(2 * s + ear) * n];
                    host.front->state->sources[s].filter[ear] = filter;
                    const words term = model_front(host.input[s], filter);
                    for (u32 i = 0; i < 2 * bins; ++i)
                        sums[ear][i] = wrap(s64{sums[ear][i]} + term[i]);
                }
            }
            ASSERT_EQ(0u, host.play_front());
            if (source.below(2)) host.back->state->changed = changed = 1 + (frame & 2);
            for (u32 ear : {0u, 1u})
                ASSERT_TRUE(
                    std::equal(sums[ear].begin(), sums[ear].end(), host.spectrum[ear].begin()));
            ASSERT_EQ(0u, host.play_back());
            for (u32 ear : {0u, 1u}) {
                const words y =
                    model_back(sums[ear], length, fading && changed == 1 ? &tail[ear] : nullptr);
                for (u32 i = 0; i < length; ++i) {
                    const s32 least = host.is_slim ? INT16_MIN : INT32_MIN;
                    ASSERT_EQ(std::clamp(y[i], least, ~least), host.output(ear, i)) << i;
                    pinned.add(host.output(ear, i));
                }
                if (fading) tail[ear].assign(y.end() - fade, y.end());
                for (u32 i = 0; i < fade; ++i)
                    ASSERT_EQ(tail[ear][i], host.back->state->tail[ear][i]);
            }
            if (fading && changed == 1) changed = 0;
            ASSERT_EQ(changed, host.back->state->changed);
            ASSERT_TRUE(host.intact() && filters.intact());
        }
    }
    EXPECT_EQ(17884322831908297222u, pinned.value());
}

TEST(HrtfRender, FramesFollowTheRules) {
    on_every_isa([](isa) { check_frames(); });
}

/* The format of the filters is what initialize finds in the hrtf instance, sensible or not. */
TEST(HrtfRender, FiltersMayHaveAnyFormat) {
    on_every_isa([](isa) {
        operand_source source;
        renderer host(1, {0, 96, n, 0, 0, 0});
        words filters(2 * n);
        s32 in_use = 29;
        for (const s32 q : {20, 31, 30, 1, 0, -1, -31, -32, -63, -64, 32, 33, 62, 63, 64, 65,
                            INT32_MIN, INT32_MAX, 29}) {
            host.front->state->hrtf->info->q_format = q;
            for (const bool is_read : {false, true}) {
                SCOPED_TRACE(is_read ? q : in_use);
                if (is_read) {
                    ASSERT_EQ(0u, hrtf_filt_front_initialize(host.front));
                    in_use = q;
                }
                for (s32 &w : host.inputs[0]) w = source.next<s32>();
                for (s32 &w : filters) w = source.next<s32>();
                for (u32 ear : {0u, 1u})
                    host.front->state->sources[0].filter[ear] = &filters[ear * n];
                host.clear_spectra();
                ASSERT_EQ(0u, host.play_front());
                for (u32 ear : {0u, 1u}) {
                    const words term = model_front(host.input[0], &filters[ear * n], in_use);
                    ASSERT_TRUE(std::equal(term.begin(), term.end(), host.spectrum[ear].begin()));
                }
                ASSERT_TRUE(host.intact());
            }
        }
    });
}

TEST(HrtfRender, CrossfadeIsLinear) {
    s32 ramp[fade], old_samples[fade], new_samples[fade];
    for (const auto &[from, to] :
         {std::pair{INT32_MIN, INT32_MAX}, {INT32_MAX, INT32_MAX}, {-1, 1}}) {
        std::fill_n(old_samples, fade, from);
        std::fill_n(new_samples, fade, to);
        const s32 last = a3d_crossfade(ramp, old_samples, new_samples);
        for (s64 i = 0; i < fade; ++i)
            EXPECT_EQ(floor_div((32 - i) * from, 32) + floor_div(i * to, 32), ramp[i]);
        EXPECT_EQ(ramp[31], last);
        EXPECT_EQ(last, a3d_crossfade(new_samples, old_samples, new_samples));
        EXPECT_TRUE(std::equal(ramp, ramp + fade, new_samples));
    }
}

/* --- What comes out ----------------------------------------------------------------------------*/

/* A filter's impulse response, 1.0 = full scale. */
std::vector<double> response(const s32 *filter) {
    std::vector<double> h(n);
    for (u32 t = 0; t < n; ++t) {
        double sum = filter[0] + (t % 2 ? -1.0 : 1.0) * filter[1];
        for (u32 k = 1; k < half; ++k) {
            const double angle = 2 * pi * (k * t % n) / n;
            sum += 2 * (filter[2 * k] * std::cos(angle) - filter[2 * k + 1] * std::sin(angle));
        }
        h[t] = sum / n / 536870912.0;
    }
    return h;
}

/* Noise that fills the 32 bits. The error of both ears against the convolution of the unshifted
 * samples, relative to the convolution; samples that the convolution clips are left out. */
TEST(HrtfRender, FramesAreConvolutions) {
    for (const auto &[azimuth, elevation] :
         {std::pair{0, 0}, {30, 10}, {90, -20}, {200, 38}, {300, 60}}) {
        renderer host(1, {1, 96, n, 0, 32, 0});
        ASSERT_EQ(0u, host.place(0, azimuth, elevation));
        operand_source source(7);
        words stream(96 * 12 + n);
        for (s32 &w : stream) w = static_cast<s32>(source.below(u64{1} << 32) - (u64{1} << 31));
        const std::vector<double> h[2] = {response(host.front->state->sources[0].filter[0]),
                                          response(host.front->state->sources[0].filter[1])};
        double signal = 0, noise = 0;
        for (u32 start = 0; start + n <= stream.size(); start += 96) {
            std::copy_n(stream.data() + start, n, host.inputs[0].begin());
            host.clear_spectra();
            ASSERT_EQ(0u, host.play_front());
            ASSERT_EQ(0u, host.play_back());
            for (u32 i = 0; i < 2 * 96 && start >= half; ++i) {
                double y = 0;
                for (u32 t = 0; t < n; ++t) y += h[i % 2][t] * stream[start + half + i / 2 - t];
                if (std::abs(y) >= 2147483647) continue;
                signal += y * y;
                noise += (host.output(i % 2, i / 2) - y) * (host.output(i % 2, i / 2) - y);
            }
        }
        const double snr = 10 * std::log10(signal / noise);
        RecordProperty("snr_" + std::to_string(azimuth), std::to_string(snr));
        EXPECT_GT(snr, 120) << azimuth;
    }
}

/* The same samples, lowered by guard bits, from every source of the host, which are all in one
 * place; relative to full scale. */
struct outcome {
    double peak = 0;  // of the left ear
    double error = 0; // the largest one, against the convolution clipped at full scale
};

outcome play_loud(renderer &host, const words &samples, int guard) {
    const std::vector<double> h = response(host.front->state->sources[0].filter[0]);
    outcome found;
    for (u32 start = 0; start + n <= samples.size(); start += host.length) {
        for (auto &input : host.inputs)
            for (u32 i = 0; i < n; ++i) input[i] = samples[start + i] >> guard;
        host.clear_spectra();
        EXPECT_EQ(0u, host.play_front());
        EXPECT_EQ(0u, host.play_back());
        for (u32 i = 0; i < host.length; ++i) {
            double y = 0;
            for (u32 t = 0; t < half; ++t) y += h[t] * (samples[start + half + i - t] >> guard);
            y = std::clamp(y * static_cast<double>(host.inputs.size()), -0x1p31, 0x1p31 - 1);
            found.peak = std::max(found.peak, std::abs(host.output(0, i) * 0x1p-31));
            found.error = std::max(found.error, std::abs(host.output(0, i) - y) * 0x1p-31);
        }
    }
    return found;
}

/* The bits of headroom that hrtf.h asks for, at the filters with the largest sums of |h| and with
 * the samples that add all of it up: nothing clips. One bit less clips, and does not wrap. */
TEST(HrtfRender, LevelRuleHoldsAtTheWorst) {
    struct {
        u32 tables, sources;
        s32 azimuth, elevation;
        int bits;
        double reached; // of full scale: the sum of |h| times the sources over 2^bits
    } const cases[] = {{0, 1, 100, -10, 3, 0.95},
                       {0, 16, 100, -10, 7, 0.95},
                       {2, 1, 5, 0, 2, 0.81},
                       {2, 25, 5, 0, 7, 0.63}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.tables * 100 + c.sources);
        for (const u32 length : {96u, 128u}) {
            renderer host(c.sources, {1, length, n, 0, 32, 0}, false, c.tables);
            for (u32 k = 0; k < c.sources; ++k)
                ASSERT_EQ(0u, host.place(k, c.azimuth, c.elevation));
            const auto h = response(host.front->state->sources[0].filter[0]);
            words samples(1000);
            for (u32 i = 0; i < samples.size(); ++i)
                samples[i] = h[(half - 1) - i % half] < 0 ? INT32_MIN : INT32_MAX;
            const outcome safe = play_loud(host, samples, c.bits);
            EXPECT_NEAR(c.reached, safe.peak, 0.01);
            EXPECT_LT(safe.error, 1e-4);
            EXPECT_LT(play_loud(host, samples, c.bits - 1).error, 1e-4);
        }
    }
}

/* Why the rule is there: without it loud tones make jumps. */
TEST(HrtfRender, SumsWrapWithoutHeadroom) {
    renderer host(16, {1, 96, n, 0, 32, 0});
    for (u32 k = 0; k < 16; ++k) ASSERT_EQ(0u, host.place(k, 100, -10));
    words square(1000);
    for (u32 i = 0; i < square.size(); ++i) square[i] = i / 12 % 2 ? 1932735283 : -1932735283;
    EXPECT_LT(play_loud(host, square, 7).error, 1e-4);
    EXPECT_LT(play_loud(host, square, 6).error, 1e-4);
    EXPECT_GT(play_loud(host, square, 0).error, 1.0);
}

/* Energy above 4 kHz of a 1 kHz tone whose direction is random in every frame. */
double click_energy(u32 crossfade) {
    renderer host(1, {crossfade, 96, n, 0, 32, 0});
    operand_source source(3);
    std::vector<double> out;
    for (u32 frame = 0; frame < 100; ++frame) {
        for (u32 i = 0; i < n; ++i)
            host.inputs[0][i] =
                static_cast<s32>(5e8 * std::sin(2 * pi * ((96 * frame + i) % 48) / 48));
        EXPECT_EQ(0u, host.place(0, source.between(0, 359), source.between(-40, 90)));
        host.back->state->changed = 1;
        host.clear_spectra();
        host.play_front();
        host.play_back();
        for (u32 i = 0; i < 96; ++i) out.push_back(host.output(0, i));
    }
    constexpr int reach = 200; // of a windowed high-pass, -92 dB at 1 kHz
    std::array<double, 2 * reach + 1> taps;
    for (u32 k = 0; k < taps.size(); ++k) {
        const int t = static_cast<int>(k) - reach;
        const double x = pi * t / (reach + 1), cutoff = 4000.0 / 48000;
        const double window =
            0.35875 + 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) + 0.01168 * std::cos(3 * x);
        const double low = t == 0 ? 2 * cutoff : std::sin(2 * pi * cutoff * t) / (pi * t);
        taps[k] = window * ((t == 0 ? 1 : 0) - low);
    }
    double energy = 0;
    for (std::size_t i = 96; i + taps.size() <= out.size(); ++i) {
        double y = 0;
        for (std::size_t t = 0; t < taps.size(); ++t) y += taps[t] * out[i + t];
        energy += y * y;
    }
    return energy;
}

TEST(HrtfRender, CrossfadeRemovesClicks) {
    const double gain = 10 * std::log10(click_energy(0) / click_energy(1));
    RecordProperty("gain", std::to_string(gain));
    EXPECT_GT(gain, 20);
}

TEST(HrtfRender, MirroredDirectionsSwapTheEars) {
    for (const s32 azimuth : {0, 17, 90, 179}) {
        renderer host[2] = {{1, {1, 96, n, 0, 32, 0}}, {1, {1, 96, n, 0, 32, 1}}};
        for (u32 m : {0u, 1u}) {
            operand_source source(9);
            ASSERT_EQ(0u, host[m].place(0, m ? 360 - azimuth : azimuth, 20));
            for (s32 &w : host[m].inputs[0]) w = source.next<s32>() >> 4;
            ASSERT_EQ(0u, host[m].play_front());
            ASSERT_EQ(0u, host[m].play_back());
        }
        for (u32 i = 0; i < 2 * 96; ++i)
            ASSERT_EQ(host[0].output(i % 2, i / 2), host[1].output(1 - i % 2, i / 2)) << azimuth;
    }
}

/* --- What must not happen ----------------------------------------------------------------------*/

TEST(HrtfRender, RefusedFramesWriteNothing) {
    renderer host(2, {1, 96, n, 0, 32, 0});
    const hrtf_ear_spectra ears = {{host.spectrum[0].data(), host.spectrum[1].data()}};
    const hrtf_ear_outputs out = {{host.wide[0].data(), host.wide[1].data()}};
    const auto *inputs = host.input.data();
    const auto front = hrtf_filt_front_process;
    const auto back = hrtf_filt_back_process;
    EXPECT_EQ(3u, front(nullptr, bins, &ears, n, inputs));
    EXPECT_EQ(2u, front(host.front, bins, nullptr, 255, nullptr));
    EXPECT_EQ(2u, front(host.front, half, nullptr, n, nullptr));
    EXPECT_EQ(3u, front(host.front, bins, nullptr, n, inputs));
    EXPECT_EQ(3u, front(host.front, bins, &ears, n, nullptr));
    ASSERT_EQ(0u, host.place(0, 0, 0));
    EXPECT_EQ(3u, host.play_front()); // the other has no filters yet
    ASSERT_EQ(0u, host.place(1, 0, 0));
    host.front->scratch_ptr = nullptr;
    EXPECT_EQ(3u, host.play_front());
    host.front->state->active = 0;
    EXPECT_EQ(0u, host.play_front());
    EXPECT_EQ(3u, back(nullptr, 96, &out, bins, &ears));
    EXPECT_EQ(3u, back(host.back, 0, nullptr, 0, &ears));
    EXPECT_EQ(3u, back(host.back, 0, &out, 0, nullptr));
    EXPECT_EQ(2u, back(host.back, 95, &out, bins, &ears));
    EXPECT_EQ(2u, back(host.back, 96, &out, half, &ears));
    host.back->scratch_ptr = nullptr;
    EXPECT_EQ(3u, host.play_back());
    for (u32 ear : {0u, 1u}) {
        for (const s32 w : host.spectrum[ear]) ASSERT_EQ(0, w);
        for (const s32 w : host.wide[ear]) ASSERT_EQ(0x5A5A5A5A, w);
    }
}

/* Any order of calls with any parameters: no access leaves what the caller handed over. */
TEST(HrtfRender, RandomCallsStayInTheirMemory) {
    operand_source source;
    for (u32 run = 0; run < 20; ++run) {
        renderer host(static_cast<u32>(source.below(8)),
                      {1, run & 1 ? 128u : 96u, n, 0, run & 4 ? 2u : 0u, run >> 3 & 1}, run & 2);
        for (const auto &input : host.inputs)
            for (s32 &w : input) w = source.next<s32>();
        host.back->state->changed = 1;
        for (int call = 0; call < 200; ++call) {
            const auto id = static_cast<u32>(source.below(12));
            guarded<void *> payload(20 / sizeof(void *) + 1);
            u32 status[4];
            auto *const p = reinterpret_cast<u32 *>(payload.data());
            p[1] = source.below(2) ? source.next<u32>() : static_cast<u32>(source.below(12));
            for (u32 i = 2; i < 5; ++i) p[i] = source.next<u32>();
            if (id == 4)
                payload[8 / sizeof(void *)] = source.below(4) ? host.front_scratch.data() : nullptr;
            status[0] = hrtf_filt_front_set(host.front, id, payload.data());
            if (id == 4)
                payload[8 / sizeof(void *)] = source.below(4) ? host.back_scratch.data() : nullptr;
            status[1] = hrtf_filt_back_set(host.back, id, payload.data());
            p[0] = source.next<u32>();
            status[2] = hrtf_filt_front_get(host.front, id, payload.data());
            status[3] = hrtf_filt_back_get(host.back, id, payload.data());
            for (const u32 s : status) ASSERT_TRUE(s == 0 || s == 2);
            const u32 front = host.play_front(), back = host.play_back();
            ASSERT_TRUE((front == 0 || front == 3) && (back == 0 || back == 3));
            ASSERT_TRUE(host.intact() && payload.intact());
        }
    }
}

} // namespace
} // namespace earshot::test
