// earshot binauralize: an ambisonic field, for two ears.

#include <utility>

#include "commands/binaural_plan.hpp"
#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/rotation_options.hpp"
#include "error.hpp"
#include "field/rotated_field.hpp"
#include "field/spherical_harmonics.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_tool {

namespace {

struct binauralize_options : binaural_options, head_options {
    std::string field;
    channel_layout layout = channel_layout::ambix;
    rotation_options rotation;
};

struct field_rendering : rendering {
    void report(const console &out) const override {
        const std::string &name = inputs[0]->file().name();
        note_unused_rows(out, keyframes, field->unused_rows(), name);
        out.clipped(name, field->layout_clipped(), "at full scale by the conversion to AmbiX");
        out.clipped(name, field->rotation_clipped(), "at full scale by the rotation");
    }

    std::string keyframes; // the name of their file
    std::optional<rotated_field> field;
};

void check_field(const binauralize_options &options, const audio_input &file) {
    const std::string has = has_channels(file);
    const int order = order_of_channels(file.channels());
    if (order < 1 || order > highest_order)
        throw processing_error(file.name(), has + ", a field of order 1 to 4 has 4, 9, 16 or 25");
    if (order == 1) return;
    if (rotates(options.rotation))
        throw processing_error(file.name(), has + "; only fields of order 1 can be rotated");
    if (options.layout == channel_layout::fuma)
        throw processing_error(file.name(), has + "; FuMa is read up to order 1");
}

// How many bits are safe is known only when the field's channels are.
std::unique_ptr<rendering> open_field(const binauralize_options &options,
                                      const engine_choice &engine,
                                      const std::vector<keyframe> &rows) {
    auto work = std::make_unique<field_rendering>();
    work->keyframes = options.rotation.keyframes;
    work->inputs.push_back(std::make_unique<binaural_input>(options.field));
    binaural_input &input = *work->inputs[0];
    check_field(options, input.file());
    work->field.emplace(input.source(), options.layout, 32);
    if (rotates(options.rotation)) work->field->rotate(constant_setting(options.rotation), rows);

    const auto channels = static_cast<std::size_t>(input.file().channels());
    const guard_choice guard =
        guard_for(options, safe_guard(filter_tables::field_channels, channels), channels);
    work->safe_guard = guard.safe;
    work->engine = engine.for_field(channels, guard);
    work->stream = std::make_unique<binaural_stream>(*work->engine,
                                                     std::vector<frame_source *>{&*work->field});
    return work;
}

void binauralize(const binauralize_options &options) {
    if (options.goal.reads_twice() && options.field == "-")
        throw usage_error(options.goal.option() +
                          " reads the input twice, which standard input cannot");
    binaural_plan plan(options);
    const engine_choice engine(options, plan.out);
    engine.check_field();
    plan.head = engine.text();
    plan.single_input = options.field;
    plan.open = [&options, &engine,
                 rows = keyframes_for(options.rotation, options.field, "FIELD")] {
        return open_field(options, engine, rows);
    };
    carry_out(plan);
}

} // namespace

void add_binauralize(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "binauralize", "Render an ambisonic field for two ears");
    auto options = std::make_shared<binauralize_options>();
    command
        ->add_option("FIELD", options->field,
                     "Field of order 1 to 4; - for standard input. Order 1 can be rotated")
        ->required()
        ->type_name("");
    add_input_format(*command, options->layout);
    add_rotation_options(*command, options->rotation);
    add_head(*command, *options);
    add_binaural_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { binauralize(*options); }; });
}

} // namespace earshot_tool
