#include "commands/binaural_command.hpp"

#include <cmath>
#include <map>
#include <set>

#include "commands/commands.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

constexpr int most_guard_bits = safe_guard(filter_set::directions, most_sources);

// The samples that neither rounding nor dither takes out of the output's range: all of its width,
// or with dither, which adds less than a step of the width, all but the outermost two.
sample_range full_scale(const output_options &options) {
    const int dropped = 32 - options.bits;
    const s64 step = s64{1} << dropped;
    const s64 dither = dropped > 0 && !options.no_dither ? step : 0;
    return {INT32_MIN + dither, (s64{1} << 31) - step - dither};
}

// Reads a stream to its end and hands on what it yields.
template <class Sink> void drain(binaural_stream &stream, const console &out, Sink sink) {
    std::vector<s32> block(2 * block_frames);
    progress meter(out, binaural_rate, stream.frames());
    while (const std::size_t frames = stream.read(block.data(), block_frames)) {
        sink(block.data(), frames);
        meter.advance(frames);
    }
}

void describe(const rendering &work, const binaural_options &options, const console &out) {
    describe_inputs(work, out);
    const binaural_engine &engine = work.stream->engine();
    const auto bits = [](int count) { return counted(static_cast<u64>(count), "bit"); };
    out.detail("rendering " + counted(engine.sources(), "source") + " in frames of " +
               std::to_string(engine.frame_length()) + " with a guard of " + bits(engine.guard()) +
               ", writing " + bits(options.output.bits));
}

void require_second_reading(const rendering &work) {
    for (const auto &input : work.inputs)
        if (!input->file().is_seekable())
            throw processing_error(input->file().name(),
                                   "cannot be read twice, which --normalize needs");
}

output_level level_reaching_full_scale(rendering &work, const binaural_options &options,
                                       const console &out) {
    drain(*work.stream, out, [](const s32 *, std::size_t) {});
    const s64 peak = work.stream->peak();
    if (peak == 0) {
        out.note("the sound is silent and stays as it is");
        return {};
    }
    return output_level::reaching(full_scale(options.output).high, peak);
}

void report_unsafe_frames(const rendering &work, const std::string &name, const console &out) {
    const u64 frames = work.stream->unsafe_frames();
    if (frames != 0)
        out.note(name + ": sums could have wrapped in " + counted(frames, "frame") + " of " +
                 std::to_string(work.stream->engine().frame_length()) + " samples; a guard of " +
                 std::to_string(work.safe_guard) + " bits is safe");
}

struct clip_counts {
    u64 reading = 0;
    u64 conversion = 0;
};

// Added up where several inputs read the same file.
void report_inputs(const rendering &work, const console &out) {
    std::map<std::string, clip_counts> counts;
    for (const auto &input : work.inputs) {
        clip_counts &sum = counts[input->file().name()];
        sum.reading += input->clipped_on_reading();
        sum.conversion += input->clipped_by_conversion();
    }
    for (const auto &[name, sum] : counts) {
        out.clipped(name, sum.reading, "at full scale on reading");
        out.clipped(name, sum.conversion, "at full scale by the rate conversion");
    }
}

} // namespace

void add_binaural_options(CLI::App &command, binaural_options &options) {
    add_output_options(command, options.output);
    command
        .add_option_function<std::string>(
            "--guard",
            [&options](const std::string &text) {
                const auto bits = parse_number(text);
                const number_range range{0, most_guard_bits};
                if (!bits || *bits != std::floor(*bits))
                    throw usage_error("--guard: '" + text + "' is not a number of bits");
                if (!range.contains(*bits)) throw usage_error("--guard: " + range.violation(*bits));
                options.guard = static_cast<int>(*bits);
            },
            "Keep fewer bits of headroom inside, and say where sums could have wrapped")
        ->type_name("BITS");
    command
        .add_option_function<std::string>(
            "--gain",
            [&options](const std::string &text) {
                const auto decibels = parse_number(text);
                const number_range range{-120, 60};
                if (!decibels) throw usage_error("--gain: '" + text + "' is not a number");
                if (!range.contains(*decibels))
                    throw usage_error("--gain: " + range.violation(*decibels));
                options.gain = static_cast<s32>(std::llround(*decibels * 1000));
            },
            "Change the output level by -120 to 60 decibels")
        ->type_name("DB");
    command.add_flag("--normalize", options.normalize,
                     "Bring the peak to full scale, before --gain; reads the input twice");
    add_verbosity(command, options.level);
}

int guard_for(const binaural_options &options, int safe, std::size_t sources) {
    if (options.guard && *options.guard > safe)
        throw usage_error("--guard: " + std::to_string(*options.guard) + " is more than the safe " +
                          std::to_string(safe) + " for " + counted(sources, "source"));
    return options.guard.value_or(safe);
}

output_format binaural_format(const binaural_options &options) {
    const output_format format{choose_container(options.output.path, options.output.raw),
                               options.output.bits, 2, binaural_rate};
    check_format(options.output.path, format);
    return format;
}

frame_source &binaural_input::sound() {
    if (repeated_) return *repeated_;
    return file_;
}

frame_source &binaural_input::source() {
    frame_source &source = picked_ ? static_cast<frame_source &>(*picked_) : sound();
    if (file_.rate() == binaural_rate) return source;
    if (!converted_) converted_.emplace(source, binaural_rate);
    return *converted_;
}

void binaural_input::describe(const console &out) const {
    out.detail(file_.name() + ": " + file_.description());
    if (converted_) note_conversion(out, file_, binaural_rate);
}

void describe_inputs(const rendering &work, const console &out) {
    std::set<std::string> told;
    for (const auto &input : work.inputs)
        if (told.insert(input->file().name()).second) input->describe(out);
}

void run_binaural(const binaural_options &options,
                  const std::function<std::unique_ptr<rendering>()> &open) {
    const console out(options.level);
    const output_format format = binaural_format(options);
    std::unique_ptr<rendering> work = open();
    describe(*work, options, out);
    output_level level;
    if (options.normalize) {
        require_second_reading(*work);
        level = level_reaching_full_scale(*work, options, out);
        work = open();
    }
    if (options.gain) level = level * output_level::decibels(*options.gain);
    work->stream->set_level(level, full_scale(options.output));

    // Nothing is written before all that can be checked has been.
    audio_output output(options.output, format, work->stream->frames());
    drain(*work->stream, out,
          [&](const s32 *pairs, std::size_t frames) { output.write(pairs, frames); });
    output.finish();

    report_inputs(*work, out);
    work->report(out);
    out.clipped(output.name(), work->stream->clipped(), "at full scale");
    report_unsafe_frames(*work, output.name(), out);
    report(out, output);
}

} // namespace earshot_tool
