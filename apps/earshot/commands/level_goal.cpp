#include "commands/level_goal.hpp"

#include <algorithm>
#include <cmath>

#include <CLI/App.hpp>

#include "audio/loudness.hpp"
#include "commands/delivery.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

// A measurement must not clip: 48 dB above full scale are left.
constexpr int lowered_bits = 8;

// As levels are told.
std::string hundredths(double value) { return fixed(value, 2); }

// Any gain, in hundredths of a decibel.
output_level level_of(s32 hundredths) {
    constexpr s32 most = 6000; // of one factor
    output_level level;
    for (; hundredths > most; hundredths -= most) level = level * output_level::decibels(10 * most);
    for (; hundredths < -most; hundredths += most)
        level = level * output_level::decibels(-10 * most);
    return level * output_level::decibels(10 * hundredths);
}

// Hands on the lowered sound at the output's rate.
template <class Sink>
void measure(rendered_stream &stream, int rate, const console &out, Sink sink) {
    leveled_sound sound(stream, output_level{}.raised(-lowered_bits), {}, rate, 0);
    drain(sound, out, sink);
    if (sound.clipped() > 0)
        throw processing_error("the sound is more than 48 dB above full scale, which is too loud "
                               "to be measured; lower its sources, or use --gain");
}

// Rounding before and after the conversion may make the peak higher in the other rendering, by a
// few of its lowered units.
s64 converted_peak(rendered_stream &stream, int rate, const console &out) {
    constexpr s64 rounding = 8;
    s64 peak = 0;
    const auto channels = static_cast<std::size_t>(stream.channels());
    measure(stream, rate, out, [&](const s32 *samples, std::size_t frames) {
        peak = std::max(peak, extremes_of(samples, channels * frames).peak());
    });
    if (stream.peak() == 0) return 0;
    return (peak + rounding) << (lowered_bits + rendered_stream::peak_fraction);
}

s64 plain_peak(rendered_stream &stream, const console &out) {
    drain(stream, out, [](const s32 *, std::size_t) {});
    return stream.peak();
}

output_level normalizing(rendered_stream &stream, const sample_range &full_scale, int rate,
                         const console &out) {
    const s64 peak =
        rate == stream.rate() ? plain_peak(stream, out) : converted_peak(stream, rate, out);
    if (peak == 0) {
        out.note("the sound is silent and stays as it is");
        return {};
    }
    return output_level::reaching(full_scale.high << rendered_stream::peak_fraction, peak);
}

// Hundredths of a decibel by which a sound has to be raised, or nothing where it cannot be told.
std::optional<s32> gain_for(const level_goal &goal, const loudness_meter &meter,
                            const console &out) {
    const auto loudness = meter.integrated();
    const auto peak = meter.true_peak();
    if (!peak || (goal.loudness && !loudness)) {
        out.note(peak ? "the sound is too short or too soft to have a loudness and stays as it is"
                      : "the sound is silent and stays as it is");
        return std::nullopt;
    }
    // Rounded down, so that the peak stays below.
    const double to_peak = goal.true_peak ? std::floor((*goal.true_peak - *peak) * 100) : 0;
    if (!goal.loudness) return static_cast<s32>(to_peak);
    const double to_loudness = std::round((*goal.loudness - *loudness) * 100);
    if (!goal.true_peak || to_loudness <= to_peak) return static_cast<s32>(to_loudness);
    out.note("the sound becomes " + hundredths(*loudness + to_peak / 100) + " LUFS and not " +
             hundredths(*goal.loudness) + ": more would take its true peak above " +
             hundredths(*goal.true_peak) + " dBTP");
    return static_cast<s32>(to_peak);
}

output_level reaching_loudness(const level_goal &goal, rendered_stream &stream, int rate,
                               const console &out) {
    const loudspeakers ears = {loudspeaker::front_left, loudspeaker::front_right};
    loudness_meter meter(ears, rate, std::ldexp(1.0, lowered_bits - 31));
    measure(stream, rate, out,
            [&](const s32 *pairs, std::size_t frames) { meter.add(pairs, frames); });
    const auto gain = gain_for(goal, meter, out);
    if (!gain) return {};
    const auto told = [](std::optional<double> value, const char *unit) {
        return value ? hundredths(*value) + unit : std::string("not measurable");
    };
    out.detail("loudness " + told(meter.integrated(), " LUFS") + ", range " +
               told(meter.range(), " LU") + ", true peak " + told(meter.true_peak(), " dBTP") +
               "; the level changes by " + hundredths(*gain / 100.0) + " dB");
    return level_of(*gain);
}

void add_level(CLI::App &command, const std::string &name, std::optional<double> &level,
               const number_range &range, const char *unit, const char *description) {
    command
        .add_option_function<std::string>(
            name,
            [&level, name, range](const std::string &text) {
                level = number_in(name, text, range);
            },
            description)
        ->type_name(unit);
}

} // namespace

std::string level_goal::option() const {
    return normalize ? "--normalize" : loudness ? "--loudness" : "--true-peak";
}

void add_level_goal(CLI::App &command, level_goal &goal) {
    command.add_flag("--normalize", goal.normalize,
                     "Bring the peak to full scale, before --gain; reads the input twice");
    add_level(command, "--loudness", goal.loudness, {-70, 0}, "LUFS",
              "Bring the loudness (EBU R 128) to -70 to 0; reads the input twice");
    add_level(command, "--true-peak", goal.true_peak, {-40, 0}, "DBTP",
              "Bring the true peak to -40 to 0, or with --loudness keep it below");
}

void check_level_goal(const level_goal &goal, bool has_gain) {
    if (!goal.measures_loudness()) return;
    const std::string name = goal.loudness ? "--loudness" : "--true-peak";
    if (goal.normalize)
        throw usage_error("--normalize and " + name +
                          " both say how loud it becomes; leave one "
                          "of them out");
    if (has_gain)
        throw usage_error("--gain would change what " + name +
                          " has reached; leave one of them "
                          "out");
}

output_level level_reaching(const level_goal &goal, rendered_stream &stream,
                            const sample_range &full_scale, int rate, const console &out) {
    return goal.normalize ? normalizing(stream, full_scale, rate, out)
                          : reaching_loudness(goal, stream, rate, out);
}

// The gain is rounded down, and a little lower because gains are not exact in the last digits.
std::string clip_text(const level_goal &goal, const leveled_sound &sound,
                      const sample_range &full_scale, std::optional<s32> gain) {
    const double excess = 20 * std::log10(sound.peak() / static_cast<double>(full_scale.high));
    const double given = gain.value_or(0) / 1000.0;
    const double cure = std::floor((given - excess - 1e-5) * 100) / 100;
    return "at full scale, by up to " + hundredths(excess) + " dB; " +
           (goal.measures_loudness() ? "--true-peak -1"
            : goal.normalize         ? "--normalize without --gain"
                                     : "--gain " + hundredths(cure) + " (or --normalize)") +
           " avoids it";
}

} // namespace earshot_tool
