// q32tool compose: one picture merged onto another.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/merging.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"

namespace apps::q32tool {
namespace {

Image load_alpha(const std::string &path, const PictureTransfer &transfer) {
    LoadedPicture picture = transfer.load(path);
    if (!picture.has_opacity)
        throw Failure(path, "the picture has no transparency that could be a mask",
                      "leave --mask-from out to use its grey");
    if (!picture.opacity)
        return {PixelFormat::grey, picture.image.size(), BUF32_ONE_COLOUR, path, &opaque};
    return std::move(*picture.opacity);
}

Image load_grey(const std::string &path, const PictureTransfer &transfer) {
    Picture picture = transfer.load(path);
    if (picture.opacity)
        lay_over_white(picture, path, "masks have");
    convert(picture.image, {PixelFormat::grey});
    return std::move(picture.image);
}

// Where a mask acts on an overlay that has transparent parts itself.
Image weighed(const Image &mask, const Image &opacity) {
    Image both(PixelFormat::grey, mask.size(), opacity.type(), mask.named());
    const size_t width = static_cast<size_t>(mask.width());
    std::vector<uint8_t> row(width), weights(width);
    row_by_row("merging", mask.height(), [&](int y) {
        const Area area = area_of(0, y, mask.width(), 1);
        get_pixels(mask, area, row.data());
        get_pixels(opacity, area, weights.data());
        for (size_t x = 0; x < width; ++x)
            row[x] = static_cast<uint8_t>((row[x] * weights[x] + 127) / 255);
        put_pixels(both, area, row.data());
    });
    return both;
}

// How opaque the overlay is: by its own transparency, if it has any, and by the mask that the
// options name.
std::optional<Image> mask_from(const Arguments &arguments, Picture &overlay,
                               const PictureTransfer &transfer) {
    const std::string_view source =
        arguments.choice("--mask-from", {"grey", "gray", "alpha"}, "grey");
    if (!arguments.has("--mask"))
        return std::move(overlay.opacity);
    const std::string &path = arguments.file("--mask");
    Image mask = source == "alpha" ? load_alpha(path, transfer) : load_grey(path, transfer);
    if (mask.size() != overlay.image.size())
        throw Failure(path,
                      "the mask is " + size_in_words(mask.size()) + ", the overlay " +
                          size_in_words(overlay.image.size()),
                      "they must be of one size");
    return overlay.opacity ? weighed(mask, *overlay.opacity) : std::move(mask);
}

void run(const Arguments &arguments) {
    const std::string &out = arguments.file("--output");
    const Merge merge = {
        .mode = merge_mode_from(arguments),
        .transparency = static_cast<int>(arguments.number("--transparency", 0, 100, 0)),
    };
    const Point at = arguments.if_given("--at", point_from).value_or(Point{});
    if (arguments.has("--mask-from") && !arguments.has("--mask"))
        throw UsageError("--mask-from needs --mask PICTURE, too");
    const PictureTransfer transfer(arguments, out);
    Picture base = transfer.load(arguments.file("--base"));
    Picture overlay = transfer.load(arguments.file("--overlay"));
    const std::optional<Image> mask = mask_from(arguments, overlay, transfer);
    merge_picture(base, overlay.image, mask ? &*mask : nullptr, at, merge);
    transfer.save(base);
}

} // namespace

const Command compose_command = {
    .name = "compose",
    .operands = {},
    .summary = "merge one picture onto another, in one of sixteen modes",
    .description =
        "Merges OVERLAY onto BASE, pixel by pixel, and writes OUT, of BASE's size and 24 bits per\n"
        "pixel. OVERLAY may reach beyond every side of BASE; what lies outside is left out.\n"
        "Through OVERLAY's transparent parts BASE is seen. A mask, of OVERLAY's size, says where\n"
        "it acts beside that: white fully, black not at all.\n"
        "\nModes:\n" +
        merge_mode_names(),
    .options = joined({{{"--base", "BASE", "the picture below", once},
                        {"--overlay", "OVERLAY", "the picture above", once},
                        output_option(),
                        {"--mode", "NAME|1..16", "what OVERLAY does to BASE (normal)"},
                        {"--at", "X,Y", "where OVERLAY's left and top go in BASE (0,0)"},
                        {"--transparency", "PERCENT", "of OVERLAY, 0 to 100 (0)"},
                        {"--mask", "PICTURE", "where OVERLAY acts"},
                        {"--mask-from", "grey|alpha", "what of that picture is the mask (grey)"}},
                       transfer_options()}),
    .run = run,
};

} // namespace apps::q32tool
