// What the library answers to calls that cannot fail unless the caller is wrong.
#pragma once

#include <stdexcept>
#include <string>

#include <earshot/types.h>

namespace earshot_scenes {

inline void require(u32 status, const char *call) {
    if (status != EARSHOT_OK)
        throw std::logic_error(std::string(call) + " returned " + std::to_string(status));
}

} // namespace earshot_scenes
