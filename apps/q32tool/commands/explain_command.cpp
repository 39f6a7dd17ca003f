// q32tool explain: what the library's failures mean, one by one, as a table, or as the flight
// recorder has logged them.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/explanations.h"
#include "apps/q32tool/log_lines.h"
#include "apps/q32tool/pasted_numbers.h"

#include <q32base/types.h>
#include <q32comm.h>

#include <functional>

namespace apps::q32tool {
namespace {

// --- lines ---------------------------------------------------------------------------------------

constexpr size_t line_width = 79;

// Breaks lines between words; those after the first are indented.
std::string wrapped(std::string_view text) {
    constexpr size_t indent = 2;
    std::string lines;
    size_t column = 0;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (column != 0 && column + 1 + word.size() > line_width) {
            lines += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column != 0) {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += word.size();
    }
    return lines + "\n";
}

// "Title:" and each line of the text below it; a single one beside it.
std::string titled(const std::string &title, std::string_view text) {
    if (text.find('\n') == std::string_view::npos)
        return wrapped(title + ": " + std::string(text));
    std::string lines = title + ":\n";
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        lines += wrapped("- " + std::string(line));
    }
    return lines;
}

std::string message_text(int message) {
    char text[C32_ERR_TEXT_SIZE] = {};
    c32GetErrText(message, text, sizeof text);
    std::string words = text;
    if (const size_t name = words.find("%s"); name != std::string::npos)
        words.replace(name, 2, "Q32BASE.DLL");
    return words;
}

// --- failures ------------------------------------------------------------------------------------

std::string whole(const Explanation &failure) {
    const auto &[message, severity, module, point] = failure.numbers;
    return in_order(failure.numbers) + " (message, severity, module, point)\n" +
           wrapped("\"" + message_text(message) + "\"") + "\n" +
           titled("What happened", failure.what) + titled("Likely causes", failure.causes) +
           titled("What to do", failure.remedy) + titled("Reported by", failure.reporters) +
           wrapped("Module " + std::to_string(module) + ": " + std::string(module_name(module)));
}

std::string in_a_line(const Explanation &failure) {
    constexpr size_t column = 18;
    std::string line = in_order(failure.numbers);
    line.resize(column, ' ');
    return line + std::string(failure.what) + "\n";
}

using IsWanted = std::function<bool(const FailureNumbers &)>;

std::vector<const Explanation *> those(const IsWanted &is_wanted) {
    std::vector<const Explanation *> found;
    for (const Explanation &failure : explanations())
        if (is_wanted(failure.numbers))
            found.push_back(&failure);
    return found;
}

constexpr char see_all[] = "q32tool explain --all lists those that it reports";

void explain_message(int message) {
    const auto found =
        those([&](const FailureNumbers &numbers) { return numbers.message == message; });
    if (found.empty())
        throw Failure(std::to_string(message), "the library has no such message", see_all);
    print(std::to_string(message) + ": " + wrapped(message_text(message)));
    for (const Explanation *failure : found)
        print(in_a_line(*failure));
}

// One failure, or two that only their severity tells apart.
void explain_failure(const PastedNumbers &pasted) {
    const auto found = those([&](const FailureNumbers &numbers) {
        return numbers.message == pasted.message && numbers.module == pasted.module &&
               numbers.point == pasted.point &&
               numbers.severity == pasted.severity.value_or(numbers.severity);
    });
    if (found.empty())
        throw Failure(
            std::to_string(pasted.message) +
                (pasted.severity ? ", severity " + std::to_string(*pasted.severity) : "") +
                ", module " + std::to_string(*pasted.module) + ", point " +
                std::to_string(*pasted.point),
            "the library reports no such failure", see_all);
    for (const Explanation *failure : found)
        print((failure == found.front() ? "" : "\n") + whole(*failure));
}

void explain(const std::string &text) {
    const auto pasted = pasted_numbers(text);
    if (!pasted)
        throw UsageError("these are not the numbers of a failure: '" + text +
                         "'; message, module and point are wanted, as in 1001 4 3");
    if (pasted->library && *pasted->library != Q32_LIBRARY_NUMBER)
        throw Failure(text, "this is a report of library " + std::to_string(*pasted->library),
                      "only those of library " + std::to_string(Q32_LIBRARY_NUMBER) +
                          " are explained here");
    if (pasted->module)
        explain_failure(*pasted);
    else
        explain_message(pasted->message);
}

void run(const Arguments &arguments) {
    const bool has_numbers = arguments.operand_count() != 0;
    if (has_numbers + arguments.has("--all") + arguments.has("--log") != 1)
        throw UsageError("explain takes numbers, --all or --log FILE; see q32tool help explain");
    if (arguments.has("--log")) {
        print(in_lines(read_report_log(arguments.file("--log"))));
    } else if (arguments.has("--all")) {
        for (const Explanation &failure : explanations())
            print(in_a_line(failure));
    } else {
        std::string text;
        for (size_t i = 0; i < arguments.operand_count(); ++i)
            text += (i == 0 ? "" : " ") + arguments.operand(i);
        explain(text);
    }
}

} // namespace

const Command explain_command = {
    .name = "explain",
    .operands = {"[NUMBERS...]"},
    .summary = "say what an error of the library means, and what to do",
    .description =
        "NUMBERS are those of an error as a program shows them: message, module and point (as\n"
        "1001 4 3), with the severity (1001, 0, 4, 3), or whatever has been pasted with words\n"
        "around them. Says what happened, what the likely causes are, what to do, and which\n"
        "functions report it. A message alone (1001) lists all errors that have it.",
    .options = {{"--all", "", "list all errors"},
                {"--log", "FILE", "show a log of the flight recorder"}},
    .run = run,
};

} // namespace apps::q32tool
