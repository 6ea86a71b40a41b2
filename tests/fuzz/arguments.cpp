/*
 * The tool's command line, its pieces, and tables of keyframes: either an error of the tool's or
 * what was asked for, within its range. An input is a line for each argument, a line of ====, and a
 * table.
 */
#include <CLI/App.hpp>

#include "commands/commands.hpp"
#include "commands/orbit.hpp"
#include "commands/source_argument.hpp"
#include "error.hpp"
#include "field/keyframes.hpp"
#include "scene/description/loudspeakers.hpp"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>

namespace {

using namespace earshot_tool;

void require(bool holds) {
    if (!holds) std::abort();
}

std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

/* Nothing is opened and nothing runs: that is left to what is chosen. A parser of all commands
 * takes most of the time to make, so there is only the one that is named. */
void parse_command_line(std::vector<std::string> arguments) {
    static const std::map<std::string, void (*)(CLI::App &, action &)> commands = {
        {"rotate", add_rotate}, {"encode", add_encode},
        {"render", add_render}, {"binauralize", add_binauralize},
        {"bench", add_bench},   {"info", add_info},
        {"batch", add_batch}};
    const auto named = arguments.empty() ? commands.end() : commands.find(arguments[0]);
    if (named == commands.end()) return;
    CLI::App app("", "earshot");
    action chosen;
    named->second(app, chosen);
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(arguments);
    } catch (const CLI::CallForHelp &) {
        require(!app.help().empty());
    } catch (const CLI::ParseError &error) {
        require(*error.what() != '\0');
    } catch (const usage_error &error) {
        require(*error.what() != '\0');
    }
}

/* After k frames the phase is the whole part of k 2^32 / (frames a turn), however large k is. */
void go_round(double seconds, u32 start) {
    using wide = unsigned __int128;
    constexpr int rate = 500;
    const s64 period = std::llround(seconds * 1e6);
    orbit turn(start, period, rate);
    for (u32 k = 0; k < 50; ++k) {
        const wide phase =
            period == 0 ? 0
                        : (wide{k} * 1000000 << 32) / (static_cast<u64>(std::abs(period)) * rate);
        require(turn.next() ==
                (period < 0 ? start - static_cast<u32>(phase) : start + static_cast<u32>(phase)));
    }
}

void parse_pieces(const std::string &text) {
    try {
        const source_argument source = parse_source(text);
        require(!source.file.empty() && source.channel >= 0 && source.channel <= 1024);
        require(source.from || (source.on && layout_called(source.on->name)));
        require(!source.from || std::abs(source.from->elevation) <= 90 << 16);
        const s32 gain = source.on ? source.on->gain : source.from->gain;
        require(gain >= -120000 && gain <= 60000);
    } catch (const usage_error &error) {
        require(std::string_view(error.what()).starts_with("-s "));
    }
    const auto number = parse_number(text);
    if (!number) return;
    require(std::isfinite(*number) && parse_number(number_text(*number)) == *number);
    const double magnitude = std::fabs(*number);
    if (magnitude >= shortest_orbit && magnitude <= longest_orbit)
        go_round(*number, static_cast<u32>(text.size()) << 28);
}

void parse_table(const std::string &text) {
    std::vector<keyframe> rows;
    try {
        rows = parse_keyframes(text, "k.csv", focus_direction{90 << 16, 0});
    } catch (const processing_error &error) {
        require(std::string_view(error.what()).starts_with("k.csv:"));
    }
    s64 before = std::numeric_limits<s64>::min() / 2;
    for (const keyframe &row : rows) {
        const field_setting &s = row.setting;
        require(s.focus && row.frame >= 0 && row.frame > before);
        require(std::max(std::abs(s.yaw), std::abs(s.focus_yaw)) <= HOA_EFFECT_MAX_YAW);
        require(std::max(std::abs(s.pitch), std::abs(s.focus_pitch)) <= HOA_EFFECT_MAX_PITCH);
        before = row.frame;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size), line = "\n====\n";
    const std::size_t end = text.find(line);
    const std::vector<std::string> arguments = lines_of(text.substr(0, end));
    parse_command_line(arguments);
    for (const std::string &argument : arguments) parse_pieces(argument);
    if (end != std::string::npos) parse_table(text.substr(end + line.size()));
    return 0;
}
