// What filters the sources of a rendering, and through whose ears.
#pragma once

#include <functional>
#include <memory>

#include "commands/rendering_options.hpp"
#include "heads/listening_head.hpp"
#include "scene/rendering/binaural_engine.hpp"

namespace earshot_tool {

// What the command line says of it.
struct head_options {
    std::string head;      // a file; empty: the built-in one
    bool measured = false; // sources come from the nearest measured direction
};

// "--head", and "--head" with "--placement".
void add_head(CLI::App &command, head_options &options);
void add_placement(CLI::App &command, head_options &options);

// Where the heads of files come from: load_head, or what keeps them for the next rendering.
using head_loader = std::function<listening_head(const std::string &path, const console &out)>;

// Chosen, loaded and checked.
class engine_choice {
  public:
    engine_choice(const head_options &options, const console &out,
                  const head_loader &load = load_head);

    // For sources at directions.
    std::unique_ptr<binaural_engine> for_directions(std::size_t sources, std::size_t frame_length,
                                                    const guard_choice &guard) const;

    // For the channels of a field. A guard that is given is one of the library's own tables, which
    // serve the built-in head; other heads have it with their filters.
    std::unique_ptr<binaural_engine> for_field(std::size_t channels,
                                               const guard_choice &guard) const;

    // Throws processing_error for a head without filters for fields.
    void check_field() const;

    // Whose ears they are, in a line.
    const std::string &text() const { return head_.text; }

  private:
    listening_head head_;
    bool measured_;
    bool builtin_;
};

} // namespace earshot_tool
