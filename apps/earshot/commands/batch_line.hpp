// A line of a batch, from its text to the file that it asks for and the record of it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "commands/batch_record.hpp"
#include "commands/scene_rendering.hpp"

namespace earshot_tool {

// Options by their names without dashes in front, as texts: {"gain", "-3"}. Switches have "true" or
// "false".
using option_texts = std::map<std::string, std::string>;

// The options that a line can have, and the whole batch for all its lines: those of 'earshot
// render' that can be said of a scene.
void add_line_options(CLI::App &command, scene_options &options);
const std::vector<std::string> &line_option_names();

// What all lines have in common.
struct batch_setting {
    std::string folder;    // that paths in the manifest start from; empty: the current one
    std::string directory; // that outputs are written to
    option_texts options;  // a line's own come before them; a head's path is as the system takes it
};

struct batch_job {
    s64 line = 0;       // of the manifest, counted from 1
    std::string text;   // a JSON object
    std::string output; // name, starting from the directory
    std::string fault;  // why it cannot be done at all; it may have neither text nor output then
};

// Files by what they hold. Each is read again only when it has changed.
class batch_cache {
  public:
    // Prepared for rendering, as load_head does it; the last few are kept.
    listening_head head(const std::string &path, const console &out);

    // SHA-256 of the bytes. Throws processing_error, also for what is no regular file.
    std::string digest(const std::string &path);

  private:
    struct kept_head {
        std::string version;
        listening_head head;
    };

    std::vector<kept_head> heads_; // the one used last comes last
    std::map<std::string, std::string> digests_;
};

struct finished_line {
    batch_record record;
    bool rendered; // and not found to be there, or at fault
};

/*
 * Does a line, or finds that it has been done: `before` are records of its output from earlier
 * runs. One of the same job is taken over where the file is there and holds what the record says:
 * the samples of the digest, or for lossy formats, which decode to others, as many frames.
 *
 * The job is a SHA-256 of the version of earshot, the output's name, the options, the scene's text
 * with values put in and its tables, and the bytes of its sounds and of its head. Names of folders
 * are no part of it, so a batch can be moved.
 *
 * Never throws: what is wrong with the line is the record's error, with paths as the manifest has
 * them. One line at a time is done in a process; others wait.
 */
finished_line render_line(const batch_setting &setting, const batch_job &job,
                          const std::vector<batch_record> &before, batch_cache &cache) noexcept;

// Of a line that could not be done.
batch_record failed_record(const batch_job &job, const std::string &why);

// The output's name that a line asks for, in its shortest form. Throws scene_error where the text
// is no object, or the name does not stay inside the directory.
std::string output_of_line(const std::string &text);

// Throws usage_error for options that no line can have, and so for what a batch gives to all.
void check_options(const option_texts &options);

} // namespace earshot_tool
