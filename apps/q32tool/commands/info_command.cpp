// q32tool info: reads a picture into a buffer and tells what the library made of it.
#include "commands.h"

#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/buffer_facts.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    const uint32_t type = apply_storage_options(arguments);
    const LoadedPicture picture = load_picture(arguments.operand(0), type, turning_from(arguments));
    const Image &image = picture.image;
    const MemoryUse use = memory_use();
    print(fact("file", arguments.operand(0)) +
          fact("format", picture.format + ", " +
                             counted(static_cast<uint64_t>(picture.file_bits), "bit") +
                             " per pixel") +
          fact("size", size_in_words(image.size())) + buffer_facts(image.info()) +
          fact("storage", use.mapped != 0 ? "swap file" : "memory") +
          fact("memory in use", std::to_string(use.memory) + " bytes") +
          fact("mapped", std::to_string(use.mapped) + " bytes") +
          fact("buffers", std::to_string(buf32CountBuf(nullptr))));
}

} // namespace

const Command info_command = {
    .name = "info",
    .operands = {"PICTURE"},
    .summary = "tell what a picture is and how its buffer is laid out",
    .description = "Reads PICTURE (PNG, JPEG, TIFF, BMP, GIF) into a 24-bit buffer and prints\n"
                   "the picture's size, the buffer's cells and where its pixels are kept.",
    .options = reading_options(),
    .run = run,
};

} // namespace apps::q32tool
