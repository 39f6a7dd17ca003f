// q32tool reduce: a picture smaller by whole factors.
#include "commands.h"
#include "scaled_output.h"

#include <q32base/types.h>

namespace apps::q32tool {
namespace {

Factors reduction_from(const Arguments &arguments) {
    const uint32_t factor = arguments.number("--factor", 1, Q32_MAX_SIDE, 1);
    const uint32_t step = arguments.number("--step", 1, Q32_MAX_SIDE, factor);
    return {static_cast<int>(factor), static_cast<int>(step)};
}

void run(const Arguments &arguments) {
    write_scaled(arguments, reduction_from(arguments),
                 [](const auto &picture, const auto &...how) { return reduced(picture, how...); });
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
