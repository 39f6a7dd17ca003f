// What a user should know of a result that was made: what could not be kept, what was passed over.
// A note is no failure. Notes are gathered while the work goes on and said when it is done, one
// line for each picture, on the error stream.
#pragma once

#include <string>

namespace apps::q32tool {

// subject: the file. What is said twice of it stands in its line once.
void note(const std::string &subject, const std::string &text);

// "q32tool: note: SUBJECT: TEXT; TEXT" for each subject, and forgets them. quiet: only forgets.
void say_notes(bool quiet);

} // namespace apps::q32tool
