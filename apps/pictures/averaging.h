// Pictures in buffers made smaller by averaging.
#pragma once

#include "buffer.h"
#include "light.h"

#include <functional>
#include <string>

namespace apps {

// Buffers that hold one picture.
struct PictureBuffers {
    HBUF32 colours;     // 8 or 24 bits
    HBUF32 opacity = 0; // 8 bits, or no buffer: opaque everywhere
};

// Averages a picture into buffers of the same kinds, which are nowhere larger. row_done(rows) is
// called with the number of rows of the source that are done, and may throw; named: what messages
// are about. Throws Failure.
void average(const PictureBuffers &source, const PictureBuffers &result, Light light,
             const std::string &named, const std::function<void(int)> &row_done);

} // namespace apps
