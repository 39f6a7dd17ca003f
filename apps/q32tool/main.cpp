// The program's beginning and end: which command runs, and which line and exit code a failure gets.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "arguments.h"
#include "batch.h"
#include "commands/commands.h"
#include "interrupt.h"
#include "notes.h"
#include "progress.h"
#include "timings.h"
#include "version_lines.h"

#include <windows.h>

#include <algorithm>
#include <new>

namespace apps::q32tool {
namespace {

bool contains(const std::vector<std::string> &words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

void run_command(const Command &command, const Arguments &arguments) {
    if (arguments.has("--help")) {
        print(help_text(command));
        return;
    }
    if (arguments.has("--progress"))
        set_progress(ShowProgress::always);
    else if (arguments.has("--quiet"))
        set_progress(ShowProgress::never);
    run_on_pictures(command, arguments);
    say_notes(arguments.has("--quiet"));
    if (arguments.has("--timings"))
        print_error(timings().summary());
}

// The command is the first word that is no option; common options may stand before it.
void run(std::vector<std::string> words) {
    const auto name = std::find_if(words.begin(), words.end(),
                                   [](const std::string &word) { return !word.starts_with('-'); });
    if (name == words.end()) {
        if (contains(words, "--version"))
            print(version_lines());
        else if (contains(words, "--help") || contains(words, "-h"))
            print(general_help());
        else if (words.empty())
            throw UsageError("no command given; see q32tool help");
        else
            throw UsageError("unknown option '" + words[0] + "'; see q32tool help");
        return;
    }
    const Command &command = command_of(*name);
    words.erase(name);
    run_command(command, Arguments(command, words));
}

int fail(const std::string &line, ExitCode code) {
    print_error("q32tool: " + line + "\n");
    return code;
}

int guarded_run() {
    try {
        run(command_line_words());
        return exit_success;
    } catch (const UsageError &error) {
        return fail(error.what(), exit_usage);
    } catch (const Cancelled &cancelled) {
        return fail(cancelled.what(), exit_cancelled);
    } catch (const std::bad_alloc &) {
        return fail("not enough memory; try --storage file", exit_failure);
    } catch (const std::exception &error) {
        return fail(error.what(), exit_failure);
    }
}

} // namespace
} // namespace apps::q32tool

// The wide entry, so that names of all languages arrive.
extern "C" int wmain() {
    apps::q32tool::watch_for_interrupts();
    return apps::q32tool::guarded_run();
}
