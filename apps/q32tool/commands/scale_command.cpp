// q32tool scale: a picture in another size.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/scaling.h"
#include "apps/q32tool/storage_options.h"

#include <q32base/resample.h>

namespace apps::q32tool {
namespace {

// The library interpolates words of 16 bits as 5-5-5; single bits are never interpolated.
void check_can_be_scaled(const Conversion &conversion, const Scaling &scaling,
                         const Arguments &arguments) {
    if (scaling.method() == RESAMPLE_NEAREST)
        return;
    if (conversion.format == PixelFormat::rgb565)
        throw UsageError("pixels of --format 565 are scaled with --method nearest only");
    if (conversion.format == PixelFormat::bits && arguments.has("--method"))
        throw UsageError("pixels of 1 bit are scaled with --method nearest only");
}

void run(const Arguments &arguments) {
    const Scaling scaling(arguments);
    const Conversion conversion = conversion_from(arguments);
    check_can_be_scaled(conversion, scaling, arguments);
    change_picture(arguments, [&](Image &image) {
        convert(image, conversion);
        image = scaled(image, scaling.size_for(image.size()), scaling.method(),
                       arguments.last_operand());
    });
}

} // namespace

const Command scale_command = {
    .name = "scale",
    .operands = {"IN", "OUT"},
    .summary = "make a picture larger or smaller",
    .description =
        "Scales the picture IN to another size and writes OUT. One of --size, --fit and\n"
        "--percent says the size. Pixels are made by cubic convolution, by bilinear\n"
        "interpolation, or are those of the nearest place. No method averages: what lies\n"
        "between the pixels of a much smaller picture is passed over.\n"
        "With --bits the picture is converted first, and scaled and written so; pixels of\n"
        "1 bit are always those of the nearest place.",
    .options = joined({scaling_options(), pixel_options(), storage_options()}),
    .run = run,
    .takes = Takes::many_pictures,
};

} // namespace apps::q32tool
