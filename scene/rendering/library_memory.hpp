// Memory that instances of the library lie in.
#pragma once

#include <cstddef>
#include <vector>

namespace earshot_scenes {

using library_memory = std::vector<std::max_align_t>;

inline library_memory memory_of(std::size_t bytes) {
    return library_memory(bytes / sizeof(std::max_align_t) + 1);
}

} // namespace earshot_scenes
