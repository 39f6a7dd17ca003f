// Pictures merged through the library, in bands, so that progress can be shown and work be stopped.
#pragma once

#include "image.h"
#include "option_values.h"

namespace apps::q32tool {

struct Merge {
    int mode;         // MERGE_
    int transparency; // percent
};

// Merges overlay onto base (both of 24 bits), its top left corner at a point of the base; what
// falls outside is left out. mask: 8 bits, of the overlay's size, or null. Throws Failure, also
// when nothing falls inside, and Cancelled.
void merge_image(const Image &base, const Image &overlay, const Image *mask, const Point &at,
                 const Merge &merge);

} // namespace apps::q32tool
