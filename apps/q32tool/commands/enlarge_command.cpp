// q32tool enlarge: a picture larger by whole factors.
#include "commands.h"
#include "scaled_output.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    write_scaled(arguments, factors_from(arguments),
                 [](const auto &picture, const auto &...how) { return enlarged(picture, how...); });
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
