// Where the sound of a field comes from.
//
// The mean active intensity, the mean of W times (X, Y, Z), points at the source where there is
// one. Its share of the mean energy (W^2 + X^2 + Y^2 + Z^2) / 2 tells how directional the field is:
// 1 for a plane wave, 0 where sound comes from everywhere. All this is printed, never heard, so it
// is floating point.
#pragma once

#include "field/channel_layout.hpp"

namespace earshot_tool {

class sound_direction {
  public:
    explicit sound_direction(channel_layout layout);

    // The first four channels of a frame, Q31.
    void add(const s32 *frame);

    // Forgets all frames.
    void clear();

    s64 frames() const { return frames_; }
    bool is_silent() const { return energy_ <= 0; }

    // False where all directions balance out.
    bool exists() const;

    double azimuth() const;     // degrees
    double elevation() const;   // degrees
    double directivity() const; // 0 to 1; not for silence
    double level_db() const;    // of W, relative to full scale; minus infinity for silence

  private:
    double magnitude() const;

    // What makes AmbiX of the channels as they come.
    int y_channel_ = 1;
    int z_channel_ = 2;
    int x_channel_ = 3;
    double w_gain_ = 1;
    double xyz_gain_ = 1;

    // Sums over frames, full scale 1.
    double w_power_ = 0;
    double x_ = 0;
    double y_ = 0;
    double z_ = 0;
    double energy_ = 0;
    s64 frames_ = 0;
};

} // namespace earshot_tool
