// The command lines of both programs, a word on each line: options and their values, and names with
// a number.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/q32tool/arguments.h"
#include "apps/q32tool/numbered_names.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32view/options.h"
#include "tests/fuzz/input.h"

namespace q32::fuzz {
namespace {

using namespace apps::q32tool;

// All kinds of operands and options that the commands have.
const Command &command() {
    static const Command one = {
        .name = "try",
        .operands = {"IN", "OUT", "[MORE]"},
        .summary = "take everything",
        .description = "Takes everything.",
        .options = joined({area_options(),
                           {{"--bits", "N", "bits of a pixel"},
                            {"--colour", "R,G,B", "a colour", once, "--color"},
                            {"--range", "R,G,B", "as often as you like", at_least_once},
                            {"--kind", "a|b|c", "one of three"},
                            {"--limit", "BYTES", "how much"},
                            {"--file", "FILE", "a file"},
                            {"--fast", "", "a switch", at_most_once, "-f"}}}),
        .run = nullptr,
    };
    return one;
}

void use(const Arguments &arguments) {
    check(arguments.has("--help") ||
              (arguments.operand_count() >= 2 && arguments.operand_count() <= 3),
          "operands are missing, or too many");
    const std::uint32_t bits = arguments.number("--bits", 1, 64, 24);
    check(bits >= 1 && bits <= 64, "a number is out of its range");
    arguments.choice("--kind", {"a", "b", "c"}, "a");
    if (arguments.has("--file"))
        check(!arguments.file("--file").empty(), "a file has no name");
    arguments.if_given("--colour", colour_from);
    if (const auto area = area_from(arguments)) {
        check(area->right >= area->left && area->bottom >= area->top, "an area is inside out");
        in_words(area->corner(), size_from(arguments, "--size"));
    }
    if (arguments.has("--range"))
        arguments.all_parsed("--range", parse_colour, "a colour");
    if (arguments.has("--limit"))
        arguments.parsed("--limit", apps::parse_bytes, "bytes");
}

void read_as_tool(const std::vector<std::string> &words) {
    try {
        use(Arguments(command(), words));
    } catch (const apps::UsageError &error) {
        check(*error.what() != '\0', "an error has no words");
    }
}

void read_as_viewer(const std::vector<std::string> &words) {
    try {
        const apps::q32view::Options options = apps::q32view::read_options(words);
        check(!options.percent || (*options.percent >= 1 && *options.percent <= 3200),
              "a zoom is out of its range");
        check(!options.size || !options.size->is_empty(), "a window has no size");
        check(options.scroll.x >= 0 && options.scroll.y >= 0, "a scroll is negative");
    } catch (const apps::UsageError &error) {
        check(*error.what() != '\0', "an error has no words");
    }
}

// A name that was made with a number has that number in it.
void number_names(const std::string &word, std::uint64_t number) {
    try {
        if (const auto name = numbered_name(word)) {
            const std::string made = name->with(number);
            check(name->number_in(made) == number, "a name has another number in it");
            name->number_in(word);
        }
    } catch (const apps::UsageError &error) {
        check(*error.what() != '\0', "an error has no words");
    }
}

void parse_numbers(const std::string &word) {
    if (const auto number = apps::parse_number<std::int32_t>(word)) {
        check(apps::parse_number<std::int32_t>(std::to_string(*number)) == number,
              "a number is not what it says");
    }
    if (const auto bytes = apps::parse_bytes(word))
        check(!apps::readable_size(*bytes).empty(), "a size has no words");
    if (const auto colour = parse_colour(word)) {
        const std::string again = std::to_string(colour->red) + "," +
                                  std::to_string(colour->green) + "," +
                                  std::to_string(colour->blue);
        check(parse_colour(again).has_value(), "a colour is not what it says");
    }
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    std::vector<std::string> words;
    while (!input.is_empty())
        words.emplace_back(input.line().c_str()); // no word has a zero byte in it
    read_as_tool(words);
    read_as_viewer(words);
    for (const std::string &word : words) {
        number_names(word, word.size() * 7919);
        parse_numbers(word);
    }
    return 0;
}
