// What a function of the modules answers when the tool's code throws.
#pragma once

#include <system_error>

#include "error.hpp"
#include "scene/interface/interface_error.hpp"

namespace earshot_python {

// As earshot_scenes::guarded, for what the tool throws, and the files that it works with.
template <class Work> u32 safely(earshot_scene_error *error, Work work) noexcept {
    return earshot_scenes::guarded(error, [&]() -> u32 {
        try {
            return work();
        } catch (const earshot_tool::processing_error &fault) {
            throw earshot_scenes::input_error(fault.what());
        } catch (const std::system_error &fault) {
            throw earshot_scenes::input_error(fault.what());
        }
    });
}

} // namespace earshot_python
