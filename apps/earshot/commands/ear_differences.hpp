// Level and time difference of the two channels of a recording for two ears.
//
// The time difference is the lag at which the channels' cross-correlation is largest, within a
// millisecond, which is more than any head causes; between samples, a parabola through the three
// largest values tells. All this is printed, never heard, so it is floating point.
#pragma once

#include <optional>
#include <vector>

#include <earshot/types.h>

namespace earshot_tool {

class ear_differences {
  public:
    explicit ear_differences(int rate);

    // A frame, Q31: left and right.
    void add(const s32 *frame);

    // Forgets the sums over the frames so far. The last samples stay: the next ones may be delayed
    // copies of them.
    void clear();

    s64 frames() const { return frames_; }
    double level_db(int ear) const; // relative to full scale; minus infinity for silence

    // Microseconds by which the left ear is later than the right one: positive for sound from the
    // right. Nothing where the ears have nothing in common.
    std::optional<double> time_difference() const;

  private:
    double correlation(int lag) const;

    int rate_;
    int longest_lag_;              // frames
    std::vector<double> past_[2];  // the last frames of each ear, twice, for a window at any place
    std::size_t newest_ = 0;       // place of the newest frame in the first copy
    std::vector<double> later_[2]; // sums by lag, where this ear is the later one
    double power_[2] = {0, 0};
    s64 frames_ = 0;
};

} // namespace earshot_tool
