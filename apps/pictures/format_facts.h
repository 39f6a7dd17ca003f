// What files say beside the pixels, each format by its own structure. What is damaged says
// nothing: no file is refused here, whatever it holds.
#pragma once

#include "picture_facts.h"
#include "row_file.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace apps {

struct FileFacts {
    PictureFacts facts; // of the first picture
    int pictures = 1;   // pages of a TIFF, images of a GIF
};

// Of a PNG, JPEG, TIFF, BMP or GIF file; other files say nothing.
FileFacts read_facts(const ReadAt &file);

// Those of one format, for files that begin as it does.
FileFacts png_facts(const ReadAt &file);
FileFacts jpeg_facts(const ReadAt &file);
FileFacts tiff_facts(const ReadAt &file);
FileFacts bmp_facts(const ReadAt &file);
FileFacts gif_facts(const ReadAt &file);

// What several formats have in common. More than these is passed over.
constexpr uint64_t most_profile_bytes = 255 * 65519, most_comment_bytes = 1 << 20;

// Takes what EXIF data says and is not known yet.
void add_exif(PictureFacts &facts, std::span<const uint8_t> exif);

// The profile without what follows it; empty for what is none.
std::vector<uint8_t> checked_profile(std::vector<uint8_t> profile);

// None where it makes no sense.
std::optional<PictureFacts::Resolution> checked_resolution(double x, double y);
// The same of whole numbers per metre, which are of whole ones per inch, rounded up or down, if
// they can be.
std::optional<PictureFacts::Resolution> resolution_of_metres(uint32_t x, uint32_t y);

// As UTF-8, which it may be already, else it is taken for Latin-1; up to its end or the first 0.
std::string text_from(std::span<const uint8_t> bytes);

} // namespace apps
