// Everything from the files to the ears, or to a field, opened and not yet read.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "audio/binaural_input.hpp"
#include "console.hpp"
#include "scene/rendering/binaural_stream.hpp"

namespace earshot_tool {

struct rendering {
    virtual ~rendering() = default;

    // What to tell at the end besides what the inputs have to tell.
    virtual void report(const console &) const {}

    std::vector<std::unique_ptr<binaural_input>> inputs;
    std::vector<std::string> notes;          // on how inputs are taken
    std::unique_ptr<binaural_engine> engine; // of two ears; none of a field
    std::unique_ptr<rendered_stream> stream;
    int safe_guard = 0; // bits with which no sum of the engine can wrap
};

// What the inputs are and what is done to them; a file that several of them read is told once.
void describe_inputs(const rendering &work, const console &out);

// What was clipped of the inputs; added up where several of them read the same file.
void report_inputs(const rendering &work, const console &out);

} // namespace earshot_tool
