// Scenes as text: JSON, with tracks in it or in tables of comma-separated values. docs/ has the
// schema.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "scene/description/scene.hpp"

namespace earshot_scenes {

// What is enough for the text of a scene, in bytes, and for all the tables that it mentions: an
// hour of a head's quaternion at 1 kHz has 3.6 million lines, and 160 MiB with seven digits.
inline constexpr std::size_t most_scene_bytes = std::size_t{16} << 20;
inline constexpr std::size_t most_table_bytes = std::size_t{256} << 20;
inline constexpr std::size_t most_table_lines = 5'000'000;

// The text of the table that a scene names. It may throw what it likes.
using csv_loader = std::function<std::string(const std::string &name)>;

/*
 * Reads a scene.
 *
 *     {
 *       "version": 1,
 *       "duration": 10.5,                         seconds, optional
 *       "listener": {                             optional, as are its keys
 *         "position": [0, 0, 1.7],                or position_track
 *         "position_track": [[0, 0, 0, 1.7], [5, 2, 0, 1.7]] or "walk.csv" (time,x,y,z)
 *         "orientation": {"yaw": 30, "pitch": 0, "roll": 0} or {"quaternion": [1, 0, 0, 0]},
 *                                                 or orientation_track
 *         "orientation_track": [[0, 0, 0, 0], ...] or [[0, 1, 0, 0, 0], ...] or "head.csv"
 *                                                 (time,yaw,pitch,roll or time,w,x,y,z)
 *       },
 *       "sources": [{
 *         "file": "voice.wav",
 *         "channel": 1, "start": 0.5, "gain": -3, "loop": false, "dc_block": false,   optional
 *         "position": [x, y, z], "direction": [azimuth, elevation], or
 *         "track": [[time, x, y, z], ...] or [[time, azimuth, elevation], ...] or "fly.csv"
 *                                                 (time,x,y,z or time,azimuth,elevation), or
 *         "layout": "5.1", "lfe": 10 or "off"     all channels, without "channel"
 *         "rolloff": {"model": "inverse", "linear" or "none", "minimum": 1, "maximum": 50}
 *                                                 optional, not with directions
 *       }]
 *     }
 *
 * Every object is closed: unknown and repeated keys are errors, as are wrong types and values out
 * of range. Tables need their heading, which tells what they hold; blank lines and lines that begin
 * with # are skipped. Quaternions whose modulus is within a thousandth of 1 are normalised, others
 * refused.
 *
 * More than 64 keys of an object, 64 levels, two million values or five million lines of all tables
 * are errors, too, so that no text takes long. How many bytes there may be is up to who reads them.
 *
 * Throws scene_error: "line 3, column 7: ..." for what is not JSON, else with the place in front,
 * "sources[2].track row 5: ..." (rows count from 1, sources from 0) or
 * "sources[2].track: fly.csv:7: ..." (lines of the file).
 */
scene parse_scene(std::string_view text, const csv_loader &load);

} // namespace earshot_scenes
