#include "commands/rendering_plan.hpp"

#include "error.hpp"
#include "field/spherical_harmonics.hpp"

namespace earshot_tool {

namespace {

// The samples that neither rounding nor dither takes out of the output's range: all of its width,
// or with dither, which adds less than a step of the width, all but the outermost two.
sample_range full_scale_of(const output_options &options, const output_format &format) {
    const int dropped = 32 - format.width;
    const s64 step = s64{1} << dropped;
    const s64 dither = dropped > 0 && !options.no_dither ? step : 0;
    return {INT32_MIN + dither, (s64{1} << 31) - step - dither};
}

std::string bits(int count) { return counted(static_cast<u64>(count), "bit"); }

std::string text_of(const binaural_engine &engine) {
    const auto guard = engine.guard();
    return "rendering " + counted(engine.sources(), "source") + " in frames of " +
           std::to_string(engine.frame_length()) + " with a guard of " +
           (guard ? bits(*guard) : "as many bits as they need");
}

std::string text_of_field(const rendering &work) {
    const int channels = work.stream->channels();
    return "rendering " + counted(work.inputs.size(), "source") + " into a field of order " +
           std::to_string(order_of_channels(channels)) + ", " +
           counted(static_cast<u64>(channels), "channel");
}

void describe(const rendering &work, const rendering_plan &plan) {
    describe_inputs(work, plan.out);
    plan.out.detail((work.engine ? text_of(*work.engine) : text_of_field(work)) + ", writing " +
                    bits(plan.format.width) + " at " + std::to_string(plan.format.rate) + " Hz");
    if (plan.format.rate != binaural_rate && plan.output.span.from != 0)
        plan.out.detail("rendering from the beginning on: the rate conversion has a memory");
    if (!plan.head.empty()) plan.out.detail("heard through " + plan.head);
}

void require_second_reading(const rendering &work, const level_goal &goal) {
    for (const auto &input : work.inputs)
        if (!input->file().is_seekable())
            throw processing_error(input->file().name(),
                                   "cannot be read twice, which " + goal.option() + " needs");
}

void check_length(const rendering &work, const rendering_plan &plan) {
    const auto frames = work.stream->frames();
    if (frames && !plan.output.span.to)
        check_length(plan.output.path, plan.format,
                     frames_at_rate(*frames, binaural_rate, plan.format.rate));
}

// Renders once to measure, if the level depends on the sound, and opens the work anew.
output_level level_for(std::unique_ptr<rendering> &work, const rendering_plan &plan) {
    output_level level;
    if (plan.goal.reads_twice()) {
        require_second_reading(*work, plan.goal);
        level =
            level_reaching(plan.goal, *work->stream, plan.full_scale, plan.format.rate, plan.out);
        work = plan.open();
    }
    return plan.gain ? level * output_level::decibels(*plan.gain) : level;
}

void report_unsafe_frames(const rendering &work, const std::string &name, const console &out) {
    const u64 frames = work.stream->unsafe_frames();
    if (frames != 0)
        out.note(name + ": sums could have wrapped in " + counted(frames, "frame") + " of " +
                 std::to_string(work.engine->frame_length()) + " samples; a guard of " +
                 std::to_string(work.safe_guard) + " bits is safe");
}

} // namespace

rendering_plan::rendering_plan(const rendering_options &options, int channels)
    : out(options.talk), output(options.output),
      format(format_for(output, channels, binaural_rate)),
      full_scale(full_scale_of(output, format)), gain(options.gain), goal(options.goal) {
    check_level_goal(goal, gain.has_value());
}

u64 carry_out(const rendering_plan &plan) {
    std::unique_ptr<rendering> work = plan.open();
    describe(*work, plan);
    check_length(*work, plan);
    const output_level level = level_for(work, plan);
    leveled_sound sound(*work->stream, level, plan.full_scale, plan.format.rate);
    output_format format = plan.format;
    if (!plan.single_input.empty())
        format.tags = read_tags(plan.single_input, work->inputs[0]->file());
    const delivered written = deliver(sound, plan.output, format, plan.out, plan.written);
    report_inputs(*work, plan.out);
    work->report(plan.out);
    if (sound.clipped() > 0)
        plan.out.clipped(written.name, sound.clipped(),
                         clip_text(plan.goal, sound, plan.full_scale, plan.gain));
    report_unsafe_frames(*work, written.name, plan.out);
    report(plan.out, written);
    return sound.clipped() + written.all_clipped();
}

} // namespace earshot_tool
