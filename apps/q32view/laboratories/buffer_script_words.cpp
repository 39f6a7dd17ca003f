// Words, and what is wrong with them.
#include "buffer_script_words.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

#include <algorithm>

namespace apps::q32view {
namespace {

constexpr size_t longest_name = 8;
constexpr int most_number = 999999; // what is too large for the library is to be its report
constexpr size_t most_pixel_bytes = 256 << 20;

bool is_letter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool is_name(std::string_view word) {
    return is_letter(word.front()) && word.size() <= longest_name &&
           std::all_of(word.begin(), word.end(),
                       [](char c) { return is_letter(c) || (c >= '0' && c <= '9'); });
}

} // namespace

std::string quoted(std::string_view word) {
    constexpr size_t most = 30;
    std::string text(word.substr(0, most));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "\"" + text + (word.size() > most ? "...\"" : "\"");
}

ScriptWords::ScriptWords(std::string_view line, std::string place) : place_(std::move(place)) {
    constexpr std::string_view blanks = " \t\r";
    line = line.substr(0, line.find('#'));
    for (size_t at = line.find_first_not_of(blanks); at != std::string_view::npos;
         at = line.find_first_not_of(blanks, at)) {
        const size_t end = std::min(line.find_first_of(blanks, at), line.size());
        words_.push_back(line.substr(at, end - at));
        at = end;
    }
}

std::string_view ScriptWords::take(std::string_view wanted) {
    if (!are_left())
        refuse(std::string(wanted) + " is missing");
    return words_[next_++];
}

bool ScriptWords::take_if(std::string_view word) {
    const bool is_it = are_left() && words_[next_] == word;
    next_ += is_it ? 1 : 0;
    return is_it;
}

void ScriptWords::refuse(const std::string &problem) const {
    throw Failure(place_, problem);
}

void ScriptWords::refuse_word(std::string_view found, std::string_view wanted) const {
    refuse(quoted(found) + " stands where " + std::string(wanted) + " is wanted");
}

std::string ScriptWords::name() {
    const std::string_view word = take("a buffer's name");
    if (!is_name(word))
        refuse_word(word, "a name of up to eight letters and digits, a letter first,");
    return std::string(word);
}

int ScriptWords::number(std::string_view wanted) {
    const std::string_view word = take(wanted);
    const auto value = parse_number<int>(word);
    if (!value || *value < 0 || *value > most_number)
        refuse_word(word, wanted);
    return *value;
}

Point ScriptWords::pair(char between, int least, std::string_view wanted) {
    const std::string_view word = take(wanted);
    const std::vector<int> numbers = parse_numbers<int>(word, between);
    if (numbers.size() != 2 || std::min(numbers[0], numbers[1]) < least ||
        std::max(numbers[0], numbers[1]) > most_number)
        refuse_word(word, wanted);
    return {numbers[0], numbers[1]};
}

Size ScriptWords::size() {
    const Point sides = pair('x', 1, "a size such as 640x480");
    return {sides.x, sides.y};
}

Point ScriptWords::place() {
    return pair(',', -most_number, "a place such as 128,0");
}

// The laboratory has to have memory for its pixels.
Area ScriptWords::area() {
    const Point corner = place();
    const Size sides = size();
    constexpr uint64_t deepest = 8;
    if (static_cast<uint64_t>(sides.width) * static_cast<uint64_t>(sides.height) * deepest >
        most_pixel_bytes)
        refuse("a rectangle has at most 33554432 pixels here");
    return area_of(corner, sides);
}

ColourBytes ScriptWords::colour() {
    constexpr std::string_view wanted = "a colour such as ff8000, two digits a byte,";
    const std::string_view word = take(wanted);
    ColourBytes bytes = {};
    if (word.size() % 2 != 0 || word.size() > 16)
        refuse_word(word, wanted);
    for (size_t i = 0; i < word.size(); i += 2) {
        const auto value = parse_number<uint8_t>(word.substr(i, 2), 16);
        if (!value)
            refuse_word(word, wanted);
        bytes[i / 2] = *value;
    }
    return bytes;
}

uint32_t ScriptWords::one_of(std::span<const NamedNumber> choices, std::string_view wanted) {
    const std::string_view word = take(wanted);
    for (const NamedNumber &choice : choices)
        if (choice.word == word)
            return choice.value;
    refuse_word(word, wanted);
}

} // namespace apps::q32view
