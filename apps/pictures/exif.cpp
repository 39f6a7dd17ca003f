// The one entry that is written.
#include "exif.h"

namespace apps {

std::vector<uint8_t> exif_of_orientation(int orientation) {
    return {'M',  'M',
            0,    '*',
            0,    0,
            0,    8, // where the directory begins
            0,    1, // one entry:
            0x01, 0x12,
            0,    3,
            0,    0,
            0,    1, // orientation, one number of 16 bits
            0,    static_cast<uint8_t>(orientation),
            0,    0, //
            0,    0,
            0,    0}; // no other directory
}

} // namespace apps
