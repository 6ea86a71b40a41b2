#include "audio/loudness.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace earshot_tool {

namespace {

meter_state make_state(int channels, int rate, int mode) {
    meter_state state(
        ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(rate), mode),
        [](ebur128_state *held) { ebur128_destroy(&held); });
    if (state == nullptr) throw std::runtime_error("the loudness meter cannot be made");
    return state;
}

void add_frames(const meter_state &state, const double *samples, std::size_t frames) {
    if (ebur128_add_frames_double(state.get(), samples, frames) != EBUR128_SUCCESS)
        throw std::runtime_error("the loudness meter has no memory left");
}

// One of the places that count alike: what comes from the side, at the height of the ears, counts
// as louder (ITU-R BS.1770, table 4), and low frequencies do not count.
int counted_as(loudspeaker one, const loudspeakers &all) {
    if (one == loudspeaker::low_frequency) return EBUR128_UNUSED;
    const direction from = direction_of(one, all);
    const s32 azimuth = std::abs(from.azimuth) >> 16;
    const bool is_side = azimuth >= 60 && azimuth <= 120 && from.elevation >> 16 < 30;
    return is_side ? EBUR128_Mp090 : EBUR128_Mp000;
}

} // namespace

// 49 taps of a windowed sinc for rates below 96 kHz, of which every fourth is one set, 25 of every
// second one for those below 192 kHz. The sums of the sets' magnitudes are 1.87 and 2.31.
true_peak_meter::true_peak_meter(int channels, int rate)
    : channels_(static_cast<std::size_t>(channels)), most_(rate < 96000 ? 1.9 : 2.4),
      state_(make_state(channels, rate, EBUR128_MODE_TRUE_PEAK)), block_(reach * channels_) {}

void true_peak_meter::add(const double *interleaved, std::size_t frames) {
    block_.insert(block_.end(), interleaved, interleaved + frames * channels_);
    const std::size_t end = reach + frames;
    for (std::size_t at = reach; at < end; at += reach) interpolate(at, std::min(reach, end - at));
    block_.erase(block_.begin(), block_.end() - static_cast<std::ptrdiff_t>(reach * channels_));
    interpolated_ = interpolated_ == end ? reach : 0;
}

// After a gap, the interpolator first gets what it looks back at; what it makes of the jump there
// does not count.
void true_peak_meter::interpolate(std::size_t begin, std::size_t frames) {
    const double *first = block_.data() + (begin - reach) * channels_;
    const double *samples = block_.data() + begin * channels_;
    const double *last = samples + frames * channels_;
    double highest = 0;
    for (const double *at = first; at != last; ++at) highest = std::max(highest, std::abs(*at));
    if (highest * most_ <= peak_) return;
    if (interpolated_ != begin) add_frames(state_, first, reach);
    add_frames(state_, samples, frames);
    interpolated_ = begin + frames;
    for (unsigned k = 0; k < channels_; ++k) {
        double peak = 0;
        ebur128_prev_true_peak(state_.get(), k, &peak);
        peak_ = std::max(peak_, peak);
    }
}

loudness_meter::loudness_meter(const loudspeakers &channels, int rate, double unit,
                               loudness_measures measures)
    : channels_(channels.size()), rate_(rate), unit_(unit),
      state_(make_state(static_cast<int>(channels_), rate,
                        measures == loudness_measures::all ? EBUR128_MODE_I | EBUR128_MODE_LRA
                                                           : EBUR128_MODE_I)) {
    if (measures == loudness_measures::all) peak_.emplace(static_cast<int>(channels_), rate);
    for (unsigned k = 0; k < channels_; ++k)
        ebur128_set_channel(state_.get(), k, counted_as(channels[k], channels));
}

void loudness_meter::add(const s32 *interleaved, std::size_t frames) {
    const std::size_t count = frames * channels_;
    block_.resize(count);
    for (std::size_t i = 0; i < count; ++i) block_[i] = interleaved[i] * unit_;
    add_frames(state_, block_.data(), frames);
    if (peak_) peak_->add(block_.data(), frames);
    frames_ += static_cast<s64>(frames);
}

std::optional<double> loudness_meter::integrated() const {
    double loudness = 0;
    ebur128_loudness_global(state_.get(), &loudness);
    if (!std::isfinite(loudness)) return std::nullopt;
    return loudness;
}

std::optional<double> loudness_meter::range() const {
    double range = 0;
    if (!peak_ || frames_ < 3 * s64{rate_} || !integrated()) return std::nullopt;
    ebur128_loudness_range(state_.get(), &range);
    return range;
}

std::optional<double> loudness_meter::true_peak() const {
    if (!peak_ || peak_->peak() == 0) return std::nullopt;
    return 20 * std::log10(peak_->peak());
}

} // namespace earshot_tool
