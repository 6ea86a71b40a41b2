/*
 * Whole frames of the renderer whose headroom follows the signal: against convolution and fades in
 * double precision, at inputs that are as bad as they can be, and in guarded memory.
 */
#include "../hrtf/guarded.hpp"
#include "../support/digest.hpp"
#include "../support/isas.hpp"
#include "../support/operands.hpp"

#include <earshot/earshot.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <deque>
#include <map>
#include <numbers>
#include <vector>

namespace earshot::test {
namespace {

constexpr u32 n = 256;
constexpr double pi = std::numbers::pi;
using signal = std::vector<double>;

/* --- Filters -----------------------------------------------------------------------------------*/

/* The response of an ear: 256 samples of a circular convolution. */
signal response_of(const s32 *filter) {
    static const signal cosine = [] {
        signal table(n);
        for (u32 i = 0; i < n; ++i) table[i] = std::cos(2 * pi * i / n);
        return table;
    }();
    signal h(n);
    for (u32 t = 0; t < n; ++t) {
        double sum = filter[0] + (t % 2 ? -1.0 : 1.0) * filter[1];
        for (u32 k = 1; k < n / 2; ++k)
            sum += 2 * (filter[2 * k] * cosine[k * t % n] -
                        filter[2 * k + 1] * cosine[(k * t + 3 * n / 4) % n]);
        h[t] = sum / n / (1 << 29);
    }
    return h;
}

/* A pair with its gain, and what it stands for. */
struct filters {
    explicit filters(const s32 *left, const s32 *right)
        : response{response_of(left), response_of(right)} {
        std::copy_n(left, n, pair.ear[0]);
        std::copy_n(right, n, pair.ear[1]);
        double largest = 0;
        for (const s32 *ear : {left, right}) {
            largest = std::max({largest, std::abs(1.0 * ear[0]), std::abs(1.0 * ear[1])});
            for (u32 i = 2; i < n; i += 2)
                largest = std::max(largest, std::hypot(1.0 * ear[i], 1.0 * ear[i + 1]));
        }
        pair.gain = static_cast<u32>(std::ceil(largest / (1 << 13)));
    }
    earshot_filter_pair pair{};
    signal response[2];
};

/* Of the library's tables: a direction, or channel k of a field as azimuth k. */
filters filters_at(s32 azimuth, s32 elevation, u32 tables = 0) {
    const hrtf_config config = {tables};
    hrtf_instance memory, *instance = nullptr;
    hrtf_init(&instance, 1, &config, &memory, sizeof memory);
    hrtf_position position = {0, azimuth * 65536, elevation * 65536};
    hrtf_filter_pair found{};
    EXPECT_EQ(0u, hrtf_selection(instance, &position, &found));
    return filters(found.ear[0], found.ear[1]);
}

/* As loud as words can be: every entry has a modulus of 4 sqrt 2. */
filters loudest_filters(operand_source &draw) {
    s32 words[2][n];
    for (auto &ear : words)
        for (s32 &w : ear) w = draw.below(2) ? INT32_MAX : INT32_MIN;
    return filters(words[0], words[1]);
}

/* --- The renderer and its model ----------------------------------------------------------------*/

size_t size_of(const earshot_binaural_config &config) {
    size_t size = 0;
    EXPECT_EQ(0u, earshot_binaural_get_size(&config, &size));
    return size;
}

/* Between guard pages; the block begins at any address that is aligned for a pointer. */
struct renderer {
    explicit renderer(const earshot_binaural_config &c, bool shifted = false)
        : config(c), block(size_of(c) / sizeof(void *), shifted), ears(2 * c.frame_length, shifted),
          from(c.sources), to(c.sources) {
        EXPECT_EQ(0u, earshot_binaural_init(&handle, &config, block.data(), size_of(c)));
        for (u32 i = 0; i < c.sources; ++i)
            input.push_back(windows.emplace_back(n, shifted).data());
    }
    void set(u32 source, const filters &f) {
        ASSERT_EQ(0u, earshot_binaural_set(handle, source, &f.pair));
        to[source] = &f;
        if (from[source] == nullptr) from[source] = &f;
    }
    void process() {
        ASSERT_EQ(0u, earshot_binaural_process(handle, input.data(), ears.data(), &exponent));
        ASSERT_TRUE(block.intact() && ears.intact());
        ASSERT_TRUE(exponent >= -8 && exponent <= 24) << exponent;
    }
    double output(u32 i, u32 ear) const { return std::ldexp(ears[2 * i + ear], exponent); }

    earshot_binaural_config config;
    guarded<void *> block;
    guarded<s32> ears;
    std::deque<guarded<s32>> windows;
    std::vector<const s32 *> input;
    std::vector<const filters *> from, to; /* the model's: of the frame's beginning and end */
    earshot_binaural *handle = nullptr;
    s32 exponent = 99;
};

/* Adds up what comes out and how far it is from the definition: in every seventh sample, which
 * saves an emulator the time. */
class error_meter {
  public:
    void add_frame(renderer &r) {
        /* Windows by the filters that they meet in the end, and in the beginning. */
        std::map<const filters *, std::array<signal, 2>> mixed;
        for (u32 s = 0; s < r.config.sources; ++s)
            for (u32 end : {0u, 1u}) {
                signal &window = mixed[end ? r.to[s] : r.from[s]][end];
                window.resize(n);
                /* A copy, for an emulator of vector code reads beyond what it converts. */
                const std::vector<s32> samples(r.input[s], r.input[s] + n);
                for (u32 i = 0; i < n; ++i) window[i] += samples[i];
            }
        const u32 length = r.config.frame_length;
        for (u32 i = (length - 1) % 7; i < length; i += 7)
            for (u32 ear : {0u, 1u}) {
                const double late = (i + 1.0) / length;
                double expected = 0;
                for (const auto &[f, windows] : mixed)
                    expected += (1 - late) * convolved(windows[0], *f, ear, r.config.lead + i) +
                                late * convolved(windows[1], *f, ear, r.config.lead + i);
                signal_ += expected * expected;
                error_ += std::pow(r.output(i, ear) - expected, 2);
            }
        r.from = r.to;
    }
    double signal_to_error() const { return 10 * std::log10(signal_ / error_); }

  private:
    static double convolved(const signal &x, const filters &f, u32 ear, u32 at) {
        double sum = 0;
        for (u32 t = 0; t < x.size(); ++t) sum += f.response[ear][t] * x[(at - t) % n];
        return sum;
    }
    double signal_ = 0, error_ = 0;
};

/* --- Signals -----------------------------------------------------------------------------------*/

using fill = void (*)(operand_source &draw, s32 *window, u32 source);

void loud(operand_source &draw, s32 *x, u32) {
    for (u32 i = 0; i < n; ++i) x[i] = static_cast<s32>(draw.below(u64{1} << 32));
}
template <s32 peak> void noise(operand_source &draw, s32 *x, u32) {
    for (u32 i = 0; i < n; ++i) x[i] = draw.between(-peak, peak);
}
constexpr fill quiet = noise<300>, soft = noise<14808000>; /* -142 and -48 dBFS rms */
/* A single sample at full scale. */
void sparse(operand_source &draw, s32 *x, u32) {
    std::fill_n(x, n, 0);
    x[draw.below(n)] = draw.below(2) ? INT32_MAX : INT32_MIN;
}
void square(operand_source &draw, s32 *x, u32) {
    const u64 half_period = 1 + draw.below(n);
    for (u32 i = 0; i < n; ++i) x[i] = i / half_period % 2 ? INT32_MIN : INT32_MAX;
}
/* 1 kHz at -12 dBFS in source 0. */
void tone(operand_source &draw, s32 *x, u32 source) {
    const double peak = source == 0 ? 0x1p29 : 0, phase = 0.001 * draw.between(0, 6283);
    for (u32 i = 0; i < n; ++i)
        x[i] = static_cast<s32>(std::lround(peak * std::sin(pi * i / 24 + phase)));
}
void tone_in_noise(operand_source &draw, s32 *x, u32 source) {
    (source == 0 ? tone : quiet)(draw, x, source);
}

/* --- Tests -------------------------------------------------------------------------------------*/

std::vector<filters> some_filters() {
    std::vector<filters> all;
    all.reserve(12);
    for (s32 i = 0; i < 12; ++i) all.push_back(filters_at(31 * i, 15 * i - 40));
    return all;
}

/* Frames of a signal, still or with other filters now and then: of several that are set before a
 * frame, the last ones count. */
template <class Frame>
void play(renderer &r, operand_source &draw, fill signal, const std::vector<filters> &all,
          bool moves, int frames, const Frame &each) {
    for (int frame = 0; frame < frames; ++frame) {
        for (u32 s = 0; s < r.config.sources; ++s) {
            signal(draw, r.windows[s].data(), s);
            for (u64 times = frame == 0 ? 1 : moves ? draw.below(3) : 0; times > 0; --times)
                r.set(s, all[static_cast<u32>(draw.below(all.size()))]);
        }
        ASSERT_NO_FATAL_FAILURE(r.process());
        each();
    }
}

TEST(Binaural, FramesFollowTheModel) {
    const std::vector<filters> all = some_filters();
    struct {
        const char *name;
        fill signal;
        u32 sources, length, lead;
        bool moves;
        double least; /* signal to error, dB */
    } const cases[] = {
        {"loud", loud, 1, 96, 140, false, 127},
        {"loud", loud, 64, 96, 140, true, 119},
        {"loud", loud, 5, 128, 128, true, 126},
        {"loud", loud, 3, 1, 255, true, 121},
        {"loud", loud, 3, 17, 0, true, 126},
        {"quiet", quiet, 64, 96, 140, true, 55},
        {"sparse", sparse, 16, 96, 140, true, 126},
        {"square", square, 1, 96, 140, false, 136},
        {"square", square, 64, 96, 140, true, 126},
        {"tone", tone, 1, 96, 140, false, 132},
        {"tone", tone, 256, 96, 140, false, 132},
        {"tone in noise", tone_in_noise, 256, 96, 140, false, 123},
        {"tone in noise", tone_in_noise, 16, 96, 140, true, 132},
        {"soft", soft, 50, 96, 140, true, 117},
    };
    operand_source draw(1);
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << " in " << c.sources);
        renderer r({c.sources, c.length, c.lead}, c.sources % 2);
        error_meter meter;
        play(r, draw, c.signal, all, c.moves, c.sources > 8 ? 3 : 12, [&] { meter.add_frame(r); });
        EXPECT_GE(meter.signal_to_error(), c.least);
    }
}

/* What adds up as far as full scale can: at one sample, or at one bin; by filters as loud as the
 * tables' are, and by the loudest that there are, before and after a fade as well. */
TEST(Binaural, NothingWrapsAtTheWorstInputs) {
    operand_source draw(2);
    std::vector<filters> all = some_filters();
    for (int i = 0; i < 4; ++i) all.push_back(loudest_filters(draw));
    for (const filters &f : all)
        for (const u32 sources : {1u, 2u, 11u}) {
            renderer r({sources, 96, 140});
            const signal &h = f.response[draw.below(2)];
            for (u32 round = 0; round < 5; ++round) {
                /* Still, to others, back, and so on. */
                for (u32 s = 0; s < sources; ++s) r.set(s, round % 2 ? all[0] : f);
                const bool at_one_sample = draw.below(2);
                const u32 at = 140 + static_cast<u32>(draw.below(96));
                const s32 any = draw.between(0, 128), k = draw.below(2) ? any / 43 * 64 : any;
                const double phase = 0.01 * draw.between(0, 628);
                for (u32 s = 0; s < sources; ++s)
                    for (u32 t = 0; t < n; ++t) {
                        const double sign =
                            at_one_sample ? h[(at - t) % n] : std::cos(2 * pi * k * t / n + phase);
                        r.windows[s][t] = sign > 0 ? INT32_MAX : INT32_MIN;
                    }
                ASSERT_NO_FATAL_FAILURE(r.process());
                error_meter meter;
                meter.add_frame(r);
                EXPECT_GE(meter.signal_to_error(), 100) << sources << " sources";
            }
        }
}

/* Wherever silent sources stand and move, and however quiet and loud ones take turns. */
TEST(Binaural, SilentSourcesChangeNoBit) {
    const std::vector<filters> all = some_filters();
    operand_source draw;
    renderer few({2, 96, 140}), many({5, 96, 140}, true);
    for (u32 s : {0u, 2u, 4u}) std::fill(many.windows[s].begin(), many.windows[s].end(), 0);
    for (int frame = 0; frame < 50; ++frame) {
        for (u32 s = 0; s < 5; ++s)
            if (frame == 0 || draw.below(2)) {
                const filters &f = all[static_cast<u32>(draw.below(12))];
                many.set(s, f);
                if (s % 2) few.set(s / 2, f);
            }
        for (u32 s : {1u, 3u}) {
            const fill fills[] = {loud, quiet, sparse};
            fills[draw.below(3)](draw, many.windows[s].data(), s);
            if (draw.below(4) == 0) std::fill(many.windows[s].begin(), many.windows[s].end(), 0);
            std::copy(many.windows[s].begin(), many.windows[s].end(), few.windows[s / 2].begin());
        }
        ASSERT_NO_FATAL_FAILURE(few.process());
        ASSERT_NO_FATAL_FAILURE(many.process());
        ASSERT_EQ(few.exponent, many.exponent);
        ASSERT_TRUE(std::equal(few.ears.begin(), few.ears.end(), many.ears.begin()));
    }
}

/* Every isa has these bits, and so has every processor. */
TEST(Binaural, BitsAreTheSameEverywhere) {
    std::vector<filters> all = some_filters();
    for (s32 k = 0; k < 25; ++k) all.push_back(filters_at(k, 0, 2));
    on_every_isa([&](isa) {
        operand_source draw(3);
        digest pinned;
        for (const fill signal : {loud, quiet, sparse, square, soft})
            for (const u32 length : {96u, 128u, 37u})
                for (const s32 bits : {-1, 0, 6}) {
                    renderer r({3, length, 128}, length == 37);
                    ASSERT_EQ(0u, earshot_binaural_fix_headroom(r.handle, bits));
                    play(r, draw, signal, all, true, 6, [&] {
                        pinned.add(r.exponent);
                        for (const s32 w : r.ears) pinned.add(w);
                    });
                }
        EXPECT_EQ(3494285867459196560u, pinned.value());
    });
}

/* A fixed headroom that is enough is right, with a bit less for every bit of it, and counts
 * nothing; one that is not, counts, and what it counts can wrap. */
TEST(Binaural, FixedHeadroomIsCountedWhereItIsTooLittle) {
    const std::vector<filters> all = some_filters();
    operand_source draw(4);
    bool wrapped = false;
    for (const s32 bits : {0, 1, 3, 5, 8, 16, 22}) {
        SCOPED_TRACE(bits);
        renderer r({16, 96, 140});
        ASSERT_EQ(0u, earshot_binaural_fix_headroom(r.handle, bits));
        error_meter meter, following;
        play(r, draw, square, all, true, 4, [&] { meter.add_frame(r); });
        const u64 unsafe = earshot_binaural_unsafe_frames(r.handle);
        EXPECT_EQ(bits < 5 ? 4u : 0u, unsafe);
        if (unsafe == 0) {
            EXPECT_GE(meter.signal_to_error(), 118 - 6 * (bits - 5));
        } else {
            wrapped = wrapped || meter.signal_to_error() < 10;
        }
        ASSERT_EQ(0u, earshot_binaural_fix_headroom(r.handle, -1));
        play(r, draw, square, all, true, 1, [&] { following.add_frame(r); });
        EXPECT_GE(following.signal_to_error(), 120);
        EXPECT_EQ(unsafe, earshot_binaural_unsafe_frames(r.handle));
    }
    EXPECT_TRUE(wrapped);
}

TEST(Binaural, CallsAreChecked) {
    constexpr u32 bad_value = 2, bad_memory = 3;
    std::vector<void *> large(500000);
    size_t size = 0;
    const earshot_binaural_config configs[] = {
        {1, 1, 0},    {1, 1, 255},      {65536, 128, 128}, /* these will do */
        {0, 96, 140}, {65537, 96, 140}, {1, 0, 0},
        {1, 129, 0},  {1, 96, 161},     {1, 1, UINT32_MAX}};
    for (const auto &c : configs) {
        SCOPED_TRACE(&c - configs);
        earshot_binaural *made = nullptr;
        const u32 status = &c - configs < 3 ? 0 : bad_value;
        EXPECT_EQ(status, earshot_binaural_get_size(&c, &size));
        EXPECT_EQ(status,
                  earshot_binaural_init(&made, &c, large.data(), large.size() * sizeof(void *)));
        EXPECT_EQ(status == 0, made != nullptr);
    }

    const earshot_binaural_config config = {2, 96, 140};
    ASSERT_EQ(0u, earshot_binaural_get_size(&config, &size));
    guarded<unsigned char> block(size + 1);
    unsigned char *odd = block.data(), *memory = odd + 1;
    earshot_binaural *handle = nullptr;
    const filters f = filters_at(30, 0);
    renderer r(config);
    const auto process = [&] {
        return earshot_binaural_process(r.handle, r.input.data(), r.ears.data(), &r.exponent);
    };
    r.set(0, f);
    r.set(0, f);
    EXPECT_EQ(bad_memory, process()); /* source 1 has no filters */
    r.set(1, f);
    const s32 *const *windows = r.input.data();
    const u32 refused[] = {earshot_binaural_get_size(nullptr, &size),
                           earshot_binaural_get_size(&config, nullptr),
                           earshot_binaural_init(nullptr, &config, memory, size),
                           earshot_binaural_init(&handle, nullptr, memory, size),
                           earshot_binaural_init(&handle, &config, nullptr, size),
                           earshot_binaural_init(&handle, &config, memory, size - 1),
                           earshot_binaural_init(&handle, &config, odd, size + 1),
                           earshot_binaural_set(nullptr, 0, &f.pair),
                           earshot_binaural_set(r.handle, 0, nullptr),
                           earshot_binaural_fix_headroom(nullptr, 0),
                           earshot_binaural_process(nullptr, windows, r.ears.data(), &r.exponent),
                           earshot_binaural_process(r.handle, nullptr, r.ears.data(), &r.exponent),
                           earshot_binaural_process(r.handle, windows, nullptr, &r.exponent),
                           earshot_binaural_process(r.handle, windows, r.ears.data(), nullptr)};
    for (const u32 &status : refused) EXPECT_EQ(bad_memory, status) << &status - refused;
    r.input[1] = nullptr;
    EXPECT_EQ(bad_memory, process());
    EXPECT_EQ(bad_value, earshot_binaural_set(r.handle, 2, &f.pair));
    for (const s32 bits : {-2, 23})
        EXPECT_EQ(bad_value, earshot_binaural_fix_headroom(r.handle, bits));
    EXPECT_EQ(0u, earshot_binaural_unsafe_frames(nullptr));
    EXPECT_TRUE(handle == nullptr && r.exponent == 99);
    for (const unsigned char byte : block) ASSERT_EQ(0x5A, byte);
    for (const s32 w : r.ears) ASSERT_EQ(0x5A5A5A5A, w);
}

} // namespace
} // namespace earshot::test
