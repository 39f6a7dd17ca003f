// q32tool convert: a picture into another file format and another number of bits.
#include "commands.h"

#include "apps/q32tool/conversion.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    const std::string &out = arguments.operand(1);
    Conversion conversion = conversion_from(arguments);
    conversion.invert = arguments.has("--invert");
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(arguments.operand(0), type).image;
    convert(image, conversion, type);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command convert_command() {
    return {
        .name = "convert",
        .operands = {"IN", "OUT"},
        .summary = "change a picture's bits per pixel and file format",
        .description =
            "Reads the picture IN into a 24-bit buffer, converts its rows and writes OUT. The\n"
            "extension of OUT tells the format: .png, .bmp, .jpg, .jpeg, .tif or .tiff.\n"
            "1 and 8 bits are written as such, except that a JPEG of 1 bit is grey. 16 bits are\n"
            "written as such in a BMP with --format 555, and widened to 24 bits otherwise.",
        .options =
            joined({pixel_options(), {{"--invert", "", "make a negative"}}, storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
