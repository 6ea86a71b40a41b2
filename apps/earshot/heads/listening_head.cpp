#include "heads/listening_head.hpp"

#include <cstring>
#include <filesystem>
#include <fstream>

#include "console.hpp"
#include "error.hpp"
#include "scene_library.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

constexpr std::size_t most_head_bytes = std::size_t{1} << 30;

constexpr char head_signature[] = "EARH";
constexpr char sofa_signature[] = "\x89HDF\r\n\x1a\n"; // that of HDF5, which SOFA files are

bool begins_with(const std::string &bytes, const char *signature) {
    return bytes.compare(0, std::strlen(signature), signature) == 0;
}

shared_head open_head(const std::string &path, std::string content) {
    const auto bytes = std::make_shared<const std::string>(std::move(content));
    const earshot_head *head = nullptr;
    if (earshot_head_open(bytes->data(), bytes->size(), &head) != EARSHOT_OK)
        throw processing_error(path, "is a head that is damaged, cut short or of another version; "
                                     "prepare it again with 'earshot head'");
    return {bytes, head};
}

shared_head read_head(const std::string &path) {
    std::string content =
        read_text(path, most_head_bytes, "is larger than any head, 1 GiB; is it the right file?");
    if (begins_with(content, head_signature)) return open_head(path, std::move(content));
    if (begins_with(content, sofa_signature))
        throw processing_error(path, "is a SOFA file; 'earshot head' prepares it");
    throw processing_error(path, "is neither a prepared head nor a SOFA file; 'earshot head "
                                 "FILE.sofa -o FILE.head' makes one of the other");
}

} // namespace

earshot_head_info describe_head(const earshot_head &head) {
    earshot_head_info info{};
    require(earshot_head_describe(&head, &info), "earshot_head_describe");
    return info;
}

std::string head_text(const earshot_head_info &info) {
    return message_line(info.name) + ", " + counted(info.directions, "direction");
}

listening_head load_head(const std::string &path, const console &) {
    if (path == "-") throw usage_error("--head: a head cannot be standard input; name its file");
    const shared_head head = path.empty() ? builtin_head() : read_head(path);
    const std::string from = path.empty() ? "built in" : path;
    return {head, head_text(describe_head(*head)) + " (" + from + ")"};
}

// What is read from a pipe is gone.
bool is_head_file(const std::string &path) {
    std::error_code none;
    if (!std::filesystem::is_regular_file(path, none)) return false;
    std::ifstream file(path, std::ios::binary);
    char begin[4] = {};
    return file.read(begin, sizeof begin) && std::memcmp(begin, head_signature, sizeof begin) == 0;
}

} // namespace earshot_tool
