// The command line: what a command takes, reading it, and the help text made from the same tables.
// What an option means is its command's business.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace apps::q32tool {

// How often an option can be given; switches as often as the user likes.
enum Times { at_most_once, once, at_least_once };

struct Option {
    std::string_view name;  // "--bits"
    std::string_view value; // what follows it, as shown in the help; empty: a switch
    std::string_view help;
    Times times = at_most_once;
    std::string_view also = {}; // "-q", or another spelling, which the help leaves out

    bool is_letter() const { return also.size() == 2; }
    bool is_required() const { return times != at_most_once; }
};

class Arguments;

struct Command {
    std::string_view name;
    // As shown in the help. "[NAME]" may be left out; "[NAMES...]" is the last, and any number.
    std::vector<std::string_view> operands;
    std::string_view summary; // one line
    std::string description;  // paragraphs, already wrapped
    std::vector<Option> options;
    void (*run)(const Arguments &);
};

// Tables one behind the other, for a command's own.
std::vector<Option> joined(std::initializer_list<std::vector<Option>> tables);

// Options that every command knows.
const std::vector<Option> &common_options();

class Arguments {
public:
    // Reads the words after the command's name. Throws UsageError.
    Arguments(const Command &command, const std::vector<std::string> &words);

    size_t operand_count() const { return operands_.size(); }
    const std::string &operand(size_t index) const { return operands_.at(index); }
    const std::string &last_operand() const { return operands_.back(); }

    bool has(std::string_view option) const { return values_.count(option) != 0; }
    // Of an option that was given.
    const std::string &value(std::string_view option) const {
        return values_.find(option)->second.front();
    }
    // Of one that names a file. Throws UsageError when the name is empty.
    const std::string &file(std::string_view option) const;

    // What parse(text) makes of the value of an option that was given. Throws UsageError when it
    // makes nothing of it; wanted: what the option takes, in the message.
    template <typename Parse>
    auto parsed(std::string_view option, const Parse &parse, std::string_view wanted) const {
        return all_parsed(option, parse, wanted).front();
    }
    // The same for each value of one that repeats, in the order of the command line.
    template <typename Parse>
    auto all_parsed(std::string_view option, const Parse &parse, std::string_view wanted) const {
        std::vector<typename decltype(parse(std::string()))::value_type> results;
        for (const std::string &text : values_.find(option)->second) {
            const auto result = parse(text);
            if (!result)
                refuse(option, wanted, text);
            results.push_back(*result);
        }
        return results;
    }

    // What read(arguments, option) makes of an option; none when it was not given.
    template <typename Read>
    auto if_given(std::string_view option, const Read &read) const {
        return has(option) ? std::optional(read(*this, option)) : std::nullopt;
    }

    // The option's value, or the fallback when it was not given; UsageError when it is no such
    // number or none of the words.
    uint32_t number(std::string_view option, uint32_t least, uint32_t most,
                    uint32_t fallback) const;
    std::string_view choice(std::string_view option, std::initializer_list<std::string_view> words,
                            std::string_view fallback) const;

private:
    [[noreturn]] static void refuse(std::string_view option, std::string_view wanted,
                                    std::string_view value);
    void read_words(const Command &command, const std::vector<std::string> &words);
    void check_operands(const Command &command) const;
    void check_required_options(const Command &command) const;

    std::map<std::string, std::vector<std::string>, std::less<>> values_;
    std::vector<std::string> operands_;
};

std::string usage_line(const Command &command);
std::string help_text(const Command &command);
std::string option_lines(const std::vector<Option> &options);

// "a, b or c", with the last word before the last of them.
std::string listed(const std::vector<std::string> &things, std::string_view last);

// Entries of a list in lines of so many columns, for descriptions.
std::string in_columns(const std::vector<std::string> &entries, size_t columns);

} // namespace apps::q32tool
