// earshot head: makes a head of a measurement of somebody's ears.

#include <array>
#include <cerrno>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/App.hpp>

#include "audio/output_file.hpp"
#include "audio/sample_writer.hpp"
#include "commands/commands.hpp"
#include "error.hpp"
#include "heads/listening_head.hpp"
#include "preparation/report.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

struct head_command_options {
    std::string input, output, report;
    preparation::head_options head;
    verbosity talk;
};

// Whether gnuplot was there and drew.
bool draw(const std::string &directory) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string program = "gnuplot", script = preparation::drawing_script;
    std::array<char *, 3> arguments{program.data(), script.data(), nullptr};
    pid_t child = 0;
    const int failed =
        posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return false;
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void report(const console &out, const preparation::prepared_head &head,
            const std::string &directory) {
    for (const auto &file : preparation::write_report(head)) {
        output_file target((std::filesystem::path(directory) / file.name).string());
        complete(target, file.text.data(), file.text.size());
    }
    if (!draw(directory))
        out.note(directory + ": no pictures, for gnuplot is not installed or failed; " +
                 preparation::drawing_script + " draws them");
}

void make_head(const head_command_options &options) {
    const console out(options.talk);
    const std::string input = text_file_name(options.input);
    const std::string sofa = read_text(options.input, most_head_bytes, is_too_large);
    // Both before seconds of work for nothing.
    output_file output(options.output);
    if (!options.report.empty()) make_directory(options.report);
    const preparation::prepared_head head = prepare_sofa(options.input, sofa, options.head);
    const std::string about = input + ": ";
    for (const std::string &note : head.notes) out.note(about + note);
    complete(output, head.words.data(), head.words.size() * sizeof(u32));
    if (!options.report.empty()) report(out, head, options.report);
    out.detail(output.name() + ": " + counted(head.report.measured, "direction") + " measured, " +
               std::to_string(head.report.directions.size() - head.report.measured) + " filled");
}

} // namespace

void add_head(CLI::App &app, action &chosen) {
    auto *command = add_command(app, "head", "Make a head of a SOFA file, for render's --head");
    auto options = std::make_shared<head_command_options>();
    add_input(*command, options->input, "Measured responses (SOFA); - for standard input");
    command->add_option("-o,--output", options->output, "The head to write; - for standard output")
        ->required()
        ->type_name("FILE");
    command
        ->add_option("--report", options->report,
                     "Directory for a summary, tables and pictures of the head")
        ->type_name("DIR");
    command
        ->add_option("--name", options->head.name, "Name of the head (default: what the file says)")
        ->type_name("TEXT");
    command->add_flag_callback(
        "--no-equalise", [options] { options->head.equalise = false; },
        "Keep what all directions have in common, such as the ear canal");
    add_verbosity(*command, options->talk);
    command->callback([options, &chosen] { chosen = [options] { make_head(*options); }; });
}

} // namespace earshot_tool
