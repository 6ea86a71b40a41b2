// The two ends of a batch: the manifest, and the records of what has become of its lines.
#pragma once

#include "commands/batch_line.hpp"

namespace earshot_tool {

// The jobs of a manifest, a JSON object a line, in their order; blank lines are none. A line that
// is no such object, or whose output has no proper name or that of a line above, is a job at fault.
// "-" is standard input. Throws processing_error where the file cannot be read.
std::vector<batch_job> read_manifest(const std::string &path);

/*
 * The records of a folder of outputs:
 *
 *     results.jsonl                  all lines in their order, once a run has come to its end
 *     .earshot-batch/journal.jsonl   what the present run, or one that was interrupted, has done
 *     .earshot-batch/LINE.json       what a run of that line alone has done
 *
 * Any number of processes, on any number of machines, may do lines alone; each writes files of its
 * own. One at a time does all lines, which a lock on the journal sees to.
 */
class batch_results {
  public:
    // Makes the folder, if need be, and reads what it says. Throws processing_error.
    explicit batch_results(const std::string &directory);
    ~batch_results();
    batch_results(const batch_results &) = delete;
    batch_results &operator=(const batch_results &) = delete;

    // Of an output, from earlier runs; in no order.
    const std::vector<batch_record> &before(const std::string &output) const;

    // A run of all lines: throws processing_error while there is another one.
    void begin_run();
    void add(const batch_record &record); // to the journal, in the order in which lines end
    // Any order; writes results.jsonl, in which the journal and the records of lines alone go up.
    void finish_run(std::vector<batch_record> records);

    // A line alone.
    void add_alone(const batch_record &record);

    std::string results_path() const { return directory_ + "/results.jsonl"; }

  private:
    std::string journal_path() const;
    std::string alone_path(s64 line) const;
    void read_records(const std::string &path);

    std::string directory_;
    std::map<std::string, std::vector<batch_record>> before_;
    std::map<std::string, std::string> alone_; // files of lines alone, as they were read
    int journal_ = -1;
};

} // namespace earshot_tool
