// The pages of an Ogg stream, of which the last is marked.
#pragma once

#include "audio/byte_source.hpp"

namespace earshot_tool {

// libvorbis and libopus take a file that was cut for a shorter one. Throws processing_error unless
// the last page is there, whole and marked.
void check_last_ogg_page(byte_source &in);

} // namespace earshot_tool
