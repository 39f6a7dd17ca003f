// The merge of the laboratory: two pictures and a mask in buffers, and how long it took.
#pragma once

#include "apps/pictures/areas.h"
#include "apps/pictures/buffer.h"
#include "apps/q32view/picture.h"

namespace apps::q32view {

struct MergeJob {
    const Picture &base;
    const Picture &overlay;
    HBUF32 mask; // 8 bits, of the overlay's size; 0: none
    Point at;    // of the overlay's corner in the base
    int mode;    // MERGE_
    int transparency;
};

struct Merged {
    Picture picture;
    Size size;           // of what was merged
    double microseconds; // in the library's merge calls
};

// Throws Failure.
Merged merged(const MergeJob &job);

} // namespace apps::q32view
