// The lines and their words.
#include "buffer_facts.h"

#include "option_values.h"

#include <cstdio>

namespace apps::q32tool {

std::string fact(const std::string &key, const std::string &value) {
    return key + ": " + value + "\n";
}

std::string buffer_facts(const BUF32INFO &info) {
    char type[20];
    std::snprintf(type, sizeof type, "0x%08x", static_cast<unsigned>(info.type));
    return fact("buffer", std::to_string(info.bits_per_pixel) + " bits per pixel, " +
                              std::to_string(info.bytes_per_pixel) + " bytes per pixel, type " +
                              type) +
           fact("image bytes", std::to_string(info.image_bytes)) +
           fact("cells", std::to_string(info.cell_columns) + " x " +
                             std::to_string(info.cell_rows) + " = " +
                             std::to_string(info.cell_count)) +
           fact("cell size", size_in_words({info.cell_width, info.cell_height}) + ", " +
                                 std::to_string(info.cell_bytes) + " bytes") +
           fact("last column", std::to_string(info.last_column_width) + " pixels wide") +
           fact("last row", std::to_string(info.last_row_height) + " pixels high");
}

} // namespace apps::q32tool
