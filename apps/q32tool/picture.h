// A picture with all that its file has of it.
#pragma once

#include "apps/pictures/picture_facts.h"
#include "image.h"

#include <optional>

namespace apps::q32tool {

struct Picture {
    Image image; // its colours, which transparent parts have, too
    // 8 bits of the same size, 255 is opaque; none: opaque everywhere. Beside 24 bits only.
    std::optional<Image> opacity;
    PictureFacts facts;
};

} // namespace apps::q32tool
