#include "audio/ogg_pages.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

#include "error.hpp"

namespace earshot_tool {

namespace {

// A page: "OggS", version, flags, 20 bytes of position, serial number and checksum, the number of
// segments, the length of each in a byte, and the segments.
constexpr std::string_view capture = "OggS";
constexpr std::size_t flags_at = 5;
constexpr std::size_t fixed_bytes = 27;
constexpr s64 longest_page = static_cast<s64>(fixed_bytes) + 255 + s64{255} * 255;
constexpr unsigned last_page_flag = 4;

// The whole length of the page at the beginning of the bytes; more than there are where its own
// header is cut.
std::size_t page_length(std::string_view bytes) {
    if (bytes.size() < fixed_bytes) return fixed_bytes;
    const auto segments = static_cast<unsigned char>(bytes[fixed_bytes - 1]);
    std::size_t length = fixed_bytes + segments;
    if (bytes.size() < length) return length;
    for (std::size_t i = 0; i < segments; ++i)
        length += static_cast<unsigned char>(bytes[fixed_bytes + i]);
    return length;
}

} // namespace

void check_last_ogg_page(byte_source &in) {
    const s64 begin = std::max(in.size() - 2 * longest_page, s64{0});
    std::vector<char> tail(static_cast<std::size_t>(in.size() - begin));
    if (!in.read(begin, tail.data(), tail.size())) tail.clear();
    const std::string_view bytes(tail.data(), tail.size());
    bool is_last = false;
    for (std::size_t at = bytes.find(capture); at < bytes.size(); at = bytes.find(capture, at)) {
        const std::size_t length = page_length(bytes.substr(at));
        if (length > bytes.size() - at)
            throw damaged_file(in.name(), "truncated: the last page of the Ogg stream is cut");
        is_last = (static_cast<unsigned char>(bytes[at + flags_at]) & last_page_flag) != 0;
        at += length;
    }
    if (!is_last) throw damaged_file(in.name(), "truncated: the Ogg stream has no last page");
}

} // namespace earshot_tool
