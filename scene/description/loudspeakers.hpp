// Loudspeakers that the channels of a sound are meant for, and where they stand around the
// listener.
//
// Angles are those of ITU-R BS.2051, nominal ones where it gives a range; upper loudspeakers stand
// at an elevation of 30 degrees. 5.1 is its system B (0+5+0), 7.1 its system I (0+7+0), 5.1.4 its
// system D (4+5+0), 7.1.4 its system J (4+7+0). It has no quad, which is stereo with two more
// loudspeakers in the rear corners.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scene/description/scene.hpp"

namespace earshot_scenes {

// The name of a layout, and its channels in the order of WAV files. Nothing for other names.
std::optional<bed> layout_called(std::string_view name);

// The one with so many channels.
std::optional<bed> layout_of_channels(std::size_t channels);

// "stereo, quad, ... or 7.1.4"
std::string layout_names();

// The loudspeakers of the bits of a mask, as WAVE_FORMAT_EXTENSIBLE has them, from the lowest on;
// none at all for a mask with bits that are no loudspeaker's.
loudspeakers loudspeakers_of_mask(u32 mask);

// "L R C LFE Ls Rs"
std::string names_of(const loudspeakers &all);

// The layout that has these loudspeakers where they stand, by whatever names; nothing for other
// sets.
std::optional<bed> layout_like(const loudspeakers &channels);

// For every loudspeaker of a layout the channel that is meant for it, counted from 1: of 5.1 and
// the like, surround channels may be called side or back ones. Nothing where one is missing or left
// over.
std::optional<std::vector<int>> channels_for(const loudspeakers &layout,
                                             const loudspeakers &channels);

// Where a loudspeaker stands among the others, in whole degrees, Q16. With one pair of surround
// loudspeakers that is at 110 degrees, with two pairs at 90 and 135; quad has it at 135.
direction direction_of(loudspeaker one, const loudspeakers &all);

// The channel for low frequencies is recorded 10 dB lower than the others (ITU-R BS.775).
inline constexpr s32 standard_lfe_gain = 10000; // thousandths of a decibel

// Adds a source for every loudspeaker: `common` at its direction, or everywhere with the gain of
// the LFE channel on top, if that is heard at all. Throws scene_error for a gain out of range.
void add_bed(scene &scene, const scene_source &common, const bed &layout, std::optional<s32> lfe);

} // namespace earshot_scenes
