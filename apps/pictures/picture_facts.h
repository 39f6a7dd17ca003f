// What a file says of its picture beside the pixels, and what is handed on to the files made of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace apps {

struct PictureFacts {
    struct Resolution {
        double x, y; // pixels per inch
    };

    // How the picture is to be turned for the eye, by EXIF's numbers (turning.h): 1, as it stands,
    // to 8.
    int orientation = 1;
    std::optional<Resolution> resolution;
    std::vector<uint8_t> colour_profile; // an ICC profile as it stands; empty: none
    std::string comment;                 // UTF-8; empty: none
};

} // namespace apps
