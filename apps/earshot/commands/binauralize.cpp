// earshot binauralize: an ambisonic field, for two ears.

#include <utility>

#include <CLI/App.hpp>

#include "commands/commands.hpp"
#include "commands/engine_choice.hpp"
#include "commands/rendering_plan.hpp"
#include "commands/rotation_plan.hpp"
#include "error.hpp"
#include "scene/rendering/table_engine.hpp"

namespace earshot_tool {

namespace {

struct binauralize_options : rendering_options, head_options {
    std::string field;
    channel_layout layout = channel_layout::ambix;
    rotation_options rotation;
};

struct field_rendering : rendering {
    void report(const console &out) const override {
        const std::string &name = inputs[0]->file().name();
        if (to_the_end) plan->note_unused_rows(out, field->position(), name);
        out.clipped(name, field->layout_clipped(), "at full scale by the conversion to AmbiX");
        out.clipped(name, field->rotation_clipped(), "at full scale by the rotation");
    }

    const rotation_plan *plan = nullptr;
    bool to_the_end = true;
    std::optional<rotated_field> field;
};

// How many bits are safe is known only when the field's channels are.
std::unique_ptr<rendering> open_field(const binauralize_options &options,
                                      const engine_choice &engine, const rotation_plan &plan) {
    auto work = std::make_unique<field_rendering>();
    work->plan = &plan;
    work->to_the_end = !options.output.span.to;
    work->inputs.push_back(std::make_unique<binaural_input>(options.field));
    binaural_input &input = *work->inputs[0];
    const int order = order_of_field(input.file(), options.layout);
    plan.check(input.file(), order);
    work->field.emplace(input.source(), options.layout, 32);
    if (plan.changes()) plan.apply(*work->field, order);

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
    rendering_plan plan(options);
    const engine_choice engine(options, plan.out);
    engine.check_field();
    plan.head = engine.text();
    plan.single_input = options.field;
    const rotation_plan rotation(options.rotation, options.field, "FIELD");
    plan.open = [&] { return open_field(options, engine, rotation); };
    carry_out(plan);
}

} // namespace

void add_binauralize(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "binauralize", "Render an ambisonic field for two ears");
    auto options = std::make_shared<binauralize_options>();
    command->add_option("FIELD", options->field, "Field of order 1 to 4; - for standard input")
        ->required()
        ->type_name("");
    add_input_format(*command, options->layout);
    add_rotation_options(*command, options->rotation);
    add_head(*command, *options);
    add_rendering_options(*command, *options);
    command->callback([options, &chosen] { chosen = [options] { binauralize(*options); }; });
}

} // namespace earshot_tool
