// Pictures merged through the library, in bands, so that progress can be shown and work be stopped,
// and the names of merge modes.
#pragma once

#include "arguments.h"
#include "image.h"
#include "rectangles.h"

#include <string>

namespace apps::q32tool {

// The value of --mode: a name, or a number from 1 to 16; without the option the normal mode. Throws
// UsageError.
int merge_mode_from(const Arguments &arguments);

// All names with their numbers, wrapped into lines for the help.
std::string merge_mode_names();

struct Merge {
    int mode;         // MERGE_
    int transparency; // percent
};

// Merges overlay onto base (both of 24 bits), its top left corner at a point of the base; what
// falls outside is left out. mask: 8 bits, of the overlay's size, or null. Throws Failure, also
// when nothing falls inside, and Cancelled.
void merge_image(const Canvas &base, const Image &overlay, const Image *mask, const Point &at,
                 const Merge &merge);

// The same for an area of the overlay (and of the mask) whose corner comes to a point of the base,
// where all of it lies inside.
void merge_area(const Canvas &base, const Image &overlay, const Image *mask, const Area &source,
                const Point &to, const Merge &merge);

} // namespace apps::q32tool
