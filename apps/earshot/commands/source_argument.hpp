// "FILE[:CHANNEL]@AZ,EL": a sound and the direction that it comes from.
#pragma once

#include <string>

#include <earshot/types.h>

namespace earshot_tool {

struct source_argument {
    std::string file;  // "-" for standard input
    int channel = 0;   // counted from 1; 0: the only one
    u32 azimuth = 0;   // a fraction of a turn, Q32
    s32 elevation = 0; // degrees, Q16
};

// The last @ separates, so that a file name may contain it; digits after a colon before it are the
// channel. Throws usage_error.
source_argument parse_source(const std::string &text);

} // namespace earshot_tool
