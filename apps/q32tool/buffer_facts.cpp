// The lines and their words.
#include "buffer_facts.h"

#include "option_values.h"

#include <cstdio>

namespace apps::q32tool {

namespace {

std::string type_of(const BUF32INFO &info) {
    char type[20];
    std::snprintf(type, sizeof type, "0x%08x", static_cast<unsigned>(info.type));
    return type;
}

} // namespace

std::string fact(const std::string &key, const std::string &value) {
    return key + ": " + value + "\n";
}

std::string buffer_facts(const BUF32INFO &info) {
    return fact("buffer", std::to_string(info.bits_per_pixel) + " bits per pixel, " +
                              std::to_string(info.bytes_per_pixel) + " bytes per pixel, type " +
                              type_of(info)) +
           fact("image bytes", std::to_string(info.image_bytes)) +
           fact("cells", std::to_string(info.cell_columns) + " x " +
                             std::to_string(info.cell_rows) + " = " +
                             std::to_string(info.cell_count)) +
           fact("cell size", size_in_words({info.cell_width, info.cell_height}) + ", " +
                                 std::to_string(info.cell_bytes) + " bytes") +
           fact("last column", std::to_string(info.last_column_width) + " pixels wide") +
           fact("last row", std::to_string(info.last_row_height) + " pixels high");
}

void add_buffer_facts(JsonObject &json, const BUF32INFO &info) {
    const struct {
        const char *name;
        int64_t value;
    } numbers[] = {
        {"bits_per_pixel", info.bits_per_pixel},
        {"bytes_per_pixel", info.bytes_per_pixel},
        {"image_bytes", static_cast<int64_t>(info.image_bytes)},
        {"cell_columns", info.cell_columns},
        {"cell_rows", info.cell_rows},
        {"cell_count", info.cell_count},
        {"cell_width", info.cell_width},
        {"cell_height", info.cell_height},
        {"cell_bytes", static_cast<int64_t>(info.cell_bytes)},
        {"last_column_width", info.last_column_width},
        {"last_row_height", info.last_row_height},
    };
    json.add("buffer_type", type_of(info));
    for (const auto &number : numbers)
        json.add(number.name, static_cast<uint64_t>(number.value));
}

} // namespace apps::q32tool
