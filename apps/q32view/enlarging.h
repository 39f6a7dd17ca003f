// Parts of a picture that is shown enlarged, by any factor: the same pixels as if the whole picture
// had been enlarged.
#pragma once

#include "apps/pictures/areas.h"
#include "apps/pictures/buffer.h"

#include <string>

namespace apps::q32view {

// part: of the picture in its shown size. Its pixels, from the corner of a new buffer on, which may
// have some columns more. picture: 8 or 24 bits. Throws Failure.
Buffer enlarged_part(HBUF32 picture, Size shown, const Area &part, const std::string &named);

} // namespace apps::q32view
