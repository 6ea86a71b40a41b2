// A scene: sounds around a listener, where they are and how that changes over time. Everything is a
// whole number, made once when the scene is read, so that a scene sounds the same to the bit
// wherever it is rendered.
//
// Frame of reference: x to the front, y to the left, z up. Positions are metres in Q16, angles
// degrees in Q16. Azimuth counts counter-clockwise from the front, elevation upwards.
//
// Times are samples at 48000 Hz from the beginning of the scene.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include <earshot/spatial.h>

namespace earshot_scenes {

inline constexpr int scene_rate = 48000;

// What makes a scene impossible; the message names the place.
struct scene_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Metres, Q16. Coordinates lie within +-8191 m, so that the difference of two and its rotation
// cannot leave the 32 bits.
struct position {
    s32 x = 0;
    s32 y = 0;
    s32 z = 0;

    bool operator==(const position &) const = default;
};

inline constexpr s64 whole_turn = s64{360} << 16; // degrees, Q16

// Degrees, Q16. The azimuth is any number; whole turns make no difference.
struct direction {
    s32 azimuth = 0;
    s32 elevation = 0;

    bool operator==(const direction &) const = default;
};

// From no direction at all: both ears hear it alike, whichever way the listener turns, as late as
// what comes from the front and as loud as low frequencies from there.
struct everywhere {};

// The turns that take a listener who looks to the front into an orientation, each about the
// listener's own axes as the turns before have left them: yaw to the left, then pitch upwards, then
// roll to the right (right ear down). Degrees, Q16.
struct head_angles {
    s32 yaw = 0;
    s32 pitch = 0;
    s32 roll = 0;

    bool operator==(const head_angles &) const = default;
};

// The same turn as a unit quaternion, Q31: v becomes q v q*, the axis in the scene's frame.
struct quaternion {
    s32 w = INT32_MAX;
    s32 x = 0;
    s32 y = 0;
    s32 z = 0;

    bool operator==(const quaternion &) const = default;
};

template <class Value> struct track_row {
    s64 time = 0;
    Value value{};
};

// At least one row, times strictly increasing. Between two rows the value goes in a straight line,
// an angle the shorter way round (see track.hpp), before the first and after the last it stays.
// What never changes is one row.
template <class Value> using track = std::vector<track_row<Value>>;

// Where a head looks.
using orientation_track = std::variant<track<head_angles>, track<quaternion>>;

struct scene_listener {
    track<earshot_scenes::position> position{1};
    orientation_track orientation = track<head_angles>(1);
};

// Gain over distance, see distance_gain.hpp.
struct scene_rolloff {
    u32 model = ROLLOFF_INVERSE;
    s32 minimum = 0; // metres, Q16
    s32 maximum = 0;
};

// In the order of the bits of WAVE_FORMAT_EXTENSIBLE's mask.
enum class loudspeaker {
    front_left,
    front_right,
    front_centre,
    low_frequency,
    back_left,
    back_right,
    front_left_of_centre,
    front_right_of_centre,
    back_centre,
    side_left,
    side_right,
    top_centre,
    top_front_left,
    top_front_centre,
    top_front_right,
    top_back_left,
    top_back_centre,
    top_back_right,
};

using loudspeakers = std::vector<loudspeaker>; // of the channels of a sound, in order

// A sound with a channel for every loudspeaker of a layout.
struct bed {
    std::string name; // of the layout
    loudspeakers speakers;
};

struct scene_source {
    std::string file;
    int channel = 0; // counted from 1; 0: the only one
    // Which of the scene's beds it is a channel of. Its channel is that of the layout: a file may
    // say that it has them in another order.
    std::optional<std::size_t> bed;
    std::size_t entry = 0; // of the text that describes the scene: of a bed, all have the same one
    s64 start = 0;
    s32 gain = 0; // thousandths of a decibel, -120000 to 60000
    bool loop = false;
    bool dc_block = false;
    // A source at a direction is at no particular distance: it turns with the listener's head and
    // does not change when the listener walks, and it has no roll-off.
    std::variant<track<position>, track<direction>, everywhere> place = track<direction>(1);
    std::optional<scene_rolloff> rolloff;
};

struct scene {
    std::optional<s64> duration; // nothing: until the last source that does not loop has ended
    scene_listener listener;
    std::vector<scene_source> sources; // 1 to 4096
    std::vector<bed> beds;             // their sources stand next to each other
};

} // namespace earshot_scenes
