#include "scene/rendering/field_mixer.hpp"

#include <algorithm>

#include "scene/motion/track.hpp"
#include "scene/rendering/fixed_point.hpp"
#include "scene/rendering/library_status.hpp"

namespace earshot_scenes {

namespace {

constexpr int gain_bits = 30;

// What the sources' peaks may add up to: times the largest gain, 1, that is 2^63, less what
// rounding adds to so many sources.
constexpr s64 most = (s64{1} << 33) - (s64{1} << 13);

void add_still(const s32 *samples, s32 gain, s64 *sums) {
    for (std::size_t i = 0; i < field_mixer::frame_length; ++i) sums[i] += s64{samples[i]} * gain;
}

// The gain has 32 more bits on its way, so that it is the nearest one at every sample.
void add_moving(const s32 *samples, s32 from, s32 to, s64 *sums) {
    constexpr s64 one = s64{1} << 32;
    const s64 step = (s64{to} - from) * (one / 2) / s64{field_mixer::frame_length / 2};
    s64 gain = from * one + one / 2;
    for (std::size_t i = 0; i < field_mixer::frame_length; ++i) {
        sums[i] += s64{samples[i]} * static_cast<s32>(gain >> 32);
        gain += step;
    }
}

} // namespace

field_mixer::field_mixer(int order, std::size_t sources)
    : order_(static_cast<u32>(order)),
      channels_(static_cast<std::size_t>(order + 1) * static_cast<std::size_t>(order + 1)),
      sources_(sources), sums_(channels_ * frame_length) {}

void field_mixer::place(std::size_t source, s32 azimuth, s32 elevation) {
    sources_[source].placement.place({azimuth, elevation});
}

void field_mixer::place_everywhere(std::size_t source) {
    gains w{};
    w[0] = 1 << gain_bits;
    sources_[source].begin = w;
    sources_[source].end = w;
}

void field_mixer::skip_frame() {
    for (placed_source &source : sources_) source.placement.advance();
}

void field_mixer::forget_places() {
    for (placed_source &source : sources_) source.placement = {};
}

bool field_mixer::knows_enough() const {
    return std::all_of(sources_.begin(), sources_.end(),
                       [](const placed_source &source) { return source.placement.is_known(); });
}

int field_mixer::process(const s32 *samples, s32 *field) {
    s64 peaks = 0;
    for (std::size_t k = 0; k < sources_.size(); ++k)
        peaks += extremes_of(samples + k * frame_length, frame_length).peak();
    int lowered = 0;
    while (peaks >> lowered > most) ++lowered;

    std::fill(sums_.begin(), sums_.end(), 0);
    for (placed_source &source : sources_) {
        advance(source);
        if (lowered == 0)
            add(source, samples);
        else
            add_lowered(source, samples, lowered);
        samples += frame_length;
    }
    const int fraction_bits = gain_bits - lowered;
    const int chosen = exponent(fraction_bits);
    write(fraction_bits + chosen, chosen >= 0, field);
    return chosen;
}

void field_mixer::advance(placed_source &source) const {
    source.begin = source.end;
    source.placement.advance();
    if (!source.placement.take_change()) return;
    const direction &now = source.placement.now();
    require(earshot_field_gains(order_, turn_of_degrees(now.azimuth),
                                turn_of_degrees(now.elevation), source.end.data()),
            "earshot_field_gains");
    if (!source.started) source.begin = source.end;
    source.started = true;
}

// In the horizontal plane, a third of the channels has nothing of a source.
void field_mixer::add(const placed_source &source, const s32 *samples) {
    if (extremes_of(samples, frame_length).peak() == 0) return;
    for (std::size_t k = 0; k < channels_; ++k) {
        s64 *sums = sums_.data() + k * frame_length;
        if (source.begin[k] != source.end[k])
            add_moving(samples, source.begin[k], source.end[k], sums);
        else if (source.end[k] != 0)
            add_still(samples, source.end[k], sums);
    }
}

void field_mixer::add_lowered(const placed_source &source, const s32 *samples, int bits) {
    std::array<s32, frame_length> lowered;
    for (std::size_t i = 0; i < frame_length; ++i)
        lowered[i] = static_cast<s32>(rounded_shift(samples[i], bits));
    add(source, lowered.data());
}

// The smallest with which all words fit.
int field_mixer::exponent(int fraction_bits) const {
    const auto [low, high] = std::minmax_element(sums_.begin(), sums_.end());
    const auto fits = [fraction_bits](s64 sum, int exponent) {
        const s64 word = rounded_shift(sum, fraction_bits + exponent);
        return word >= INT32_MIN && word <= INT32_MAX;
    };
    int found = lowest_exponent;
    while (!fits(*low, found) || !fits(*high, found)) ++found;
    return found;
}

void field_mixer::write(int shift, bool rounded, s32 *field) const {
    const s64 half = rounded ? s64{1} << (shift - 1) : 0;
    for (std::size_t k = 0; k < channels_; ++k) {
        const s64 *sums = sums_.data() + k * frame_length;
        for (std::size_t i = 0; i < frame_length; ++i)
            field[i * channels_ + k] = static_cast<s32>((sums[i] + half) >> shift);
    }
}

} // namespace earshot_scenes
