// What the library answers to calls that cannot fail unless the tool is wrong.
#pragma once

#include <string>

#include <earshot/types.h>

#include "error.hpp"

namespace earshot_tool {

inline void require(u32 status, const char *call) {
    if (status != EARSHOT_OK)
        throw processing_error(std::string("internal error: ") + call + " returned " +
                               std::to_string(status));
}

} // namespace earshot_tool
