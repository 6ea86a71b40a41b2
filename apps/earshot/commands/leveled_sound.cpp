#include "commands/leveled_sound.hpp"

#include <algorithm>
#include <cmath>

namespace earshot_tool {

namespace {

frame_source &last_of(rendered_stream &stream, std::optional<resampler> &converted, int rate) {
    if (rate == stream.rate()) return stream;
    return converted.emplace(stream, rate);
}

} // namespace

leveled_sound::leveled_sound(rendered_stream &stream, const output_level &level,
                             const sample_range &range, int rate, int room)
    : stream_(stream), level_(level), range_(range), room_(room),
      last_(last_of(stream, converted_, rate)) {
    if (converted_)
        stream.set_level(level.raised(-room), {});
    else
        stream.set_level(level, range);
}

std::size_t leveled_sound::read(s32 *interleaved, std::size_t frames) {
    const std::size_t got = last_.read(interleaved, frames);
    if (!converted_) return got;
    const std::size_t count = got * static_cast<std::size_t>(channels());
    const sample_extremes extremes = extremes_of(interleaved, count);
    converted_peak_ = std::max(converted_peak_, extremes.peak() << room_);
    output_level{}.raised(room_).apply(interleaved, interleaved, count, extremes, range_, clipped_);
    return got;
}

double leveled_sound::peak() const {
    const auto converted = static_cast<double>(converted_peak_);
    if (converted_ && stream_.clipped() == 0) return converted;
    const double unit = std::ldexp(1.0, -rendered_stream::peak_fraction);
    return std::max(converted, static_cast<double>(stream_.peak()) * unit * level_.factor());
}

} // namespace earshot_tool
