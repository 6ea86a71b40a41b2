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
    return make_sndfile_writer(file, format, frames);
}

} // namespace

audio_output::audio_output(const output_options &options, const output_format &format,
                           std::optional<s64> frames, s64 first, frame_listener written)
    : options_(options), format_(format), file_(options.path),
      writer_(make_writer(file_, format, frames)),
      narrower_(format.width, options.no_dither ? 0 : format.computed_width - format.width),
      written_(std::move(written)) {
    narrower_.skip(static_cast<u64>(first) * static_cast<u64>(format.channels));
}

void audio_output::write(const s32 *interleaved, std::size_t frames) {
    const std::size_t count = frames * static_cast<std::size_t>(format_.channels);
    const s32 *words = narrow(interleaved, count);
    if (options_.digest) digest_.add(words, count);
    if (written_) written_(words, frames);
    writer_->write(words, frames);
    frames_ += static_cast<s64>(frames);
}

// Words of the output's width, zeros below.
const s32 *audio_output::narrow(const s32 *interleaved, std::size_t count) {
    if (!narrower_.changes()) return interleaved;
    words_.resize(count);
    narrower_.narrow(interleaved, words_.data(), count);
    return words_.data();
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
