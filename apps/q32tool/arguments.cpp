// Reading of command lines and the text of their help, both from the commands' tables.
#include "arguments.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

#include <algorithm>

namespace apps::q32tool {
namespace {

constexpr size_t help_column = 30;

bool is_option(std::string_view word) {
    return word.size() > 1 && word[0] == '-';
}

bool is_optional(std::string_view operand) {
    return operand[0] == '[';
}

bool is_repeated(std::string_view operand) {
    return operand.ends_with("...]");
}

const Option *find_option(const Command &command, std::string_view word) {
    for (const std::vector<Option> *table : {&command.options, &common_options()})
        for (const Option &option : *table)
            if (word == option.name || word == option.also)
                return &option;
    return nullptr;
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// As it is written: "--at X,Y".
std::string shown(const Option &option) {
    return std::string(option.name) + " " + std::string(option.value);
}

std::string see_help(const Command &command) {
    return "see q32tool help " + std::string(command.name);
}

} // namespace

const std::vector<Option> &common_options() {
    static const std::vector<Option> options = {
        {"--quiet", "", "print nothing but errors and what was asked for", at_most_once, "-q"},
        {"--timings", "", "print how long each part took and what the library did", at_most_once,
         "-v"},
        {"--progress", "", "show progress even when the error stream is no console"},
        {"--help", "", "print this help", at_most_once, "-h"},
    };
    return options;
}

std::vector<Option> joined(std::initializer_list<std::vector<Option>> tables) {
    std::vector<Option> all;
    for (const std::vector<Option> &table : tables)
        all.insert(all.end(), table.begin(), table.end());
    return all;
}

Arguments::Arguments(const Command &command, const std::vector<std::string> &words) {
    read_words(command, words);
    if (has("--help"))
        return; // nothing else matters then
    check_operands(command);
    check_required_options(command);
}

void Arguments::read_words(const Command &command, const std::vector<std::string> &words) {
    bool options_ended = false;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (options_ended || !is_option(word)) {
            operands_.push_back(word);
            continue;
        }
        if (word == "--") {
            options_ended = true;
            continue;
        }
        const size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
        const std::string name = word.substr(0, equals);
        const Option *option = find_option(command, name);
        if (option == nullptr)
            throw UsageError("unknown option " + quoted(name) + "; " + see_help(command));
        std::string value;
        if (option->value.empty()) {
            if (equals != std::string::npos)
                throw UsageError(std::string(option->name) + " takes no value");
        } else if (equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (i + 1 < words.size()) {
            value = words[++i];
        } else {
            throw UsageError(name + " needs a value: " + std::string(option->value));
        }
        std::vector<std::string> &values = values_[std::string(option->name)];
        if (!values.empty() && !option->value.empty() && option->times != at_least_once)
            throw UsageError(std::string(option->name) + " is given twice");
        values.push_back(std::move(value));
    }
}

void Arguments::check_operands(const Command &command) const {
    const size_t least = static_cast<size_t>(
        std::count_if(command.operands.begin(), command.operands.end(),
                      [](std::string_view operand) { return !is_optional(operand); }));
    if (operands_.size() < least)
        throw UsageError(std::string(command.name) + " needs " +
                         std::string(command.operands[operands_.size()]) +
                         "; usage: " + usage_line(command));
    const bool is_any_number = !command.operands.empty() && is_repeated(command.operands.back());
    if (operands_.size() > command.operands.size() && !is_any_number)
        throw UsageError("one argument too many: " + quoted(operands_[command.operands.size()]) +
                         "; usage: " + usage_line(command));
    for (size_t i = 0; i < operands_.size(); ++i)
        if (operands_[i].empty())
            throw UsageError(
                std::string(command.operands[std::min(i, command.operands.size() - 1)]) +
                " is an empty name; usage: " + usage_line(command));
}

void Arguments::check_required_options(const Command &command) const {
    std::vector<std::string> missing;
    for (const Option &option : command.options)
        if (option.is_required() && !has(option.name))
            missing.push_back(shown(option));
    if (!missing.empty())
        throw UsageError(std::string(command.name) + " needs " + listed(missing, "and") + "; " +
                         see_help(command));
}

void Arguments::refuse(std::string_view option, std::string_view wanted, std::string_view value) {
    throw UsageError(std::string(option) + " takes " + std::string(wanted) + ", not " +
                     quoted(value));
}

const std::string &Arguments::file(std::string_view option) const {
    if (value(option).empty())
        throw UsageError(std::string(option) + " takes the name of a file, not an empty one");
    return value(option);
}

uint32_t Arguments::number(std::string_view option, uint32_t least, uint32_t most,
                           uint32_t fallback) const {
    if (!has(option))
        return fallback;
    const auto number = parse_number<uint32_t>(value(option));
    if (!number || *number < least || *number > most)
        refuse(option, "a number from " + std::to_string(least) + " to " + std::to_string(most),
               value(option));
    return *number;
}

std::string_view Arguments::choice(std::string_view option,
                                   std::initializer_list<std::string_view> words,
                                   std::string_view fallback) const {
    if (!has(option))
        return fallback;
    for (const std::string_view word : words)
        if (value(option) == word)
            return word;
    const std::vector<std::string> all(words.begin(), words.end());
    refuse(option, listed(all, "or"), value(option));
}

std::string usage_line(const Command &command) {
    std::string line = "q32tool " + std::string(command.name);
    for (const std::string_view operand : command.operands)
        line += " " + std::string(operand);
    for (const Option &option : command.options)
        if (option.is_required())
            line += " " + shown(option);
    return command.options.empty() ? line : line + " [OPTION...]";
}

std::string option_lines(const std::vector<Option> &options) {
    std::string text;
    for (const Option &option : options) {
        std::string line = "  ";
        line += option.is_letter() ? std::string(option.also) + ", " : "    ";
        line += option.name;
        if (!option.value.empty())
            line += " " + std::string(option.value);
        line.resize(std::max(line.size() + 1, help_column), ' ');
        text += line + std::string(option.help) + "\n";
    }
    return text;
}

std::string listed(const std::vector<std::string> &things, std::string_view last) {
    std::string list;
    for (size_t i = 0; i < things.size(); ++i) {
        if (i != 0)
            list += i + 1 == things.size() ? " " + std::string(last) + " " : ", ";
        list += things[i];
    }
    return list;
}

std::string in_columns(const std::vector<std::string> &entries, size_t columns) {
    constexpr size_t column_width = 18; // characters
    std::string lines;
    for (size_t i = 0; i < entries.size(); ++i) {
        std::string entry = entries[i];
        if (i % columns != columns - 1)
            entry.resize(column_width, ' ');
        lines += (i == 0 ? "  " : i % columns == 0 ? "\n  " : "") + entry;
    }
    return lines;
}

std::string help_text(const Command &command) {
    std::string text = "Usage: " + usage_line(command) + "\n\n";
    text += command.description + "\n";
    if (!command.options.empty())
        text += "\nOptions:\n" + option_lines(command.options);
    return text + "\nCommon options:\n" + option_lines(common_options());
}

} // namespace apps::q32tool
