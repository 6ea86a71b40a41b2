#include "commands/delivery.hpp"

#include "audio/resampler.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

// An encoder that loses bits anyway gets all there are.
int width_of(const output_options &options, container kind, int default_bits) {
    if (!is_lossy(kind)) return options.bits != 0 ? options.bits : default_bits;
    if (options.bits != 0)
        throw usage_error("--bits: the samples of " + options.path +
                          " have no fixed width; leave it out, --quality says how good they are");
    return 32;
}

output_format checked_format(const output_options &options, int default_bits, int channels,
                             int rate) {
    const container kind = choose_container(options.path, options.raw);
    output_format format{kind, width_of(options, kind, default_bits), channels,
                         options.rate != 0 ? options.rate : rate};
    format.quality = options.quality;
    check_format(options.path, format);
    check_span(options.span, format.rate);
    return format;
}

} // namespace

output_format format_for(const output_options &options, int channels, int rate) {
    return checked_format(options, options.default_bits, channels, rate);
}

output_format format_for(const output_options &options, const audio_input &in, int channels,
                         int rate) {
    return checked_format(options, in.width(), channels, rate);
}

delivered deliver(frame_source &source, const output_options &options, const output_format &format,
                  const console &out, const frame_listener &written) {
    std::optional<resampler> converted;
    if (source.rate() != format.rate) {
        converted.emplace(source, format.rate);
        out.detail(options.path + ": converting the sample rate from " +
                   std::to_string(source.rate()) + " to " + std::to_string(format.rate) + " Hz");
    }
    frame_source &last = converted ? static_cast<frame_source &>(*converted) : source;
    if (converted && options.span.from != 0)
        out.detail("converting from the beginning on: the rate conversion has a memory");
    excerpt part(last, options.span, options.path == "-" ? "standard output" : options.path);
    if (const auto frames = part.frames()) check_length(options.path, format, *frames);
    audio_output output(options, format, part.frames(), part.first(), written);
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
