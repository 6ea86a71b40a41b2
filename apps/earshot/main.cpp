// Reads the command line, does what it says, and turns failures into a line on stderr and an exit
// code: 0 done, 1 usage error, 2 processing error.

#include <cstdio>
#include <exception>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <earshot/earshot.h>

#include "audio/output_file.hpp"
#include "commands/commands.hpp"
#include "console.hpp"
#include "error.hpp"
#include "misspelling.hpp"
#include "scene_library.hpp"

using namespace earshot_tool;

namespace {

constexpr int exit_usage = 1;
constexpr int exit_processing = 2;

int fail(int code, const std::string &message) {
    std::fprintf(stderr, "earshot: %s\n", message_line(message).c_str());
    return code;
}

// A file that is opened while one of the three is closed would take its number, and receive what
// is printed there.
void occupy_standard_descriptors() {
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDONLY);
    if (descriptor >= 0) close(descriptor);
}

// A scene may have more sources than a program may open files unless it asks.
void allow_many_files() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

// The command that was named, or the whole.
const CLI::App &named_command(const CLI::App &app) {
    const auto named = app.get_subcommands();
    return named.empty() ? app : *named.front();
}

std::string list_of_options(const CLI::App &command) {
    const std::string name = command.get_parent() == nullptr ? "" : " " + command.get_name();
    return "'earshot" + name + " --help' lists the " + (name.empty() ? "commands" : "options");
}

// Something on the command line that no command, option or file name is expected to be.
std::string unexpected(const CLI::App &app, const std::string &word) {
    const CLI::App &command = named_command(app);
    const bool is_option = word[0] == '-';
    std::vector<std::string> names;
    if (is_option)
        for (const CLI::Option *option : command.get_options())
            for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
    else if (&command == &app)
        for (const CLI::App *known : app.get_subcommands({})) names.push_back(known->get_name());
    const std::string closest = closest_name(word.substr(0, word.find('=')), names);
    const std::string what = is_option          ? ": there is no such option"
                             : &command == &app ? ": there is no such command"
                                                : ": is one word too many";
    return word + what + (closest.empty() ? "" : ", but " + closest) + "; " +
           list_of_options(command);
}

int run(int argc, char **argv) {
    CLI::App app("Spatial audio in fixed point: ambisonic fields, and sound for two ears",
                 "earshot");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("--version", std::string("earshot ") + earshot_version(),
                         "Print the version and exit");
    app.require_subcommand(0, 1);
    app.get_formatter()->column_width(30);
    app.footer("'earshot COMMAND --help' lists the options of a command.");
    action chosen;
    add_rotate(app, chosen);
    add_encode(app, chosen);
    add_render(app, chosen);
    add_binauralize(app, chosen);
    add_join(app, chosen);
    add_batch(app, chosen);
    add_head(app, chosen);
    add_bench(app, chosen);
    add_info(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &) {
        print(app.help());
        return 0;
    } catch (const CLI::CallForVersion &version) {
        print(version.what() + std::string("\n"));
        return 0;
    } catch (const CLI::ExtrasError &) {
        const auto words = app.remaining(true);
        return fail(exit_usage, unexpected(app, words.empty() ? "--" : words.front()));
    } catch (const CLI::ParseError &error) {
        return fail(exit_usage,
                    error.what() + std::string("; ") + list_of_options(named_command(app)));
    }
    if (!chosen) return fail(exit_usage, "no command; " + list_of_options(app));
    chosen();
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    try {
        occupy_standard_descriptors();
        allow_many_files();
        prepare_signals();
        return run(argc, argv);
    } catch (const usage_error &error) {
        return fail(exit_usage, error.what());
    } catch (const processing_error &error) {
        return fail(exit_processing, error.what());
    } catch (const std::exception &error) {
        return fail(exit_processing, std::string("internal error: ") + error.what());
    }
}
