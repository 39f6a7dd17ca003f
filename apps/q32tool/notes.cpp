// The list of notes, in the order of their first words.
#include "notes.h"

#include "apps/pictures/text.h"
#include "progress.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace apps::q32tool {
namespace {

struct Note {
    std::string subject;
    std::vector<std::string> texts;
};

std::vector<Note> notes;

} // namespace

void note(const std::string &subject, const std::string &text) {
    auto of_subject = std::find_if(notes.begin(), notes.end(),
                                   [&](const Note &known) { return known.subject == subject; });
    if (of_subject == notes.end())
        of_subject = notes.insert(notes.end(), {subject, {}});
    std::vector<std::string> &texts = of_subject->texts;
    if (std::find(texts.begin(), texts.end(), text) == texts.end())
        texts.push_back(text);
}

void say_notes(bool quiet) {
    const std::vector<Note> all = std::exchange(notes, {});
    if (quiet)
        return;
    std::string lines;
    for (const Note &note : all) {
        lines += "q32tool: note: " + note.subject;
        for (size_t i = 0; i < note.texts.size(); ++i)
            lines += (i == 0 ? ": " : "; ") + note.texts[i];
        lines += "\n";
    }
    if (!lines.empty()) {
        clear_progress();
        print_error(lines);
    }
}

} // namespace apps::q32tool
