// The words of one line of a script, as what they mean.
#pragma once

#include "buffer_script.h"

#include <span>

namespace apps::q32view {

// As much of a word as a message of one line can take, whatever is in it.
std::string quoted(std::string_view word);

struct NamedNumber {
    std::string_view word;
    uint32_t value;
};

// From the left. Whatever takes a word throws Failure when it is missing or another one is wanted.
class ScriptWords {
public:
    // place: for messages. Remarks are left out.
    ScriptWords(std::string_view line, std::string place);

    bool is_empty() const { return words_.empty(); }
    bool are_left() const { return next_ < words_.size(); }

    std::string_view take(std::string_view wanted);
    // Takes the next word when it is this one.
    bool take_if(std::string_view word);

    std::string name();
    int number(std::string_view wanted);
    Size size();
    Point place();
    Area area();
    ColourBytes colour();
    uint32_t one_of(std::span<const NamedNumber> choices, std::string_view wanted);

    [[noreturn]] void refuse(const std::string &problem) const;
    [[noreturn]] void refuse_word(std::string_view found, std::string_view wanted) const;

private:
    Point pair(char between, int least, std::string_view wanted);

    std::string place_;
    std::vector<std::string_view> words_;
    size_t next_ = 0;
};

} // namespace apps::q32view
