// A table of operations, and what each makes of its words.
#include "buffer_script.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"

#include <algorithm>
#include <iterator>

namespace apps::q32view {
namespace {

constexpr size_t longest_name = 8;
constexpr int most_number = 999999; // what is too large for the library is to be its report
constexpr size_t most_pixel_bytes = 256 << 20;

// As much of a word as a message of one line can take, whatever is in it.
std::string quoted(std::string_view word) {
    constexpr size_t most = 30;
    std::string text(word.substr(0, most));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "\"" + text + (word.size() > most ? "...\"" : "\"");
}

// The words of one line, from the left.
class Words {
public:
    Words(std::string_view line, std::string place) : place_(std::move(place)) {
        constexpr std::string_view blanks = " \t\r";
        line = line.substr(0, line.find('#'));
        for (size_t at = line.find_first_not_of(blanks); at != std::string_view::npos;
             at = line.find_first_not_of(blanks, at)) {
            const size_t end = std::min(line.find_first_of(blanks, at), line.size());
            words_.push_back(line.substr(at, end - at));
            at = end;
        }
    }

    bool is_empty() const { return words_.empty(); }
    bool are_left() const { return next_ < words_.size(); }
    std::string_view take(std::string_view wanted) {
        if (!are_left())
            refuse(std::string(wanted) + " is missing");
        return words_[next_++];
    }
    // Takes the next word when it is this one.
    bool take_if(std::string_view word) {
        const bool is_it = are_left() && words_[next_] == word;
        next_ += is_it ? 1 : 0;
        return is_it;
    }

    [[noreturn]] void refuse(const std::string &problem) const { throw Failure(place_, problem); }
    [[noreturn]] void refuse_word(std::string_view found, std::string_view wanted) const {
        refuse(quoted(found) + " stands where " + std::string(wanted) + " is wanted");
    }

private:
    std::string place_;
    std::vector<std::string_view> words_;
    size_t next_ = 0;
};

// --- words with a meaning -----------------------------------------------------------------------

bool is_letter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool is_name(std::string_view word) {
    return is_letter(word.front()) && word.size() <= longest_name &&
           std::all_of(word.begin(), word.end(),
                       [](char c) { return is_letter(c) || (c >= '0' && c <= '9'); });
}

std::string name(Words &words, std::string_view wanted = "a buffer's name") {
    const std::string_view word = words.take(wanted);
    if (!is_name(word))
        words.refuse_word(word, "a name of up to eight letters and digits, a letter first,");
    return std::string(word);
}

int number(Words &words, std::string_view wanted) {
    const std::string_view word = words.take(wanted);
    const auto value = parse_number<int>(word);
    if (!value || *value < 0 || *value > most_number)
        words.refuse_word(word, wanted);
    return *value;
}

Point pair(Words &words, char between, int least, std::string_view wanted) {
    const std::string_view word = words.take(wanted);
    const std::vector<int> numbers = parse_numbers<int>(word, between);
    if (numbers.size() != 2 || std::min(numbers[0], numbers[1]) < least ||
        std::max(numbers[0], numbers[1]) > most_number)
        words.refuse_word(word, wanted);
    return {numbers[0], numbers[1]};
}

Size size(Words &words) {
    const Point sides = pair(words, 'x', 1, "a size such as 640x480");
    return {sides.x, sides.y};
}

Point place(Words &words) {
    return pair(words, ',', -most_number, "a place such as 128,0");
}

// The laboratory has to have memory for its pixels.
Area area(Words &words) {
    const Point corner = place(words);
    const Size sides = size(words);
    constexpr uint64_t deepest = 8;
    if (static_cast<uint64_t>(sides.width) * static_cast<uint64_t>(sides.height) * deepest >
        most_pixel_bytes)
        words.refuse("a rectangle has at most 33554432 pixels here");
    return area_of(corner, sides);
}

ColourBytes colour(Words &words) {
    constexpr std::string_view wanted = "a colour such as ff8000, two digits a byte,";
    const std::string_view word = words.take(wanted);
    ColourBytes bytes = {};
    if (word.size() % 2 != 0 || word.size() > 16)
        words.refuse_word(word, wanted);
    for (size_t i = 0; i < word.size(); i += 2) {
        const auto value = parse_number<uint8_t>(word.substr(i, 2), 16);
        if (!value)
            words.refuse_word(word, wanted);
        bytes[i / 2] = *value;
    }
    return bytes;
}

struct NamedNumber {
    std::string_view word;
    uint32_t value;
};

template <size_t count>
uint32_t one_of(Words &words, const NamedNumber (&choices)[count], std::string_view wanted) {
    const std::string_view word = words.take(wanted);
    for (const NamedNumber &choice : choices)
        if (choice.word == word)
            return choice.value;
    words.refuse_word(word, wanted);
}

// --- operations ---------------------------------------------------------------------------------

constexpr NamedNumber types[] = {
    {"tiled", BUF32_TILED},          {"file", BUF32_TILED_FILE},      {"linear", BUF32_LINEAR},
    {"memory", BUF32_LINEAR_MEMORY}, {"shrink", BUF32_LINEAR_SHRINK}, {"colour", BUF32_ONE_COLOUR},
    {"pattern", BUF32_PATTERN},
};
constexpr NamedNumber lock_modes[] = {
    {"read", BUF32_READ}, {"write", BUF32_WRITE}, {"overwrite", BUF32_OVERWRITE}};
constexpr NamedNumber line_modes[] = {{"read", BUF32_LINE_READ}, {"write", BUF32_LINE_WRITE}};

// A pattern is as wide and high as 16 bits say; its pixels are the laboratory's.
Size pattern_size(Words &words) {
    const Size sides = size(words);
    constexpr int most = 1000;
    if (std::max(sides.width, sides.height) > most)
        words.refuse("a pattern is at most 1000x1000 here");
    return sides;
}

void read_alloc(Words &words, Operation &operation) {
    operation.size = size(words);
    operation.bits = number(words, "the bits per pixel");
    if (words.are_left())
        operation.type =
            one_of(words, types, "tiled, file, linear, memory, shrink, colour or pattern");
    if (operation.type == BUF32_ONE_COLOUR)
        operation.colour = colour(words);
    if (operation.type == BUF32_PATTERN)
        operation.pattern = pattern_size(words);
}

void read_lock(Words &words, Operation &operation) {
    if (words.take_if("cell"))
        operation.cell = number(words, "a cell's number");
    else
        operation.mode =
            static_cast<int>(one_of(words, lock_modes, "read, write, overwrite or cell"));
}

void read_unlock(Words &words, Operation &operation) {
    if (words.take_if("cell"))
        operation.cell = number(words, "a cell's number");
}

void read_line(Words &words, Operation &operation) {
    operation.number = number(words, "a row");
    operation.mode = static_cast<int>(one_of(words, line_modes, "read or write"));
    if (operation.mode == BUF32_LINE_WRITE)
        operation.colour = colour(words);
}

void read_limit(Words &words, Operation &operation) {
    if (words.take_if("none"))
        return;
    constexpr std::string_view wanted = "none, or bytes such as 512K,";
    constexpr uint64_t most = 1 << 30; // in 32 bits limits from 2 GB on are a matter of their own
    const std::string_view word = words.take(wanted);
    const auto bytes = parse_bytes(word);
    if (!bytes)
        words.refuse_word(word, wanted);
    if (*bytes > most)
        words.refuse("a limit is at most 1G here; none is no limit");
    operation.most = static_cast<size_t>(*bytes);
}

// How an operation names what it works on.
enum class Named { nothing, one, new_one, one_and_other };

struct Form {
    std::string_view words; // one or two
    Verb verb;
    Named named;
    std::string_view usage, help;
    void (*read)(Words &, Operation &); // behind the name
};

void read_nothing(Words &, Operation &) {}

constexpr Form forms[] = {
    {"alloc", Verb::alloc, Named::new_one, "A WxH BITS [TYPE]",
     "TYPE: tiled, file, linear, memory, shrink, colour RRGGBB, pattern WxH", read_alloc},
    {"free", Verb::free, Named::one, "A", "gives it back", read_nothing},
    {"duplicate", Verb::duplicate, Named::one, "A B", "B shares A's pixels",
     [](Words &words, Operation &operation) { operation.other = name(words); }},
    {"fill", Verb::fill, Named::one, "A RRGGBB", "makes it one colour",
     [](Words &words, Operation &operation) { operation.colour = colour(words); }},
    {"pattern", Verb::pattern, Named::one, "A WxH", "makes it a pattern of that size",
     [](Words &words, Operation &operation) { operation.pattern = pattern_size(words); }},
    {"paste", Verb::paste, Named::one, "A X,Y WxH RRGGBB", "writes a rectangle of a colour",
     [](Words &words, Operation &operation) {
         operation.area = area(words);
         operation.colour = colour(words);
     }},
    {"read", Verb::read, Named::one, "A X,Y WxH", "reads a rectangle",
     [](Words &words, Operation &operation) { operation.area = area(words); }},
    {"copy", Verb::copy, Named::one_and_other, "A X,Y WxH B X,Y", "a rectangle of A into B",
     [](Words &words, Operation &operation) {
         operation.area = area(words);
         operation.other = name(words);
         operation.to = place(words);
     }},
    {"line", Verb::line, Named::one, "A ROW read, A ROW write RRGGBB", "a row; wants a lock",
     read_line},
    {"lock", Verb::lock, Named::one, "A read|write|overwrite|cell N", "all of it, or a cell",
     read_lock},
    {"unlock", Verb::unlock, Named::one, "A [cell N]", "takes a lock back", read_unlock},
    {"resize", Verb::resize, Named::one, "A ROWS", "another height (memory, shrink)",
     [](Words &words, Operation &operation) { operation.number = number(words, "rows"); }},
    {"limit memory", Verb::limit_memory, Named::nothing, "BYTES|none",
     "what larger buffers may take together in memory", read_limit},
    {"limit files", Verb::limit_files, Named::nothing, "BYTES|none", "and in swap files",
     read_limit},
};

const Form &form_of(Words &words) {
    std::string found(words.take("an operation"));
    if (found == "limit")
        found += " " + std::string(words.take("memory or files"));
    const auto *const form = std::find_if(std::begin(forms), std::end(forms),
                                          [&](const Form &one) { return one.words == found; });
    if (form == std::end(forms))
        words.refuse("there is no operation " + quoted(found) +
                     "; q32view.md lists those that there are");
    return *form;
}

// --- names --------------------------------------------------------------------------------------

// The buffers that there may be before a line. One that was freed may be there all the same: what
// is locked stays.
class Names {
public:
    void follow(const Operation &operation, Named named, const Words &words) {
        if (named == Named::new_one)
            make(operation.buffer, words);
        else if (named != Named::nothing)
            need(operation.buffer, words);
        if (named == Named::one_and_other)
            need(operation.other, words);
        if (operation.verb == Verb::duplicate && !has(names_, operation.other))
            make(operation.other, words);
        if (operation.verb == Verb::free && has(names_, operation.buffer)) {
            std::erase(names_, operation.buffer);
            freed_.push_back(operation.buffer);
        }
    }

private:
    static bool has(const std::vector<std::string> &names, const std::string &name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    void need(const std::string &name, const Words &words) const {
        if (!has(names_, name) && !has(freed_, name))
            words.refuse("there is no buffer " + name + " here; alloc or duplicate makes one");
    }
    void make(const std::string &name, const Words &words) {
        if (has(names_, name))
            words.refuse("there is a buffer " + name + " already; free it first");
        if (names_.size() == most_buffers)
            words.refuse("there are " + std::to_string(most_buffers) +
                         " buffers already; free one first");
        names_.push_back(name);
    }

    std::vector<std::string> names_, freed_;
};

} // namespace

Script parse_script(std::string_view text, const std::string &named) {
    Script script;
    script.name = named;
    Names names;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        std::string_view line = text.substr(at, end - at);
        at = end + 1;
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        script.lines.emplace_back(line);
        Words words(line, named + ", line " + std::to_string(script.lines.size()));
        if (words.is_empty())
            continue;
        const Form &form = form_of(words);
        Operation operation;
        operation.verb = form.verb;
        operation.line = static_cast<int>(script.lines.size());
        if (form.named != Named::nothing)
            operation.buffer = name(words);
        form.read(words, operation);
        if (words.are_left())
            words.refuse(quoted(words.take({})) + " is too much; " + std::string(form.words) + " " +
                         std::string(form.usage) + " is all");
        names.follow(operation, form.named, words);
        script.operations.push_back(std::move(operation));
    }
    if (script.operations.empty())
        throw Failure(named, "there is no operation in it");
    return script;
}

std::string script_help() {
    std::string text;
    for (const Form &form : forms)
        text += std::string(form.words) + " " + std::string(form.usage) + "\t" +
                std::string(form.help) + "\n";
    return text;
}

} // namespace apps::q32view
