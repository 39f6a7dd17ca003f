// q32tool enlarge and reduce: a picture larger or smaller by whole factors.
#include "commands.h"

#include "apps/pictures/text.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/factor_scaling.h"
#include "apps/q32tool/output_options.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

// scale: enlarged or reduced of factor_scaling.h, for frames and for images.
template <typename Scale>
void write_scaled(const Arguments &arguments, const Factors &factors, const Scale &scale) {
    const std::string &in = arguments.operand(0), &out = arguments.operand(1);
    if (wants_transparency(arguments)) {
        apply_storage_options(arguments);
        const FileFormat format = check_transparent_output(out);
        const OutputSettings settings = output_settings(arguments, format);
        Frame frame = scale(read_frame(in, 32, turning_from(arguments)), factors);
        write_frame(frame, out, format, settings, out);
        if (!arguments.has("--quiet"))
            print(written_line(out, frame.size(), frame.bits, format));
        return;
    }
    const Conversion conversion = conversion_from(arguments);
    change_picture(arguments, [&](Picture &picture) {
        convert(picture, conversion, out);
        picture.image = scale(picture.image, factors, out);
        if (picture.opacity)
            picture.opacity = scale(*picture.opacity, factors, out);
    });
}

void enlarge(const Arguments &arguments) {
    write_scaled(arguments, factors_from(arguments),
                 [](const auto &picture, const auto &...how) { return enlarged(picture, how...); });
}

void reduce(const Arguments &arguments) {
    const uint32_t factor = arguments.number("--factor", 1, Q32_MAX_SIDE, 1);
    const uint32_t step = arguments.number("--step", 1, Q32_MAX_SIDE, factor);
    write_scaled(arguments, {static_cast<int>(factor), static_cast<int>(step)},
                 [](const auto &picture, const auto &...how) { return reduced(picture, how...); });
}

} // namespace

const Command enlarge_command = {
    .name = "enlarge",
    .operands = {"IN", "OUT"},
    .summary = "make a picture larger by whole factors",
    .description =
        "Writes IN as OUT with every pixel N times as wide and as high, or N times as wide\n"
        "and M times as high. No new colours appear, and edges stay sharp.\n"
        "With --bits the picture is converted first, and enlarged and written so; 32 bits,\n"
        "colours with transparency, are for PNG and TIFF, and kept in plain memory.",
    .options = joined(
        {{{"--factor", "N[xM]", "how often each pixel is repeated, to the right and down", once}},
         factor_pixel_options(),
         transfer_options()}),
    .run = enlarge,
};

const Command reduce_command = {
    .name = "reduce",
    .operands = {"IN", "OUT"},
    .summary = "make a picture smaller by whole factors",
    .description =
        "Writes as OUT the first pixel of every N of a row, and of the rows every Nth, or\n"
        "with --step every Mth, from the first on. Nothing is averaged: other pixels are\n"
        "passed over.\n"
        "With --bits the picture is converted first, and reduced and written so; 32 bits,\n"
        "colours with transparency, are for PNG and TIFF, and kept in plain memory.",
    .options = joined({{{"--factor", "N", "of N pixels of a row one is taken", once},
                        {"--step", "M", "of M rows one is taken (as many as pixels)"}},
                       factor_pixel_options(),
                       transfer_options()}),
    .run = reduce,
};

} // namespace apps::q32tool
