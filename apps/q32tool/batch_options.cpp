// Tables of options, by what a command writes.
#include "batch_options.h"

#include <algorithm>

namespace apps::q32tool {
namespace {

bool has_own(const Command &command, std::string_view option) {
    return std::any_of(command.options.begin(), command.options.end(),
                       [&](const Option &own) { return own.name == option; });
}

const std::vector<Option> &reading_options() {
    static const std::vector<Option> options = {
        {"--list", "FILE", "a file with their names, one a line; -: standard input"},
        {"--jobs", "N", "how many are worked on at once, 1 to 64 (as processors)"},
    };
    return options;
}

std::vector<Option> writing_options(const Option &folder) {
    return joined({{folder, {"--as", "KIND", "png, bmp, jpg or tif: the kind of what is written"}},
                   reading_options(),
                   {{"--resume", "", "pass over pictures that are done already"}}});
}

constexpr char into_folder[] = "the folder to write to, under the same names";

} // namespace

const std::vector<Option> &batch_options(const Command &command) {
    static const std::vector<Option> none;
    static const std::vector<Option> with_to =
        writing_options({"--to", "FOLDER", into_folder, at_most_once, "--folder"});
    static const std::vector<Option> with_folder =
        writing_options({"--folder", "FOLDER", into_folder});
    if (command.takes != Takes::many_pictures)
        return none;
    if (!writes_picture(command))
        return reading_options();
    return has_own(command, "--to") ? with_folder : with_to;
}

std::string_view folder_option(const Command &command) {
    return has_own(command, "--to") ? "--folder" : "--to";
}

bool writes_operand(const Command &command) {
    return !command.operands.empty() && command.operands.back().starts_with("OUT");
}

bool writes_picture(const Command &command) {
    return writes_operand(command) || has_own(command, output_option_name);
}

} // namespace apps::q32tool
