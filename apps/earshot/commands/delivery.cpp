#include "commands/delivery.hpp"

#include "audio/resampler.hpp"

namespace earshot_tool {

namespace {

output_format checked_format(const output_options &options, int width, int channels, int rate) {
    const output_format format{choose_container(options.path, options.raw), width, channels, rate};
    check_format(options.path, format);
    check_span(options.span, rate);
    return format;
}

} // namespace

output_format format_for(const output_options &options, int channels, int rate) {
    return checked_format(options, options.bits, channels, rate);
}

output_format format_for(const output_options &options, const audio_input &in, int channels,
                         int rate) {
    return checked_format(options, options.bits != 0 ? options.bits : in.width(), channels, rate);
}

delivered deliver(frame_source &source, const output_options &options, const output_format &format,
                  const console &out) {
    std::optional<resampler> converted;
    if (source.rate() != format.rate) converted.emplace(source, format.rate);
    frame_source &last = converted ? static_cast<frame_source &>(*converted) : source;
    if (converted && options.span.from != 0)
        out.detail("converting from the beginning on: the rate conversion has a memory");
    excerpt part(last, options.span, options.path == "-" ? "standard output" : options.path);
    audio_output output(options, format, part.frames(), part.first());
    drain(part, out, [&](const s32 *frames, std::size_t count) { output.write(frames, count); });
    part.require_frames();
    output.finish();
    return {output.name(), output.frames(), output.clipped(), converted ? converted->clipped() : 0};
}

void report(const console &out, const delivered &written) {
    out.clipped(written.name, written.clipped_by_conversion,
                "at full scale by the rate conversion");
    out.clipped(written.name, written.clipped, "at full scale on writing");
    out.detail(written.name + ": " + counted(static_cast<u64>(written.frames), "frame") +
               " written");
}

void report(const console &out, const audio_input &in, const delivered &written) {
    out.clipped(in.name(), in.clipped(), "at full scale on reading");
    report(out, written);
}

} // namespace earshot_tool
