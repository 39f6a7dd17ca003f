// Pictures into files, and what of them is lost there.
#pragma once

#include "apps/pictures/picture_writer.h"
#include "picture.h"

#include <string>

namespace apps::q32tool {

// Writes a picture to a file whose name check_output has seen. 1 bit and grey stay what they are
// (in JPEG, 1 bit becomes grey), 5-5-5 stays so in BMP, everything else becomes 24 bits, or 32 with
// opacity. What the format cannot hold is noted; transparency is laid over white then, in the
// picture, too. Throws Failure, Cancelled; no file is left then.
void save_picture(Picture &picture, const std::string &path, FileFormat format,
                  const OutputSettings &settings = {});

// Takes a colour profile away whose colours the pixels are no longer, and notes it of the file OUT.
void drop_profile(PictureFacts &facts, const std::string &out);

// Notes of the file OUT what it cannot have of the facts, and why not.
void note_losses(PictureFacts facts, FileFormat format, RowFormat rows, const std::string &out);

// Takes the opacity away that says nothing, and lays over white what a file OUT of the format
// cannot hold.
void fit_transparency(Picture &picture, FileFormat format, const std::string &out);

// Whether pictures of 24 bits keep their transparency in files of the format.
bool holds_transparency(FileFormat format);

} // namespace apps::q32tool
