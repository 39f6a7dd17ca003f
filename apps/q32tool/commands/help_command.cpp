// q32tool help: what the program or one command takes.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    if (arguments.operand_count() == 0) {
        print(general_help());
        return;
    }
    const Command *command = find_command(arguments.operand(0));
    if (command == nullptr)
        throw UsageError("there is no command '" + arguments.operand(0) + "'; see q32tool help");
    print(help_text(*command));
}

} // namespace

Command help_command() {
    return {
        .name = "help",
        .operands = {"[COMMAND]"},
        .summary = "tell what a command takes",
        .description = "Prints the list of commands, or what COMMAND takes.",
        .options = {},
        .run = run,
    };
}

} // namespace apps::q32tool
