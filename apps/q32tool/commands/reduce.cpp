// q32tool reduce: a picture smaller by whole factors.
#include "commands.h"

#include "apps/q32tool/conversion.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage.h"
#include "apps/q32tool/whole_factors.h"

#include <q32base/types.h>

namespace apps::q32tool {
namespace {

Factors reduction_from(const Arguments &arguments) {
    const uint32_t factor = arguments.number("--factor", 1, Q32_MAX_SIDE, 1);
    const uint32_t step = arguments.number("--step", 1, Q32_MAX_SIDE, factor);
    return {static_cast<int>(factor), static_cast<int>(step)};
}

void run(const Arguments &arguments) {
    const std::string &in = arguments.operand(0), &out = arguments.operand(1);
    const Factors factors = reduction_from(arguments);
    if (wants_transparency(arguments)) {
        apply_storage_options(arguments);
        const FileFormat format = check_transparent_output(out);
        Frame frame = reduced(read_frame(in, 32), factors);
        write_frame_and_tell(frame, out, format, arguments);
        return;
    }
    const Conversion conversion = conversion_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(in, type).image;
    convert(image, conversion, type);
    image = reduced(image, factors, type, out);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command reduce_command() {
    return {
        .name = "reduce",
        .operands = {"IN", "OUT"},
        .summary = "make a picture smaller by whole factors",
        .description =
            "Writes as OUT the first pixel of every N of a row, and of the rows every Nth, or\n"
            "with --step every Mth, from the first on. Nothing is averaged: other pixels are\n"
            "passed over.\n"
            "With --bits the picture is converted first, and reduced and written so; 32 bits,\n"
            "colours with transparency, are for PNG and TIFF, and kept in plain memory.",
        .options = joined({{{.name = "--factor",
                             .value = "N",
                             .help = "of N pixels of a row one is taken",
                             .required = true},
                            {"--step", "M", "of M rows one is taken (as many as pixels)"}},
                           factor_pixel_options(),
                           storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
