// The command line: what to show at first, and what to do without a user.
#pragma once

#include "apps/pictures/areas.h"
#include "show_settings.h"

#include <optional>
#include <string>
#include <vector>

namespace apps::q32view {

struct Options {
    std::string picture; // empty: none
    ShowSettings settings;
    std::optional<int> percent; // none: fitted
    bool fit_width = false;     // to the window's width only
    Point scroll;
    std::optional<Size> size; // of the area in which pictures are shown
    bool test_card = false;
    bool full_screen = false;
    std::string save_to;    // where views are saved without asking; empty: the user is asked
    std::string screenshot; // save a view there and end; empty: stay open
    bool whole_window = false;
    bool help = false;
    bool version = false;
};

// Throws UsageError.
Options read_options(const std::vector<std::string> &words);

std::string help_text();

} // namespace apps::q32view
