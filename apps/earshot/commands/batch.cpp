// earshot batch: many scenes, each as 'earshot render' would make it, by as many processes as there
// are processors.

#include <algorithm>
#include <cmath>
#include <csignal>
#include <thread>

#include <sys/types.h>

#include <CLI/App.hpp>

#include "commands/batch_manifest.hpp"
#include "commands/commands.hpp"
#include "commands/worker_pool.hpp"
#include "error.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

constexpr std::size_t most_told = 10; // errors, on the terminal; the records have all of them

struct line_span {
    s64 first;
    s64 last;
};

struct batch_options {
    std::string manifest;
    std::string directory;
    int jobs = 0; // 0: one for each processor
    std::optional<line_span> lines;
    scene_options all; // only checked: what is said for all lines goes on as text
    verbosity talk;
};

int whole_number(const std::string &option, const std::string &text, const number_range &range) {
    const double value = number_in(option, text, range);
    if (value != std::floor(value))
        throw usage_error(option + ": '" + text + "' is not a whole number");
    return static_cast<int>(value);
}

constexpr number_range any_line{1, 1e9};

line_span parse_lines(const std::string &text) {
    const std::size_t dash = text.find('-');
    if (dash == std::string::npos) throw usage_error("--lines: " + in_quotes(text) + " is no A-B");
    const line_span span{whole_number("--lines", text.substr(0, dash), any_line),
                         whole_number("--lines", text.substr(dash + 1), any_line)};
    if (span.last < span.first)
        throw usage_error("--lines: " + in_quotes(text) + " ends before it begins");
    return span;
}

// What the command line says for all lines.
option_texts texts_for_all(const CLI::App &command) {
    option_texts texts;
    for (const std::string &name : line_option_names()) {
        const CLI::Option *option = command.get_option("--" + name);
        if (option->count() > 0) texts[name] = option->results().back();
    }
    return texts;
}

// An error with the output's name, which some of them begin with.
std::string with_output(const batch_record &record) {
    const std::string name = record.output + ": ";
    return record.output.empty() || record.error.starts_with(name) ? record.error
                                                                   : name + record.error;
}

// A run, from the manifest to its records.
class batch_run {
  public:
    batch_run(const batch_options &options, const option_texts &texts)
        : options_(options), out_(options.talk),
          jobs_(chosen_jobs(options)), setting_{folder_of(options.manifest), options.directory,
                                                texts},
          bar_(out_, options.talk, "line", jobs_.size()) {
        check_options(texts);
        load_head_for_all();
    }

    // The folder is made when all else has been checked.
    void run() {
        results_.emplace(options_.directory);
        if (!options_.lines) results_->begin_run();
        const auto interrupted = run_workers(processes(), jobs_.size(), tasks());
        bar_.clear();
        if (interrupted) stop(*interrupted);
        if (!options_.lines) results_->finish_run(records_);
        report();
    }

  private:
    static std::vector<batch_job> chosen_jobs(const batch_options &options) {
        std::vector<batch_job> jobs = read_manifest(options.manifest);
        if (!options.lines) return jobs;
        const s64 last = jobs.empty() ? 0 : jobs.back().line;
        if (options.lines->first > last)
            throw usage_error(text_file_name(options.manifest) + ": has no line " +
                              std::to_string(options.lines->first) + ", its last is " +
                              std::to_string(last));
        std::erase_if(jobs, [&](const batch_job &job) {
            return job.line < options.lines->first || job.line > options.lines->last;
        });
        return jobs;
    }

    // Workers have what is in memory when they begin.
    void load_head_for_all() {
        const auto named = setting_.options.find("head");
        const std::string head = named == setting_.options.end() ? "" : named->second;
        cache_.head(head, out_);
        if (!head.empty()) cache_.digest(head);
    }

    std::size_t processes() const {
        const std::size_t wanted = options_.jobs != 0 ? static_cast<std::size_t>(options_.jobs)
                                                      : std::thread::hardware_concurrency();
        return std::clamp<std::size_t>(wanted, 1, std::max<std::size_t>(jobs_.size(), 1));
    }

    worker_tasks tasks() {
        return {
            [this](std::size_t k) { return answer(jobs_[k]); },
            [this](std::size_t k, const std::string &answer) { take(jobs_[k], answer); },
            [this](std::size_t k, const std::string &how) { give_up(jobs_[k], how); },
            [this](std::size_t k, pid_t process) {
                remove_unfinished(options_.directory + "/" + jobs_[k].output, process);
            },
            [this] { bar_.show(records_.size()); },
        };
    }

    // Of a worker: whether it has rendered, and the record.
    std::string answer(const batch_job &job) {
        const finished_line line = render_line(setting_, job, results_->before(job.output), cache_);
        return (line.rendered ? "+" : "=") + text_of(line.record);
    }

    void take(const batch_job &job, const std::string &answer) {
        const auto record = parse_record(answer.substr(1));
        if (!record) throw processing_error("line " + std::to_string(job.line) + " has no record");
        const bool rendered = answer[0] == '+';
        if (rendered) ++rendered_;
        keep(*record, rendered || record->failed());
        if (!record->failed())
            out_.detail("line " + std::to_string(job.line) + ": " + job.output +
                        (rendered ? " is rendered" : " is there"));
    }

    void give_up(const batch_job &job, const std::string &how) {
        keep(failed_record(job, "two processes that rendered it ended early, the second by " + how +
                                    "; is there enough memory?"),
             true);
    }

    void keep(const batch_record &record, bool is_new) {
        records_.push_back(record);
        if (!options_.lines)
            results_->add(record);
        else if (is_new)
            results_->add_alone(record);
    }

    [[noreturn]] void stop(int signal_number) {
        out_.note("interrupted after " + std::to_string(records_.size()) + " of " +
                  counted(jobs_.size(), "line") + "; the same command goes on from there");
        raise(signal_number); // which now ends the program as usual
        throw processing_error("interrupted");
    }

    void report() {
        std::sort(records_.begin(), records_.end(),
                  [](const auto &one, const auto &other) { return one.line < other.line; });
        std::size_t failed = 0;
        u64 clipped = 0;
        for (const batch_record &record : records_) {
            clipped += record.clipped;
            if (record.failed() && ++failed <= most_told)
                out_.error("line " + std::to_string(record.line) + ": " + with_output(record));
        }
        out_.clipped(options_.directory, clipped, "at full scale; the records tell in which lines");
        const std::string where = options_.lines ? "" : "; records in " + results_->results_path();
        if (failed > 0)
            throw processing_error(text_file_name(options_.manifest),
                                   std::to_string(failed) + " of " +
                                       counted(records_.size(), "line") + " failed" + where);
        out_.note(counted(records_.size(), "line") + ", " + std::to_string(rendered_) +
                  " rendered, " + std::to_string(records_.size() - rendered_) + " already there" +
                  where);
    }

    const batch_options &options_;
    console out_;
    std::vector<batch_job> jobs_;
    batch_setting setting_;
    std::optional<batch_results> results_;
    batch_cache cache_;
    progress_bar bar_;
    std::vector<batch_record> records_;
    std::size_t rendered_ = 0;
};

} // namespace

void add_batch(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "batch", "Render the scenes of a list, several at a time");
    auto options = std::make_shared<batch_options>();
    command
        ->add_option("MANIFEST", options->manifest,
                     "List of scenes and outputs, an object of JSON in a line; - for standard "
                     "input")
        ->required()
        ->type_name("");
    command
        ->add_option("-o,--output", options->directory,
                     "Folder to write to; it is made if need be. What is there is not rendered "
                     "again")
        ->required()
        ->type_name("DIR");
    command
        ->add_option_function<std::string>(
            "--jobs",
            [options](const std::string &text) {
                options->jobs = whole_number("--jobs", text, {1, 1024});
            },
            "Lines at a time, 1 to 1024 (default: as many as there are processors)")
        ->type_name("N");
    auto *line = command->add_option_function<std::string>(
        "--line",
        [options](const std::string &text) {
            const s64 number = whole_number("--line", text, any_line);
            options->lines = line_span{number, number};
        },
        "Only this line of the list, which other processes may be working at");
    line->type_name("N");
    command
        ->add_option_function<std::string>(
            "--lines", [options](const std::string &text) { options->lines = parse_lines(text); },
            "Only these lines, likewise")
        ->excludes(line)
        ->type_name("A-B");
    add_line_options(*command, options->all);
    add_verbosity(*command, options->talk);
    command->callback([command, options, &chosen] {
        chosen = [options, texts = texts_for_all(*command)] { batch_run(*options, texts).run(); };
    });
}

} // namespace earshot_tool
