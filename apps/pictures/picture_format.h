// The formats of picture files that are written, and what each can hold beside the pixels.
#pragma once

#include "picture_facts.h"
#include "wic.h"

#include <string>
#include <vector>

namespace apps {

enum class FileFormat { png, bmp, jpeg, tiff };

const char *format_name(FileFormat format);

// Whether a file whose pixels are such rows may have the profile: it is for colours or for greys,
// as they are.
bool is_profile_for(RowFormat rows, const std::vector<uint8_t> &profile);

// The facts that a file of the format cannot hold, in words: "the colour profile". rows: its
// pixels.
std::vector<std::string> what_is_lost(FileFormat format, const PictureFacts &facts,
                                      RowFormat rows = RowFormat::bgr);

// The facts without those.
PictureFacts what_is_kept(FileFormat format, const PictureFacts &facts, RowFormat rows);

} // namespace apps
