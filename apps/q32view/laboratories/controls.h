// What can be set in a laboratory, by its controls and by the command line alike. Pure: the windows
// are control_column.cpp's.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace apps::q32view {

struct Control {
    enum class Kind { choice, number, toggle, button };

    Kind kind;
    std::string name; // of --set and in the laboratory: "opacity"
    std::string caption;
    int value = 0;                         // index of a choice; number; 0 or 1
    std::vector<std::string> choices = {}; // of a choice, as --set takes them, too
    int least = 0, most = 1;               // of a number
    std::string unit = {};                 // behind a number, with the space before it
};

Control choice(std::string name, std::string caption, std::vector<std::string> choices, int chosen);
Control number(std::string name, std::string caption, int least, int most, int value,
               std::string unit);
Control toggle(std::string name, std::string caption, bool on);
Control button(std::string name, std::string caption); // not for --set

// What stands over it, or on it: "Opacity: 60 %".
std::string caption_of(const Control &control);

// What was given for --set: "opacity=60" as its two halves. Throws UsageError.
using Setting = std::pair<std::string, std::string>;
Setting parse_setting(std::string_view text);

// Sets the control of that name: a choice by its word or its place in the list from 1 on, a toggle
// by on or off. Throws UsageError.
void take_setting(std::vector<Control> &controls, const Setting &setting);

} // namespace apps::q32view
