// All commands, and the help that tells of them.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/batch_worker.h"
#include "apps/q32tool/suggestions.h"

namespace apps::q32tool {
namespace {

// In the order of the help, which says nothing of batch_worker_command.
constexpr const Command *commands[] = {
    &info_command,    &rows_command,    &convert_command, &crop_command,       &paste_command,
    &fill_command,    &pattern_command, &scale_command,   &enlarge_command,    &reduce_command,
    &stream_command,  &compose_command, &filter_command,  &colorspace_command, &separate_command,
    &show_command,    &bars_command,    &bitmap_command,  &jobs_command,       &leftovers_command,
    &explain_command, &help_command,
};

// Other names of commands, which the help leaves out.
constexpr struct {
    std::string_view name;
    const Command *command;
} aliases[] = {{"resize", &scale_command}};

void help(const Arguments &arguments) {
    if (arguments.operand_count() == 0) {
        print(general_help());
        return;
    }
    print(help_text(command_of(arguments.operand(0))));
}

} // namespace

const Command help_command = {
    .name = "help",
    .operands = {"[COMMAND]"},
    .summary = "tell what a command takes",
    .description = "Prints the list of commands, or what COMMAND takes.",
    .options = {},
    .run = help,
};

const Command &command_of(const std::string &name) {
    std::vector<std::string_view> names;
    for (const Command *command : commands) {
        if (command->name == name)
            return *command;
        names.push_back(command->name);
    }
    for (const auto &alias : aliases) {
        if (alias.name == name)
            return *alias.command;
        names.push_back(alias.name);
    }
    if (name == batch_worker_command.name)
        return batch_worker_command;
    const std::string suggestion = did_you_mean(name, names);
    throw UsageError("there is no command '" + name + "'" +
                     (suggestion.empty() ? "; see q32tool help" : suggestion));
}

std::string general_help() {
    std::string text = "Usage: q32tool COMMAND ARGUMENTS [OPTION...]\n\n"
                       "Reads pictures into image buffers, works on them there, and writes them.\n"
                       "\nCommands:\n";
    for (const Command *command : commands) {
        std::string line = "  " + std::string(command->name);
        line.resize(14, ' ');
        text += line + std::string(command->summary) + "\n";
    }
    return text + "\nCommon options:\n" + option_lines(common_options()) +
           "      --version               print the version\n"
           "\n'q32tool help COMMAND' tells what a command takes.\n"
           "Exit codes: 0 done, 1 failed, 2 command line not understood, 130 cancelled.\n";
}

} // namespace apps::q32tool
