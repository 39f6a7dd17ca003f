// What processes that died have left of their swap files: the files, the record files that list
// them, and slots of the master record file. How these files are laid out: docs/decisions/0012.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace apps::q32tool {

struct Leftover {
    enum Kind { swap_file, record_file, slot };
    Kind kind;
    std::string path;     // of the file, or what the slot names, in the system's code page
    uint64_t bytes;       // of a file
    uint64_t age;         // seconds since it was last written; of a file
    unsigned slot_number; // from 0
};

// Where to look: the family's temporary directory, with a separator at its end, and swap
// directories. An empty name is none.
struct BookPlaces {
    std::string family;
    std::vector<std::string> directories;

    std::string master_file() const { return family + "Q32BASE.CFG"; }
};
// The library's own.
BookPlaces book_places();

// All that no living process holds: a file that can be opened by us alone and was not written for
// so many seconds, and a slot that names a file which is not there.
std::vector<Leftover> find_leftovers(const BookPlaces &places, uint64_t least_age);

// False when it is still there.
bool remove_leftover(const BookPlaces &places, const Leftover &leftover);

} // namespace apps::q32tool
