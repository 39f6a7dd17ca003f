// All commands, and the help that lists them.
#include "commands.h"

namespace apps::q32tool {

const std::vector<Command> &commands() {
    static const std::vector<Command> all = {
        info_command(),    rows_command(),       convert_command(),  crop_command(),
        paste_command(),   fill_command(),       pattern_command(),  scale_command(),
        enlarge_command(), reduce_command(),     stream_command(),   compose_command(),
        filter_command(),  colorspace_command(), separate_command(), show_command(),
        bars_command(),    bitmap_command(),     jobs_command(),     help_command(),
    };
    return all;
}

const Command *find_command(std::string_view name) {
    for (const Command &command : commands())
        if (command.name == name)
            return &command;
    return nullptr;
}

std::string general_help() {
    std::string text = "Usage: q32tool COMMAND ARGUMENTS [OPTION...]\n\n"
                       "Reads pictures into image buffers, works on them there, and writes them.\n"
                       "\nCommands:\n";
    for (const Command &command : commands()) {
        std::string line = "  " + std::string(command.name);
        line.resize(14, ' ');
        text += line + std::string(command.summary) + "\n";
    }
    return text + "\nCommon options:\n" + option_lines(common_options()) +
           "      --version               print the version\n"
           "\n'q32tool help COMMAND' tells what a command takes.\n"
           "Exit codes: 0 done, 1 failed, 2 command line not understood, 130 cancelled.\n";
}

} // namespace apps::q32tool
