// q32tool enlarge: a picture larger by whole factors.
#include "commands.h"

#include "apps/q32tool/conversion.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage.h"
#include "apps/q32tool/whole_factors.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    const std::string &in = arguments.operand(0), &out = arguments.operand(1);
    const Factors factors = factors_from(arguments);
    if (wants_transparency(arguments)) {
        apply_storage_options(arguments);
        const FileFormat format = check_transparent_output(out);
        Frame frame = enlarged(read_frame(in, 32), factors);
        write_frame_and_tell(frame, out, format, arguments);
        return;
    }
    const Conversion conversion = conversion_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(in, type).image;
    convert(image, conversion, type);
    image = enlarged(image, factors, type, out);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command enlarge_command() {
    return {
        .name = "enlarge",
        .operands = {"IN", "OUT"},
        .summary = "make a picture larger by whole factors",
        .description =
            "Writes IN as OUT with every pixel N times as wide and as high, or N times as wide\n"
            "and M times as high. No new colours appear, and edges stay sharp.\n"
            "With --bits the picture is converted first, and enlarged and written so; 32 bits,\n"
            "colours with transparency, are for PNG and TIFF, and kept in plain memory.",
        .options = joined({{{.name = "--factor",
                             .value = "N[xM]",
                             .help = "how often each pixel is repeated, to the right and down",
                             .required = true}},
                           factor_pixel_options(),
                           storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
