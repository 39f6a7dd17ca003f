// Every way in which pixels of a buffer can be changed, each with what the buffer must show
// afterwards.
#pragma once

#include "tests/sharing/pictures.h"

#include <functional>
#include <ostream>
#include <vector>

namespace q32::test {

struct WritePath {
    const char *name;
    // What the buffer becomes: its own type, one of the special ones, or an ordinary one.
    enum Outcome { keeps_type, one_colour, pattern } outcome;
    bool (*applies)(uint32_t type, int bits);
    // Returns whether the call in question succeeded; only then does the picture change. Locks are
    // given back in any case.
    bool (*write)(Picture &picture, Random &random);
};
inline void PrintTo(const WritePath &path, std::ostream *out) {
    *out << path.name;
}

// Those that can be used on a buffer of this type and depth.
std::vector<WritePath> write_paths(uint32_t type, int bits);
// Those that turn a one-colour or pattern buffer into an ordinary one.
std::vector<WritePath> write_paths_to_ordinary(int bits);

// The one call of a step that is in question, apart from those that prepare it. A test may put
// something around it, for the time of a CallSurroundings' life.
bool call_in_question(const std::function<bool()> &call);

class CallSurroundings {
public:
    using Around = std::function<bool(const std::function<bool()> &call)>;
    explicit CallSurroundings(Around around);
    ~CallSurroundings();
    CallSurroundings(const CallSurroundings &) = delete;
    CallSurroundings &operator=(const CallSurroundings &) = delete;
};

} // namespace q32::test
