// q32tool info: reads a picture into a buffer and tells what the library made of it.
#include "commands.h"

#include "apps/q32tool/numbers.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage.h"
#include "apps/q32tool/text.h"

#include <cstdio>

namespace q32tool {
namespace {

std::string pixels(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

void print_line(const std::string &key, const std::string &value) {
    print(key + ": " + value + "\n");
}

void print_buffer(const BUF32INFO &info) {
    char type[20];
    std::snprintf(type, sizeof type, "0x%08x", static_cast<unsigned>(info.type));
    print_line("buffer", std::to_string(info.bits_per_pixel) + " bits per pixel, " +
                             std::to_string(info.bytes_per_pixel) + " bytes per pixel, type " +
                             type);
    print_line("image bytes", std::to_string(info.image_bytes));
    print_line("cells", std::to_string(info.cell_columns) + " x " + std::to_string(info.cell_rows) +
                            " = " + std::to_string(info.cell_count));
    print_line("cell size", pixels(info.cell_width, info.cell_height) + ", " +
                                std::to_string(info.cell_bytes) + " bytes");
    print_line("last column", std::to_string(info.last_column_width) + " pixels wide");
    print_line("last row", std::to_string(info.last_row_height) + " pixels high");
}

void run(const Arguments &arguments) {
    const uint32_t type = apply_storage_options(arguments);
    const LoadedPicture picture = load_picture(arguments.operand(0), type);
    const Image &image = picture.image;
    const MemoryUse use = memory_use();
    print_line("file", arguments.operand(0));
    print_line("format", picture.format + ", " +
                             counted(static_cast<uint64_t>(picture.file_bits), "bit") +
                             " per pixel");
    print_line("size", pixels(image.width(), image.height()));
    print_buffer(image.info());
    print_line("storage", use.mapped != 0 ? "swap file" : "memory");
    print_line("memory in use", std::to_string(use.memory) + " bytes");
    print_line("mapped", std::to_string(use.mapped) + " bytes");
    print_line("buffers", std::to_string(buf32CountBuf(nullptr)));
}

} // namespace

Command info_command() {
    return {
        .name = "info",
        .operands = {"PICTURE"},
        .summary = "tell what a picture is and how its buffer is laid out",
        .description = "Reads PICTURE (PNG, JPEG, TIFF, BMP, GIF) into a 24-bit buffer and prints\n"
                       "the picture's size, the buffer's cells and where its pixels are kept.",
        .options = storage_options(),
        .run = run,
    };
}

} // namespace q32tool
