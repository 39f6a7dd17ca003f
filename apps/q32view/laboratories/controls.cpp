// Makers of controls, and values read from words.
#include "controls.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

#include <algorithm>

namespace apps::q32view {
namespace {

std::string listed(const std::vector<std::string> &words, const std::string &last) {
    std::string list;
    for (size_t i = 0; i < words.size(); ++i)
        list += (i == 0 ? "" : i + 1 == words.size() ? last : ", ") + words[i];
    return list;
}

std::string wanted_by(const Control &control) {
    switch (control.kind) {
    case Control::Kind::choice:
        return listed(control.choices, " or ");
    case Control::Kind::number:
        return std::to_string(control.least) + " to " + std::to_string(control.most);
    default:
        return "on or off";
    }
}

int index_of(const std::vector<std::string> &words, const std::string &word) {
    const auto found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? -1 : static_cast<int>(found - words.begin());
}

// False for words that it does not take.
bool set_by_word(Control &control, const std::string &word) {
    const auto parsed = parse_number<int>(word);
    int index = -1;
    switch (control.kind) {
    case Control::Kind::choice:
        index = index_of(control.choices, word);
        if (index < 0 && parsed && *parsed <= static_cast<int>(control.choices.size()))
            index = *parsed - 1;
        break;
    case Control::Kind::number:
        if (!parsed || *parsed < control.least || *parsed > control.most)
            return false;
        control.value = *parsed;
        return true;
    case Control::Kind::toggle:
        index = index_of({"off", "on"}, word);
        break;
    case Control::Kind::button:
        break;
    }
    if (index < 0)
        return false;
    control.value = index;
    return true;
}

std::vector<std::string> names_of(const std::vector<Control> &controls) {
    std::vector<std::string> names;
    for (const Control &control : controls)
        if (control.kind != Control::Kind::button)
            names.push_back(control.name);
    return names;
}

} // namespace

Control choice(std::string name, std::string caption, std::vector<std::string> choices,
               int chosen) {
    return {.kind = Control::Kind::choice,
            .name = std::move(name),
            .caption = std::move(caption),
            .value = chosen,
            .choices = std::move(choices)};
}

Control number(std::string name, std::string caption, int least, int most, int value,
               std::string unit) {
    return {.kind = Control::Kind::number,
            .name = std::move(name),
            .caption = std::move(caption),
            .value = value,
            .least = least,
            .most = most,
            .unit = std::move(unit)};
}

Control toggle(std::string name, std::string caption, bool on) {
    return {.kind = Control::Kind::toggle,
            .name = std::move(name),
            .caption = std::move(caption),
            .value = on};
}

Control button(std::string name, std::string caption) {
    return {.kind = Control::Kind::button, .name = std::move(name), .caption = std::move(caption)};
}

std::string caption_of(const Control &control) {
    return control.kind == Control::Kind::number
               ? control.caption + ": " + std::to_string(control.value) + control.unit
               : control.caption;
}

Setting parse_setting(std::string_view text) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0)
        throw UsageError("--set " + std::string(text) + ": NAME=VALUE is wanted");
    return {std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

void take_setting(std::vector<Control> &controls, const Setting &setting) {
    const std::string &name = setting.first, &value = setting.second;
    const auto control = std::find_if(controls.begin(), controls.end(), [&](const Control &one) {
        return one.kind != Control::Kind::button && one.name == name;
    });
    if (control == controls.end())
        throw UsageError("--set " + name + ": there is no such setting here; there are " +
                         listed(names_of(controls), " and "));
    if (!set_by_word(*control, value))
        throw UsageError("--set " + name + "=" + value + ": " + wanted_by(*control) + " is wanted");
}

} // namespace apps::q32view
