// What the viewer shows: the picture, and how.
#pragma once

#include "picture.h"
#include "show_settings.h"

#include <optional>

namespace apps::q32view {

struct Show {
    std::optional<Picture> picture;
    ShowSettings settings;
    bool test_card = false; // instead of the picture
};

} // namespace apps::q32view
