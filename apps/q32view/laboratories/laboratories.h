// The laboratories that there are, and those that are open.
#pragma once

#include "laboratory.h"

namespace apps::q32view {

struct LaboratoryKind {
    const char *name;  // of --laboratory
    const char *title; // in the menu and above the window
    int command;       // of the menu
    std::unique_ptr<Laboratory> (*make)(std::string title);
    bool takes_pictures = true; // from the viewer
};

// By name; by command null when it is none of theirs. Throws UsageError.
const LaboratoryKind &laboratory_named(const std::string &name);
const LaboratoryKind *laboratory_of_command(int command);

// Puts the menu of laboratories before the last one of a window's menu bar.
void add_laboratory_menu(HWND window);

// Opens one, which stays until the user closes it or the program ends. Throws what
// Laboratory::open throws.
Laboratory &open_laboratory(const LaboratoryKind &kind, const LaboratoryRequest &request);

// Handles a message for one of them: keys go to its controls. False: it is none of theirs.
bool take_laboratory_message(MSG &message);

// Whether all that were opened have been closed again.
bool are_laboratories_closed();
void close_laboratories();

} // namespace apps::q32view
