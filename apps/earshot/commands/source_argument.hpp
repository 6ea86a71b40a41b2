// "FILE[:CHANNEL]@AZ,EL[,GAIN]": a sound and the direction that it comes from; or
// "FILE@LAYOUT[,GAIN]": one with a channel for every loudspeaker of a layout. Gains are in
// decibels, with "dB" behind them or not.
#pragma once

#include <optional>
#include <string>

#include <earshot/types.h>

namespace earshot_tool {

struct source_argument {
    struct direction {
        u32 azimuth = 0;   // a fraction of a turn, Q32
        s32 elevation = 0; // degrees, Q16
        s32 gain = 0;      // thousandths of a decibel
    };
    struct layout {
        std::string name;
        s32 gain = 0;
    };

    std::string file; // "-" for standard input
    int channel = 0;  // counted from 1; 0: the only one, or those of a layout
    // One of them, or for "5.1,-6" both: an azimuth of 5.1 degrees with an elevation for a file
    // with one channel, and 5.1 with a gain for one with several.
    std::optional<direction> from;
    std::optional<layout> on;
};

// The last @ separates, so that a file name may contain it; digits after a colon before it are the
// channel. Throws usage_error.
source_argument parse_source(const std::string &text);

} // namespace earshot_tool
