// What a function of the C interface answers when something is thrown inside, and the line that
// says why.
#pragma once

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include <earshot/scene.h>

#include "scene/description/quote.hpp"
#include "scene/description/scene.hpp"

namespace earshot_scenes {

// Something of the caller's could not be read.
struct input_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void tell(earshot_scene_error *error, const std::string &text) {
    if (error == nullptr) return;
    const std::string line = message_line(text);
    const std::size_t length = std::min(line.size(), sizeof error->text - 1);
    std::memcpy(error->text, line.data(), length);
    error->text[length] = '\0';
}

// Does the work, which returns a status; nothing thrown leaves the library.
template <class Work> u32 guarded(earshot_scene_error *error, Work work) noexcept {
    const auto failed = [error](u32 status, const char *text) {
        try {
            tell(error, text);
        } catch (...) { // no memory for a line
        }
        return status;
    };
    try {
        if (error != nullptr) error->text[0] = '\0';
        return work();
    } catch (const input_error &fault) {
        return failed(EARSHOT_INPUT_FAILED, fault.what());
    } catch (const std::bad_alloc &) {
        return failed(EARSHOT_OUT_OF_MEMORY, "out of memory");
    } catch (const std::length_error &) {
        return failed(EARSHOT_OUT_OF_MEMORY, "out of memory");
    } catch (const std::exception &fault) {
        return failed(EARSHOT_BAD_VALUE, fault.what());
    } catch (...) { // of a callback that is C++
        return failed(EARSHOT_INPUT_FAILED, "an input threw");
    }
}

} // namespace earshot_scenes
