#include "commands/batch_manifest.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "audio/sample_writer.hpp"
#include "error.hpp"
#include "input_files.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_bytes = std::size_t{1} << 30;
constexpr const char *is_larger = "is larger than 1 GiB; cut it into several";

std::string hidden_folder(const std::string &directory) { return directory + "/.earshot-batch"; }

void replace_file(const std::string &path, const std::string &text) {
    output_file file(path);
    complete(file, text.data(), text.size());
}

std::string without_mark(const std::string &text) {
    return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

} // namespace

std::vector<batch_job> read_manifest(const std::string &path) {
    const std::string text = without_mark(read_text(path, most_bytes, is_larger));
    std::vector<batch_job> jobs;
    std::map<std::string, s64> lines; // by output
    std::string_view rest = text;
    for (s64 number = 1; !rest.empty(); ++number) {
        const std::string_view line = trimmed(take_until('\n', rest));
        if (line.empty()) continue;
        batch_job job{number, std::string(line), "", ""};
        try {
            job.output = output_of_line(job.text);
            const auto [first, is_new] = lines.emplace(job.output, number);
            if (!is_new)
                job.fault = "output: line " + std::to_string(first->second) +
                            " has the same; give each line one of its own";
        } catch (const scene_error &error) {
            job.fault = message_line(error.what());
        }
        jobs.push_back(std::move(job));
    }
    return jobs;
}

batch_results::batch_results(const std::string &directory) : directory_(directory) {
    make_directory(hidden_folder(directory));
    read_records(results_path());
    read_records(journal_path());
    for (const auto &entry : fs::directory_iterator(hidden_folder(directory_)))
        if (entry.path().extension() == ".json") read_records(entry.path().string());
    forget_inputs(); // they are read to be replaced
}

batch_results::~batch_results() {
    if (journal_ >= 0) close(journal_); // and so unlocks it
}

std::string batch_results::journal_path() const {
    return hidden_folder(directory_) + "/journal.jsonl";
}

std::string batch_results::alone_path(s64 line) const {
    return hidden_folder(directory_) + "/" + std::to_string(line) + ".json";
}

// A file that is not there, or no more, has no records.
void batch_results::read_records(const std::string &path) {
    std::string text;
    try {
        if (!fs::exists(path)) return;
        text = read_text(path, most_bytes, is_larger);
    } catch (const processing_error &) {
        if (fs::exists(path)) throw;
        return;
    }
    std::size_t records = 0;
    std::string_view rest = text;
    while (!rest.empty())
        if (auto record = parse_record(take_until('\n', rest))) {
            before_[record->output].push_back(std::move(*record));
            ++records;
        }
    if (path == results_path() && records == 0 && !trimmed(text).empty())
        throw processing_error(path, "has no records of a batch and is not replaced; name another "
                                     "folder");
    if (fs::path(path).extension() == ".json") alone_[path] = std::move(text);
}

const std::vector<batch_record> &batch_results::before(const std::string &output) const {
    static const std::vector<batch_record> none;
    const auto found = before_.find(output);
    return found == before_.end() ? none : found->second;
}

// What a killed run has left off in the midst of a line stays a line by itself. A file system
// without locks has none to wait for.
void batch_results::begin_run() {
    journal_ = open(journal_path().c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (journal_ < 0) throw processing_error(journal_path(), system_cause(errno));
    if (flock(journal_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        throw processing_error(directory_, "another batch is at work there; wait for its end");
    if (lseek(journal_, 0, SEEK_END) > 0 && write_all(journal_, "\n", 1) != 0)
        throw processing_error(journal_path(), system_cause(errno));
}

void batch_results::add(const batch_record &record) {
    const std::string line = text_of(record) + "\n";
    if (const int error = write_all(journal_, line.data(), line.size()))
        throw processing_error(journal_path(), system_cause(error));
}

// What has been written for a line alone meanwhile is left to the next run.
void batch_results::finish_run(std::vector<batch_record> records) {
    std::sort(records.begin(), records.end(),
              [](const auto &one, const auto &other) { return one.line < other.line; });
    std::string text;
    for (const batch_record &record : records) text += text_of(record) + "\n";
    replace_file(results_path(), text);
    if (ftruncate(journal_, 0) != 0) throw processing_error(journal_path(), system_cause(errno));
    for (const auto &[path, content] : alone_)
        if (fs::exists(path) && read_text(path, most_bytes, is_larger) == content) fs::remove(path);
}

void batch_results::add_alone(const batch_record &record) {
    replace_file(alone_path(record.line), text_of(record) + "\n");
}

} // namespace earshot_tool
