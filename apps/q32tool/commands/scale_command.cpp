// q32tool scale: a picture in another size.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/scaling.h"

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
    if (conversion.format == PixelFormat::bits &&
        (arguments.has("--method") || arguments.has("--linear")))
        throw UsageError("pixels of 1 bit are scaled with --method nearest only");
}

void run(const Arguments &arguments) {
    const Scaling scaling(arguments, "average");
    const Conversion conversion = conversion_from(arguments);
    check_can_be_scaled(conversion, scaling, arguments);
    const std::string &out = arguments.last_operand();
    change_picture(arguments, [&](Picture &picture) {
        // No work for what will be lost.
        fit_transparency(picture, check_output(out), out);
        fit_transparency(picture, conversion, out);
        // What words of 16 bits have lost would be missing in their means, too.
        const Size size = picture.image.size();
        const bool words_are_averaged =
            conversion.format == PixelFormat::rgb555 && scaling.averaged_size_for(size) != size;
        if (!words_are_averaged)
            convert(picture, conversion, out);
        picture = scaled(picture, scaling, out);
        if (words_are_averaged)
            convert(picture, conversion, out);
    });
}

} // namespace

const Command scale_command = {
    .name = "scale",
    .operands = {"IN", "OUT"},
    .summary = "make a picture larger or smaller",
    .description =
        "Scales the picture IN to another size and writes OUT. One of --size, --fit and\n"
        "--percent says the size. Pixels are means of what they cover of IN (average), made\n"
        "by cubic convolution or by bilinear interpolation, or those of the nearest place.\n"
        "Only average looks at all of a picture that becomes much smaller. Where OUT is\n"
        "larger than IN, average leaves its pixels to cubic convolution.\n"
        "With --bits the picture is converted first, and scaled and written so; 16 bits are\n"
        "made of means of 24; pixels of 1 bit are always those of the nearest place.",
    .options = joined(
        {scaling_options("how pixels are made (average)"), pixel_options(), transfer_options()}),
    .run = run,
    .takes = Takes::many_pictures,
};

} // namespace apps::q32tool
