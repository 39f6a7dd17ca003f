// A table of options, and what each makes of its value.
#include "options.h"

#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "view_state.h"

#include <algorithm>
#include <string_view>

namespace apps::q32view {
namespace {

// The screen of no machine is larger.
constexpr int largest_side = 16000;
constexpr int most_gamma = 1000;

[[noreturn]] void refuse(std::string_view option, std::string_view value, std::string_view wanted) {
    throw UsageError(std::string(option) + " " + std::string(value) + ": " + std::string(wanted) +
                     " is wanted");
}

int number(std::string_view option, std::string_view value, int least, int most,
           std::string_view wanted) {
    const auto parsed = parse_number<int>(value);
    if (!parsed || *parsed < least || *parsed > most)
        refuse(option, value, wanted);
    return *parsed;
}

// Two numbers and what stands between them.
Point pair(std::string_view option, std::string_view value, char between, int least, int most,
           std::string_view wanted) {
    const std::vector<int> numbers = parse_numbers<int>(value, between);
    if (numbers.size() != 2 || std::min(numbers[0], numbers[1]) < least ||
        std::max(numbers[0], numbers[1]) > most)
        refuse(option, value, wanted);
    return {numbers[0], numbers[1]};
}

void read_zoom(Options &options, std::string_view value) {
    options.percent.reset();
    options.fit_width = value == "width";
    if (value != "fit" && !options.fit_width)
        options.percent = number("--zoom", value, least_percent, most_percent,
                                 "fit, width, or 1 to 3200 percent,");
}

void read_at(Options &options, std::string_view value) {
    options.scroll = pair("--at", value, ',', 0, INT32_MAX, "X,Y");
}

void read_size(Options &options, std::string_view value) {
    const Point size = pair("--size", value, 'x', 1, largest_side, "WxH of 1 to 16000");
    options.size = {size.x, size.y};
}

// By name or by number.
void read_device_type(Options &options, std::string_view value) {
    const auto named =
        std::find_if(display_types.begin(), display_types.end(),
                     [value](const DisplayType &type) { return type.name == value; });
    options.settings.device_type =
        named != display_types.end()
            ? static_cast<int>(named - display_types.begin())
            : number("--device-type", value, 0, static_cast<int>(display_types.size()) - 1,
                     "monochrome, 8-colours, 16-colours, 256-colours, true-colour, high-colour or "
                     "0 to 5");
}

void read_gamma(Options &options, std::string_view value) {
    options.settings.gamma = number("--gamma", value, 1, most_gamma, "1 to 1000");
}

void read_dither(Options &options, std::string_view value) {
    if (value != "on" && value != "off")
        refuse("--dither", value, "on or off");
    options.settings.high_colour_dither = value == "on";
}

void read_pixels(Options &options, std::string_view value) {
    static constexpr std::string_view words[] = {"24", "16", "palette", "grey", "1"};
    const auto *const format = std::find(std::begin(words), std::end(words), value);
    if (format == std::end(words))
        refuse("--pixels", value, "24, 16, palette, grey or 1");
    options.settings.pixels = static_cast<ShownFormat>(format - words);
}

void read_file(std::string_view option, std::string_view value, std::string &file) {
    if (value.empty())
        refuse(option, value, "a file's name");
    file = value;
}

struct Option {
    std::string_view name;
    std::string_view value; // as shown in the help; empty: a switch
    std::string_view help;
    void (*read)(Options &, std::string_view value);
};

constexpr Option table[] = {
    {"--zoom", "fit|width|PERCENT", "show it so large (fit)", read_zoom},
    {"--at", "X,Y", "scroll there", read_at},
    {"--size", "WxH", "size of the area in which pictures are shown", read_size},
    {"--full-screen", "", "on the whole screen; Esc ends that",
     [](Options &options, std::string_view) { options.full_screen = true; }},
    {"--device-type", "TYPE",
     "act as on another display: 0 monochrome, 1 8-colours,\n"
     "2 16-colours, 3 256-colours, 4 true-colour, 5 high-colour",
     read_device_type},
    {"--gamma", "N", "hundredths of the screen's gamma; 180 corrects nothing", read_gamma},
    {"--dither", "on|off", "dithering on high-colour displays", read_dither},
    {"--pixels", "KIND", "24, 16, palette, grey or 1: the pixels that are shown (24)", read_pixels},
    {"--palette-option", "", "on 256 colours: dithered colours, 16 greys",
     [](Options &options, std::string_view) { options.settings.palette_option = true; }},
    {"--test-card", "", "show the test card",
     [](Options &options, std::string_view) { options.test_card = true; }},
    {"--save-to", "FILE", "save views there without asking",
     [](Options &options, std::string_view value) {
         read_file("--save-to", value, options.save_to);
     }},
    {"--screenshot", "FILE", "save what is shown there, and end",
     [](Options &options, std::string_view value) {
         read_file("--screenshot", value, options.screenshot);
     }},
    {"--whole-window", "", "save views with menu and status bar",
     [](Options &options, std::string_view) { options.whole_window = true; }},
    {"--help", "", "print this help",
     [](Options &options, std::string_view) { options.help = true; }},
    {"--version", "", "print the program's version",
     [](Options &options, std::string_view) { options.version = true; }},
};

const Option &option_named(std::string_view name) {
    for (const Option &option : table)
        if (option.name == name)
            return option;
    throw UsageError(std::string(name) + ": there is no such option; see q32view --help");
}

// Reads an option and its value, which stands behind "=" or is the next word; index: of the option
// among the words, then of the last word read.
void read_option(Options &options, const std::vector<std::string> &words, size_t &index) {
    const std::string_view word = words[index];
    const size_t equals = std::min(word.find('='), word.size());
    const Option &option = option_named(word.substr(0, equals));
    std::string_view value;
    if (equals < word.size()) {
        if (option.value.empty())
            throw UsageError(std::string(option.name) + " takes no value");
        value = word.substr(equals + 1);
    } else if (!option.value.empty()) {
        if (++index == words.size())
            throw UsageError(std::string(option.name) + ": " + std::string(option.value) +
                             " is missing");
        value = words[index];
    }
    option.read(options, value);
}

// Further lines of a help text under the first one.
std::string indented(std::string_view text, size_t column) {
    std::string result;
    for (const char character : text) {
        result += character;
        if (character == '\n')
            result.append(column, ' ');
    }
    return result;
}

} // namespace

Options read_options(const std::vector<std::string> &words) {
    Options options;
    bool only_operands = false;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (!only_operands && word == "--") {
            only_operands = true;
        } else if (!only_operands && word.size() > 1 && word[0] == '-') {
            read_option(options, words, i);
        } else if (options.picture.empty() && !word.empty()) {
            options.picture = word;
        } else {
            throw UsageError(word.empty() ? "a picture's name is empty"
                                          : word + ": one picture is shown at a time");
        }
    }
    return options;
}

std::string help_text() {
    constexpr size_t column = 28;
    std::string text = "usage: q32view [PICTURE] [OPTION...]\n\n"
                       "Shows a picture in a window, as the library would show it on any kind of "
                       "display.\n\n";
    for (const Option &option : table) {
        std::string line = "  " + std::string(option.name);
        if (!option.value.empty())
            line += " " + std::string(option.value);
        line.resize(std::max(column, line.size() + 1), ' ');
        text += line + indented(option.help, column) + "\n";
    }
    return text;
}

} // namespace apps::q32view
