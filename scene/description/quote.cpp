#include "scene/description/quote.hpp"

#include <algorithm>

namespace earshot_scenes {

namespace {

constexpr std::size_t most_quoted = 60;
constexpr std::size_t most_in_message = 1000;
constexpr std::string_view ellipsis = "...";

constexpr bool goes_on(char byte) { return (byte & 0xC0) == 0x80; }

// At most `most` bytes from the beginning, or to the end, without a part of a character.
std::string_view beginning(std::string_view text, std::size_t most) {
    if (text.size() <= most) return text;
    for (int i = 0; i < 3 && most > 0 && goes_on(text[most]); ++i) --most;
    return text.substr(0, most);
}

std::string_view ending(std::string_view text, std::size_t most) {
    text.remove_prefix(text.size() - std::min(most, text.size()));
    for (int i = 0; i < 3 && !text.empty() && goes_on(text[0]); ++i) text.remove_prefix(1);
    return text;
}

// Bytes of the character of UTF-8 that a text begins with; 0 where it is none, or a control
// character.
std::size_t printing_character(std::string_view text) {
    const unsigned lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) return lead >= 0x20 && lead != 0x7F ? 1 : 0;
    const std::size_t size = lead >= 0xF8 ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC0 || size == 0 || text.size() < size) return 0;
    unsigned code = lead & (0x7Fu >> size);
    for (const char byte : text.substr(1, size - 1)) {
        if (!goes_on(byte)) return 0;
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
    }
    // Below are the second set of controls and what a shorter form could have said.
    constexpr unsigned lowest[] = {0, 0, 0xA0, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= lowest[size] && code <= 0x10FFFF && !surrogate ? size : 0;
}

std::string printable(std::string_view text) {
    std::string clean;
    while (!text.empty()) {
        const std::size_t size = printing_character(text);
        if (size == 0)
            clean += '?';
        else
            clean += text.substr(0, size);
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return clean;
}

} // namespace

// A NUL would end the message that quotes it.
std::string shortened(std::string_view text) {
    const std::string_view part = beginning(text, most_quoted);
    return printable(part) + std::string(part.size() < text.size() ? ellipsis : "");
}

std::string in_quotes(std::string_view text) {
    std::string words(1, '\'');
    words += shortened(text);
    words += '\'';
    return words;
}

std::string message_line(std::string_view text) {
    if (text.size() <= most_in_message) return printable(text);
    return printable(beginning(text, most_in_message / 2)) + std::string(ellipsis) +
           printable(ending(text, most_in_message / 2));
}

} // namespace earshot_scenes
