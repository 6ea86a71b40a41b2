// The azimuth of a source that goes round the listener at a constant speed.
#pragma once

#include <earshot/types.h>

#include "options.hpp"

namespace earshot_tool {

// The phase after k frames is floor(k 2^32 / (frames per turn)), exactly, however large k is: the
// fraction that a step of 2^-32 turns cannot hold is carried on.
class orbit {
  public:
    // start: a fraction of a turn, Q32. microseconds_per_turn: positive counter-clockwise, negative
    // clockwise, 0 for a source that stands still.
    orbit(u32 start, s64 microseconds_per_turn, int rate);

    // The azimuth of the next frame, a fraction of a turn, Q32.
    u32 next();

    bool moves() const { return frame_period_ != 0; }

  private:
    u32 start_;
    bool clockwise_;
    u64 frame_period_ = 0; // of a turn in millionths of a frame
    u64 whole_step_ = 0;   // 2^32 10^6 / frame_period_
    u64 rest_step_ = 0;    // and what the division leaves
    u64 rest_ = 0;
    u32 phase_ = 0;
};

// Of a turn, either way.
inline constexpr double shortest_orbit = 0.01; // seconds
inline constexpr double longest_orbit = 1e6;

// "--orbit": seconds of a turn, not 0, negative for clockwise.
void add_orbit(CLI::App &command, double &seconds);

} // namespace earshot_tool
