// Two ways in which numbers are told: by their names, and by their order.
#include "pasted_numbers.h"

#include "apps/pictures/numbers.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace apps::q32tool {
namespace {

constexpr int least_message = 1000;

bool is_letter(char character) {
    return std::isalpha(static_cast<unsigned char>(character)) || character == '_';
}

std::string in_small_letters(std::string_view text) {
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(), [](char character) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    });
    return small;
}

// --- by name -------------------------------------------------------------------------------------

// The number behind a word, with nothing but "=", "#" and the like between them.
std::optional<int> number_named(std::string_view text, std::string_view name) {
    for (size_t at = text.find(name); at != std::string_view::npos; at = text.find(name, at + 1)) {
        const size_t behind = at + name.size();
        const size_t begin = text.find_first_not_of(" :=#,.\t\"", behind);
        if ((at > 0 && is_letter(text[at - 1])) || begin == std::string_view::npos)
            continue;
        const size_t end = text.find_first_not_of("0123456789", begin);
        if (const auto number = parse_number<int>(text.substr(begin, end - begin)))
            return number;
    }
    return std::nullopt;
}

std::optional<PastedNumbers> by_name(std::string_view text) {
    auto message = number_named(text, "message");
    if (!message)
        message = number_named(text, "error");
    const auto module = number_named(text, "module"), point = number_named(text, "point");
    if (!message || !module || !point)
        return std::nullopt;
    return PastedNumbers{*message, number_named(text, "severity"), number_named(text, "library"),
                         module, point};
}

// --- by order ------------------------------------------------------------------------------------

// Numbers with no letters between them, from one that can be a message on. Digits of a word, as in
// "q32tool", are none.
std::vector<int> first_group(std::string_view text) {
    std::vector<int> group;
    for (size_t i = 0; i < text.size(); ++i) {
        if (is_letter(text[i])) {
            if (!group.empty())
                return group;
            while (i + 1 < text.size() && (is_letter(text[i + 1]) || is_digit(text[i + 1])))
                ++i;
        } else if (is_digit(text[i])) {
            const size_t end = std::min(text.find_first_not_of("0123456789", i), text.size());
            const auto number = parse_number<int>(text.substr(i, end - i));
            i = end - 1;
            if (number && (!group.empty() || *number >= least_message))
                group.push_back(*number);
        }
    }
    return group;
}

std::optional<PastedNumbers> by_order(std::string_view text) {
    const std::vector<int> n = first_group(text);
    switch (n.size()) {
    case 1:
        return PastedNumbers{n[0], {}, {}, {}, {}};
    case 3:
        return PastedNumbers{n[0], {}, {}, n[1], n[2]};
    case 4:
        return PastedNumbers{n[0], n[1], {}, n[2], n[3]};
    case 5:
        return PastedNumbers{n[0], n[1], n[2], n[3], n[4]};
    }
    return std::nullopt;
}

} // namespace

std::optional<PastedNumbers> pasted_numbers(std::string_view text) {
    const auto named = by_name(in_small_letters(text));
    return named ? named : by_order(text);
}

} // namespace apps::q32tool
