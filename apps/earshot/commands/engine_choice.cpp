#include "commands/engine_choice.hpp"

#include <CLI/App.hpp>

#include "error.hpp"
#include "scene/rendering/field_engine.hpp"
#include "scene/rendering/head_engine.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_tool {

namespace {

listening_head chosen_head(const head_options &options, const console &out,
                           const head_loader &load) {
    if (!options.measured) return load(options.head, out);
    if (!options.head.empty())
        throw usage_error("--head: --placement measured knows the built-in head alone; leave one "
                          "of them out");
    return {nullptr, "the built-in head, at its measured directions"};
}

} // namespace

void add_head(CLI::App &command, head_options &options) {
    command
        .add_option("--head", options.head,
                    "Listen through another head's ears: a file that 'earshot head' has prepared, "
                    "or a SOFA file")
        ->type_name("FILE");
}

void add_placement(CLI::App &command, head_options &options) {
    add_head(command, options);
    command
        .add_option_function<std::string>(
            "--placement",
            [&options](const std::string &text) {
                if (text != "continuous" && text != "measured")
                    throw usage_error("--placement: '" + text + "' is not continuous or measured");
                options.measured = text == "measured";
            },
            "Where sources are heard: continuous, exactly where they are, or measured, at the "
            "nearest direction of the measurement")
        ->type_name("continuous|measured");
}

engine_choice::engine_choice(const head_options &options, const console &out,
                             const head_loader &load)
    : head_(chosen_head(options, out, load)), measured_(options.measured),
      builtin_(options.head.empty()) {}

std::unique_ptr<binaural_engine> engine_choice::for_directions(std::size_t sources,
                                                               std::size_t frame_length,
                                                               const guard_choice &guard) const {
    if (measured_)
        return std::make_unique<table_engine>(filter_tables::directions, sources, frame_length,
                                              guard.fixed.value_or(guard.safe));
    return std::make_unique<head_engine>(head_.head, sources, frame_length, guard.fixed);
}

void engine_choice::check_field() const {
    if (describe_head(*head_.head).channels == 0)
        throw processing_error(head_.text, "has no filters for fields; prepare it again with "
                                           "'earshot head'");
}

std::unique_ptr<binaural_engine> engine_choice::for_field(std::size_t channels,
                                                          const guard_choice &guard) const {
    if (!guard.fixed || !builtin_)
        return std::make_unique<field_engine>(head_.head, channels, guard.fixed);
    auto engine = std::make_unique<table_engine>(filter_tables::field_channels, channels,
                                                 longest_frame, *guard.fixed);
    for (std::size_t k = 0; k < channels; ++k) engine->place(k, static_cast<s32>(k << 16), 0);
    return engine;
}

} // namespace earshot_tool
