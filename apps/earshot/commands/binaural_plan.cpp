#include "commands/binaural_plan.hpp"

#include "error.hpp"

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

void describe(const rendering &work, const binaural_plan &plan) {
    describe_inputs(work, plan.out);
    const binaural_engine &engine = work.stream->engine();
    const auto bits = [](int count) { return counted(static_cast<u64>(count), "bit"); };
    const auto guard = engine.guard();
    plan.out.detail("rendering " + counted(engine.sources(), "source") + " in frames of " +
                    std::to_string(engine.frame_length()) + " with a guard of " +
                    (guard ? bits(*guard) : "as many bits as they need") + ", writing " +
                    bits(plan.format.width));
    plan.out.detail("heard through " + plan.head);
}

void require_second_reading(const rendering &work) {
    for (const auto &input : work.inputs)
        if (!input->file().is_seekable())
            throw processing_error(input->file().name(),
                                   "cannot be read twice, which --normalize needs");
}

output_level level_reaching_full_scale(rendering &work, const binaural_plan &plan) {
    drain(*work.stream, plan.out, [](const s32 *, std::size_t) {});
    const s64 peak = work.stream->peak();
    if (peak == 0) {
        plan.out.note("the sound is silent and stays as it is");
        return {};
    }
    return output_level::reaching(plan.full_scale.high << binaural_stream::peak_fraction, peak);
}

// Renders once to learn the peak, if that is needed, and brings the level of the work to come to
// what the plan says.
void set_level(std::unique_ptr<rendering> &work, const binaural_plan &plan) {
    output_level level;
    if (plan.normalize) {
        require_second_reading(*work);
        level = level_reaching_full_scale(*work, plan);
        work = plan.open();
    }
    if (plan.gain) level = level * *plan.gain;
    work->stream->set_level(level, plan.full_scale);
}

void report_unsafe_frames(const rendering &work, const std::string &name, const console &out) {
    const u64 frames = work.stream->unsafe_frames();
    if (frames != 0)
        out.note(name + ": sums could have wrapped in " + counted(frames, "frame") + " of " +
                 std::to_string(work.stream->engine().frame_length()) + " samples; a guard of " +
                 std::to_string(work.safe_guard) + " bits is safe");
}

} // namespace

binaural_plan::binaural_plan(const binaural_options &options)
    : out(options.talk), output(options.output), format(format_for(output, 2, binaural_rate)),
      full_scale(full_scale_of(output, format)), normalize(options.normalize) {
    if (options.gain) gain = output_level::decibels(*options.gain);
}

void carry_out(const binaural_plan &plan) {
    std::unique_ptr<rendering> work = plan.open();
    describe(*work, plan);
    set_level(work, plan);

    const delivered written = deliver(*work->stream, plan.output, plan.format, plan.out);
    report_inputs(*work, plan.out);
    work->report(plan.out);
    plan.out.clipped(written.name, work->stream->clipped(), "at full scale");
    report_unsafe_frames(*work, written.name, plan.out);
    report(plan.out, written);
}

} // namespace earshot_tool
