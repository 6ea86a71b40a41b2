#include "commands/orbit.hpp"

#include <cmath>

#include <CLI/App.hpp>

#include "error.hpp"

namespace earshot_tool {

namespace {

double parse_orbit(const std::string &text) {
    const auto seconds = parse_number(text);
    if (!seconds) throw usage_error("--orbit: '" + text + "' is not a number");
    const number_range magnitude{shortest_orbit, longest_orbit};
    if (!magnitude.contains(std::fabs(*seconds)))
        throw usage_error("--orbit: " + number_text(*seconds) + " is not " +
                          number_text(shortest_orbit) + " to " + number_text(longest_orbit) +
                          " seconds either way");
    return *seconds;
}

} // namespace

orbit::orbit(u32 start, s64 microseconds_per_turn, int rate)
    : start_(start), clockwise_(microseconds_per_turn < 0) {
    if (microseconds_per_turn == 0) return;
    const s64 period = clockwise_ ? -microseconds_per_turn : microseconds_per_turn;
    frame_period_ = static_cast<u64>(period) * static_cast<u64>(rate);
    const u64 turn = u64{1000000} << 32;
    whole_step_ = turn / frame_period_;
    rest_step_ = turn % frame_period_;
}

u32 orbit::next() {
    const u32 azimuth = clockwise_ ? start_ - phase_ : start_ + phase_;
    phase_ += static_cast<u32>(whole_step_);
    rest_ += rest_step_;
    if (moves() && rest_ >= frame_period_) {
        rest_ -= frame_period_;
        ++phase_;
    }
    return azimuth;
}

void add_orbit(CLI::App &command, double &seconds) {
    command
        .add_option_function<std::string>(
            "--orbit", [&seconds](const std::string &text) { seconds = parse_orbit(text); },
            "Go round once in so many seconds, counter-clockwise; negative: clockwise")
        ->type_name("SECONDS");
}

} // namespace earshot_tool
