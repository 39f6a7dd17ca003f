// q32tool convert: a picture into another file format and another number of bits.
#include "commands.h"

#include "apps/q32tool/conversion.h"
#include "apps/q32tool/picture_transfer.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    Conversion conversion = conversion_from(arguments);
    conversion.invert = arguments.has("--invert");
    change_picture(arguments, [&](Picture &picture) {
        convert(picture, conversion, arguments.last_operand());
    });
}

} // namespace

const Command convert_command = {
    .name = "convert",
    .operands = {"IN", "OUT"},
    .summary = "change a picture's bits per pixel and file format",
    .description =
        "Reads the picture IN into a 24-bit buffer, converts its rows and writes OUT. The\n"
        "extension of OUT tells the format: .png, .bmp, .jpg, .jpeg, .tif or .tiff.\n"
        "1 and 8 bits are written as such, except that a JPEG of 1 bit is grey. 16 bits are\n"
        "written as such in a BMP with --format 555, and widened to 24 bits otherwise.\n"
        "Without --bits transparency is kept, with 32 bits, where the format can.",
    .options = joined({pixel_options(), {{"--invert", "", "make a negative"}}, transfer_options()}),
    .run = run,
};

} // namespace apps::q32tool
