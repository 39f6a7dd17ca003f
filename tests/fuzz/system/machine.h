// What stands behind windows.h here: memory, files and settings that a target lays down and looks
// at afterwards. Begins anew with each input.
#pragma once

#include "tests/fuzz/input.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace q32::fuzz {

struct Machine {
    // A file by its name; those that others hold can be neither opened nor deleted.
    struct StoredFile {
        Bytes content;
        bool held_by_others = false;
        int handles = 0;
        bool is_shared = false;
    };
    std::map<std::string, StoredFile> files;
    std::vector<std::string> deleted;

    std::string directory = "C:\\Temp\\";        // of temporary files, and the family's
    std::map<std::string, std::string> settings; // by their keys
    std::map<int, std::string> texts;            // of the common library
    std::set<std::string> directories;           // that there are

    int allocations_left = INT32_MAX; // then there is no memory
    int writes_left = INT32_MAX;      // then the disk is full
    int open_files = 0;
    std::size_t blocks = 0; // of memory
    bool mmx = false;
};

// The one machine.
Machine &machine();
void restart_machine();

// Nothing may be left open or allocated.
void check_nothing_is_held();

} // namespace q32::fuzz
