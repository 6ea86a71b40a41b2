#include "commands/batch_record.hpp"

#include "console.hpp"
#include "scene/description/json_place.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

std::string quoted(const std::string &text) {
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string hundredths_or_null(const std::optional<double> &value) {
    return value ? fixed(*value, 2) : "null";
}

// Seconds to the nearest microsecond, without zeros at the end.
std::string duration_text(s64 frames, int rate) {
    constexpr s64 million = 1'000'000;
    const s64 rest = (frames % rate * million + rate / 2) / rate;
    const s64 seconds = frames / rate + rest / million;
    std::string decimals = std::to_string(million + rest % million).substr(1);
    decimals.erase(decimals.find_last_not_of('0') + 1);
    return std::to_string(seconds) + (decimals.empty() ? "" : "." + decimals);
}

std::optional<double> number_or_null(const json &value) {
    if (value.is_null()) return std::nullopt;
    return value.get<double>();
}

} // namespace

std::string text_of(const batch_record &record) {
    std::string text = "{\"line\": " + std::to_string(record.line) +
                       ", \"output\": " + (record.output.empty() ? "null" : quoted(record.output));
    if (record.failed()) return text + ", \"error\": " + quoted(record.error) + "}";
    text += ", \"job\": \"" + record.job + "\", \"digest\": \"" + record.digest + "\"";
    text += ", \"peak\": " + hundredths_or_null(record.peak);
    text += ", \"loudness\": " + hundredths_or_null(record.loudness);
    text += ", \"duration\": " + duration_text(record.frames, record.rate);
    text += ", \"frames\": " + std::to_string(record.frames);
    text += ", \"channels\": " + std::to_string(record.channels);
    text += ", \"rate\": " + std::to_string(record.rate);
    return text + ", \"clipped\": " + std::to_string(record.clipped) + "}";
}

std::optional<batch_record> parse_record(std::string_view text) {
    batch_record record;
    try {
        const json object = json::parse(text);
        record.line = object.at("line");
        if (!object.at("output").is_null()) record.output = object.at("output");
        if (object.contains("error")) {
            record.error = object.at("error");
            return record;
        }
        record.job = object.at("job");
        record.digest = object.at("digest");
        record.peak = number_or_null(object.at("peak"));
        record.loudness = number_or_null(object.at("loudness"));
        record.frames = object.at("frames");
        record.channels = object.at("channels");
        record.rate = object.at("rate");
        record.clipped = object.at("clipped");
    } catch (const json::exception &) {
        return std::nullopt;
    }
    if (record.rate < 1) return std::nullopt;
    return record;
}

} // namespace earshot_tool
