#include "audio/audio_output.hpp"

#include <cstdio>

#include "console.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

std::unique_ptr<sample_writer> make_writer(output_file &file, const output_format &format,
                                           std::optional<s64> frames) {
    if (format.kind == container::au || format.kind == container::raw)
        return make_stream_writer(file, format, frames);
    return make_sndfile_writer(file, format);
}

} // namespace

audio_output::audio_output(const output_options &options, const output_format &format,
                           std::optional<s64> frames)
    : options_(options), format_(format), file_(options.path),
      writer_(make_writer(file_, format, frames)) {
    if (!options.no_dither && format.width < format.computed_width)
        dither_.emplace(format.computed_width - format.width);
}

void audio_output::write(const s32 *interleaved, std::size_t frames) {
    const std::size_t count = frames * static_cast<std::size_t>(format_.channels);
    narrow(interleaved, count);
    if (options_.digest) digest_.add(words_.data(), count);
    writer_->write(words_.data(), frames);
    frames_ += static_cast<s64>(frames);
}

// Dither, round half up, clip.
void audio_output::narrow(const s32 *interleaved, std::size_t count) {
    words_.assign(interleaved, interleaved + count);
    const int dropped = 32 - format_.width;
    if (dropped == 0) return;
    for (s32 &word : words_) {
        const s64 noise = dither_ ? dither_->next() : 0;
        const s64 narrow =
            clamp_counted(rounded_shift(word + noise, dropped), format_.width, clipped_);
        word = static_cast<s32>(narrow * (s64{1} << dropped));
    }
}

void audio_output::finish() {
    writer_->finish();
    file_.commit();
    if (options_.digest) print_digest();
}

// Standard output may be carrying the samples.
void audio_output::print_digest() {
    const std::string line = digest_.text() + "  " + options_.path + "\n";
    if (options_.path == "-")
        std::fputs(line.c_str(), stderr);
    else
        print(line);
}

} // namespace earshot_tool
