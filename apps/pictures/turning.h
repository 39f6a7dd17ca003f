// Pictures turned for the eye, in quarters and mirrored, by the numbers of EXIF's orientation:
//   1 as it stands   2 left and right exchanged   3 half a turn      4 top and bottom exchanged
//   5 mirrored at the diagonal from top left      6 a quarter turn clockwise
//   7 mirrored at the other diagonal              8 a quarter turn counter-clockwise
#pragma once

#include "areas.h"
#include "buffer.h"

#include <cstdint>
#include <string>

namespace apps {

// Whether width and height change places.
constexpr bool exchanges_sides(int orientation) {
    return orientation >= 5;
}

// The orientation of a picture that is turned by first and then by second.
int turned_twice(int first, int second);

// A new buffer of the same kind of pixels (8 or 24 bits) with the picture turned. type: a BUF32_
// value for it, named: what messages are about. Throws Failure.
Buffer turned(HBUF32 picture, int orientation, uint32_t type, const std::string &named);

} // namespace apps
