// The built-in head but for the filters that the library makes of its own tables.
#ifndef EARSHOT_TOOLS_HRTF_HEAD_GEOMETRY_HPP
#define EARSHOT_TOOLS_HRTF_HEAD_GEOMETRY_HPP

#include "layout.hpp"

namespace hrtf {

extern const char *const head_file; // name inside the directory of the head's generated data

// Made of the words of the diffuse set: the head's header (its checksum 0), vertices, triangles and
// cells as in head/format.hpp; for each measured direction the number of the filter in the diffuse
// set that its left ear's record is made of; the records of the directions that fill the hole
// below. The right ear has the record of a direction's mirror image.
words make_head_geometry(const words &diffuse);

// Whether the two are the same but for last bits.
bool equal_geometry(const words &made, const words &stored);

} // namespace hrtf

#endif
