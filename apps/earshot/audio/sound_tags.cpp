#include "audio/sound_tags.hpp"

#include <memory>

#include <aifffile.h>
#include <flacfile.h>
#include <id3v2framefactory.h>
#include <infotag.h>
#include <mpegfile.h>
#include <opusfile.h>
#include <sys/stat.h>
#include <tfilestream.h>
#include <vorbisfile.h>
#include <wavfile.h>

#include "audio/audio_input.hpp"

namespace earshot_tool {

namespace {

constexpr std::size_t most_bytes = 1000; // of a text

bool is_regular(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// The format is known from the samples' header; a name may be wrong about it.
std::unique_ptr<TagLib::File> open_tagged(TagLib::IOStream &stream, int format) {
    TagLib::ID3v2::FrameFactory *frames = TagLib::ID3v2::FrameFactory::instance();
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
        return std::make_unique<TagLib::RIFF::WAV::File>(&stream, false);
    case SF_FORMAT_AIFF:
        return std::make_unique<TagLib::RIFF::AIFF::File>(&stream, false);
    case SF_FORMAT_FLAC:
        return std::make_unique<TagLib::FLAC::File>(&stream, frames, false);
    case SF_FORMAT_MPEG:
        return std::make_unique<TagLib::MPEG::File>(&stream, frames, false);
    case SF_FORMAT_OGG:
        if ((format & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS)
            return std::make_unique<TagLib::Ogg::Opus::File>(&stream, false);
        if ((format & SF_FORMAT_SUBMASK) == SF_FORMAT_VORBIS)
            return std::make_unique<TagLib::Ogg::Vorbis::File>(&stream, false);
        return nullptr;
    default:
        return nullptr;
    }
}

bool continues_character(char byte) { return (byte & 0xC0) == 0x80; }

// Up to U+001F, and U+007F to U+009F, which are C2 80 to C2 9F.
bool is_control(const std::string &text, std::size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    return byte < 0x20 || byte == 0x7F ||
           (byte == 0xC2 && at + 1 < text.size() && static_cast<signed char>(text[at + 1]) < -96);
}

// In one line, and not longer than any container takes.
std::string cleaned(const std::string &text) {
    std::string clean;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at + 1;
        while (end < text.size() && continues_character(text[end])) ++end;
        if (clean.size() + end - at > most_bytes) break;
        clean += is_control(text, at) ? " " : text.substr(at, end - at);
        at = end;
    }
    clean.erase(clean.find_last_not_of(' ') + 1);
    return clean;
}

// What is missing in the first.
sound_tags completed(const sound_tags &tags, const sound_tags &others) {
    return {tags.title.empty() ? others.title : tags.title,
            tags.artist.empty() ? others.artist : tags.artist,
            tags.comment.empty() ? others.comment : tags.comment};
}

sound_tags texts_of(const TagLib::Tag *tag) {
    if (tag == nullptr) return {};
    return {cleaned(tag->title().to8Bit(true)), cleaned(tag->artist().to8Bit(true)),
            cleaned(tag->comment().to8Bit(true))};
}

// A WAV file has them in either of two places.
sound_tags texts_of(TagLib::File &file) {
    const sound_tags tags = texts_of(file.tag());
    const auto *wave = dynamic_cast<TagLib::RIFF::WAV::File *>(&file);
    return wave != nullptr ? completed(tags, texts_of(wave->InfoTag())) : tags;
}

} // namespace

sound_tags read_tags(const std::string &path, const audio_input &in) {
    if (path == "-" || !is_regular(path)) return {};
    TagLib::FileStream stream(path.c_str(), true);
    if (!stream.isOpen()) return {};
    const auto file = open_tagged(stream, in.sndfile_format());
    const sound_tags tags = file != nullptr && file->isValid() ? texts_of(*file) : sound_tags{};
    return completed(tags, {cleaned(in.library_text(SF_STR_TITLE)),
                            cleaned(in.library_text(SF_STR_ARTIST)),
                            cleaned(in.library_text(SF_STR_COMMENT))});
}

} // namespace earshot_tool
