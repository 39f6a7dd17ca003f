// A table of operations, and what each makes of its words.
#include "buffer_script.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "buffer_script_words.h"

#include <algorithm>
#include <iterator>

namespace apps::q32view {
namespace {

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
Size pattern_size(ScriptWords &words) {
    const Size sides = words.size();
    constexpr int most = 1000;
    if (std::max(sides.width, sides.height) > most)
        words.refuse("a pattern is at most 1000x1000 here");
    return sides;
}

void read_alloc(ScriptWords &words, Operation &operation) {
    operation.size = words.size();
    operation.bits = words.number("the bits per pixel");
    if (words.are_left())
        operation.type =
            words.one_of(types, "tiled, file, linear, memory, shrink, colour or pattern");
    if (operation.type == BUF32_ONE_COLOUR)
        operation.colour = words.colour();
    if (operation.type == BUF32_PATTERN)
        operation.pattern = pattern_size(words);
}

void read_lock(ScriptWords &words, Operation &operation) {
    if (words.take_if("cell"))
        operation.cell = words.number("a cell's number");
    else
        operation.mode =
            static_cast<int>(words.one_of(lock_modes, "read, write, overwrite or cell"));
}

void read_unlock(ScriptWords &words, Operation &operation) {
    if (words.take_if("cell"))
        operation.cell = words.number("a cell's number");
}

void read_line(ScriptWords &words, Operation &operation) {
    operation.number = words.number("a row");
    operation.mode = static_cast<int>(words.one_of(line_modes, "read or write"));
    if (operation.mode == BUF32_LINE_WRITE)
        operation.colour = words.colour();
}

void read_limit(ScriptWords &words, Operation &operation) {
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
    void (*read)(ScriptWords &, Operation &); // behind the name
};

void read_nothing(ScriptWords &, Operation &) {}

constexpr Form forms[] = {
    {"alloc", Verb::alloc, Named::new_one, "A WxH BITS [TYPE]",
     "TYPE: tiled, file, linear, memory, shrink, colour RRGGBB, pattern WxH", read_alloc},
    {"free", Verb::free, Named::one, "A", "gives it back", read_nothing},
    {"duplicate", Verb::duplicate, Named::one, "A B", "B shares A's pixels",
     [](ScriptWords &words, Operation &operation) { operation.other = words.name(); }},
    {"fill", Verb::fill, Named::one, "A RRGGBB", "makes it one colour",
     [](ScriptWords &words, Operation &operation) { operation.colour = words.colour(); }},
    {"pattern", Verb::pattern, Named::one, "A WxH", "makes it a pattern of that size",
     [](ScriptWords &words, Operation &operation) { operation.pattern = pattern_size(words); }},
    {"paste", Verb::paste, Named::one, "A X,Y WxH RRGGBB", "writes a rectangle of a colour",
     [](ScriptWords &words, Operation &operation) {
         operation.area = words.area();
         operation.colour = words.colour();
     }},
    {"read", Verb::read, Named::one, "A X,Y WxH", "reads a rectangle",
     [](ScriptWords &words, Operation &operation) { operation.area = words.area(); }},
    {"copy", Verb::copy, Named::one_and_other, "A X,Y WxH B X,Y", "a rectangle of A into B",
     [](ScriptWords &words, Operation &operation) {
         operation.area = words.area();
         operation.other = words.name();
         operation.to = words.place();
     }},
    {"line", Verb::line, Named::one, "A ROW read, A ROW write RRGGBB", "a row; wants a lock",
     read_line},
    {"lock", Verb::lock, Named::one, "A read|write|overwrite|cell N", "all of it, or a cell",
     read_lock},
    {"unlock", Verb::unlock, Named::one, "A [cell N]", "takes a lock back", read_unlock},
    {"resize", Verb::resize, Named::one, "A ROWS", "another height (memory, shrink)",
     [](ScriptWords &words, Operation &operation) { operation.number = words.number("rows"); }},
    {"limit memory", Verb::limit_memory, Named::nothing, "BYTES|none",
     "what larger buffers may take together in memory", read_limit},
    {"limit files", Verb::limit_files, Named::nothing, "BYTES|none", "and in swap files",
     read_limit},
};

const Form &form_of(ScriptWords &words) {
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
    void follow(const Operation &operation, Named named, const ScriptWords &words) {
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
    void need(const std::string &name, const ScriptWords &words) const {
        if (!has(names_, name) && !has(freed_, name))
            words.refuse("there is no buffer " + name + " here; alloc or duplicate makes one");
    }
    void make(const std::string &name, const ScriptWords &words) {
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
        ScriptWords words(line, named + ", line " + std::to_string(script.lines.size()));
        if (words.is_empty())
            continue;
        const Form &form = form_of(words);
        Operation operation;
        operation.verb = form.verb;
        operation.line = static_cast<int>(script.lines.size());
        if (form.named != Named::nothing)
            operation.buffer = words.name();
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
