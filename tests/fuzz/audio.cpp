/*
 * Sound files of any bytes: an error of the tool's, or samples that are the same when they are read
 * once more, and texts that fit into any other file.
 */
#include "audio/audio_input.hpp"
#include "audio/sound_tags.hpp"
#include "error.hpp"

#include <algorithm>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace earshot_tool;

constexpr std::size_t most_words = 1 << 16;

void require(bool holds) {
    if (!holds) std::abort();
}

/* Blocks of a few lengths up to the end, or to as much as is looked at. */
std::vector<s32> read_some(audio_input &in) {
    const auto channels = static_cast<std::size_t>(in.channels());
    std::vector<s32> sound, block;
    for (std::size_t frames = 1; sound.size() < most_words; frames = frames * 5 % 2048) {
        block.assign((frames + 1) * channels, 0x5A5A5A5A);
        const std::size_t got = in.read(block.data(), frames);
        require(got <= frames);
        require(std::all_of(block.end() - static_cast<std::ptrdiff_t>(channels), block.end(),
                            [](s32 word) { return word == 0x5A5A5A5A; }));
        sound.insert(sound.end(), block.begin(),
                     block.begin() + static_cast<std::ptrdiff_t>(got * channels));
        if (got < frames) break;
    }
    return sound;
}

void check_text(const std::string &text) {
    require(text.size() <= 1000);
    require(std::none_of(text.begin(), text.end(),
                         [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }));
}

void read_twice(const std::string &name) {
    audio_input in(name);
    require(in.channels() > 0 && in.rate() > 0 && in.frames().value_or(0) >= 0);
    require(!in.description().empty() && in.width() >= 16 && in.width() <= 32);
    const std::size_t speakers = in.speakers().size();
    require(speakers == 0 || speakers == static_cast<std::size_t>(in.channels()));
    const sound_tags tags = read_tags(name, in);
    for (const std::string &text : {tags.title, tags.artist, tags.comment}) check_text(text);
    const std::vector<s32> once = read_some(in);
    in.rewind();
    const std::vector<s32> again = read_some(in);
    /* The decoders of lossy formats may start otherwise after a seek. */
    require(in.is_float() || again == once);
}

} // namespace

/* They lose memory when they give up on a broken file. */
extern "C" const char *__lsan_default_suppressions() {
    return "leak:libsndfile\nleak:libvorbis\nleak:libogg\nleak:libopus\nleak:libFLAC\n"
           "leak:libmpg123\n";
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    static const int file = memfd_create("input", 0);
    require(file >= 0 && ftruncate(file, 0) == 0 &&
            pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    try {
        read_twice("/proc/self/fd/" + std::to_string(file));
    } catch (const processing_error &error) {
        require(*error.what() != '\0');
    }
    return 0;
}
