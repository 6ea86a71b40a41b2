#include "commands/orbit.hpp"

namespace earshot_tool {

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

} // namespace earshot_tool
