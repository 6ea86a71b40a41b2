// Reads the command line, does what it says, and turns failures into a line on stderr and an exit
// code: 0 done, 1 usage error, 2 processing error.

#include <cstdio>
#include <exception>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <earshot/earshot.h>

#include "audio/output_file.hpp"
#include "commands/commands.hpp"
#include "console.hpp"
#include "error.hpp"
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
    } catch (const CLI::ParseError &error) {
        return fail(exit_usage, error.what());
    }
    if (!chosen) return fail(exit_usage, "no command; 'earshot --help' lists them");
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
