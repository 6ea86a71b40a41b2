#include "heads/listening_head.hpp"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "console.hpp"
#include "error.hpp"
#include "scene_library.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

constexpr char head_signature[] = "EARH";
constexpr char sofa_signature[] = "\x89HDF\r\n\x1a\n"; // that of HDF5, which SOFA files are

bool begins_with(const std::string &bytes, const char *signature) {
    return bytes.compare(0, std::strlen(signature), signature) == 0;
}

// The memory stays with the head.
template <class Bytes>
shared_head open_head(const std::string &path, const std::shared_ptr<const Bytes> &memory) {
    const earshot_head *head = nullptr;
    const std::size_t size = memory->size() * sizeof *memory->data();
    if (earshot_head_open(memory->data(), size, &head) != EARSHOT_OK)
        throw processing_error(path, "is a head that is damaged, cut short or of another version; "
                                     "prepare it again with 'earshot head'");
    return {memory, head};
}

shared_head prepare(const std::string &path, const std::string &sofa, const console &out) {
    const auto begin = std::chrono::steady_clock::now();
    preparation::prepared_head made = prepare_sofa(path, sofa, {});
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    const std::string about = path + ": ";
    for (const std::string &note : made.notes) out.note(about + note);
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f", taken.count());
    out.note(path + ": prepared in " + seconds +
             " s; 'earshot head' does it once for all renderings");
    return open_head(path, std::make_shared<const std::vector<u32>>(std::move(made.words)));
}

shared_head read_head(const std::string &path, const console &out) {
    std::string content = read_text(path, most_head_bytes, is_too_large);
    if (begins_with(content, head_signature))
        return open_head(path, std::make_shared<const std::string>(std::move(content)));
    if (begins_with(content, sofa_signature)) return prepare(path, content, out);
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

preparation::prepared_head prepare_sofa(const std::string &path, const std::string &sofa,
                                        const preparation::head_options &options) {
    try {
        return preparation::prepare_head(sofa, options);
    } catch (const preparation::cannot_prepare &why) {
        throw processing_error(text_file_name(path), why.what());
    }
}

listening_head load_head(const std::string &path, const console &out) {
    if (path == "-") throw usage_error("--head: a head cannot be standard input; name its file");
    const shared_head head = path.empty() ? builtin_head() : read_head(path, out);
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
