// q32tool compose: one picture merged onto another.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/merging.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

Image load_alpha(const std::string &path, uint32_t buffer_type) {
    std::optional<Image> alpha = load_picture_with_alpha(path, buffer_type).alpha;
    if (!alpha)
        throw Failure(path, "the picture has no transparency that could be a mask",
                      "leave --mask-from out to use its grey");
    return std::move(*alpha);
}

Image load_grey(const std::string &path, uint32_t buffer_type) {
    Image image = load_picture(path, buffer_type).image;
    convert(image, {PixelFormat::grey});
    return image;
}

// The overlay's transparency is the mask unless another mask is named. Then the overlay is laid
// over white, as all other pictures with transparency are.
PictureWithAlpha load_overlay(const Arguments &arguments, uint32_t buffer_type) {
    const std::string &path = arguments.file("--overlay");
    if (arguments.has("--mask"))
        return {load_picture(path, buffer_type).image, std::nullopt};
    return load_picture_with_alpha(path, buffer_type);
}

// The mask that the options name; else the overlay's own transparency, if it has any.
std::optional<Image> mask_from(const Arguments &arguments, PictureWithAlpha &overlay,
                               uint32_t buffer_type) {
    const std::string_view source =
        arguments.choice("--mask-from", {"grey", "gray", "alpha"}, "grey");
    if (!arguments.has("--mask"))
        return std::move(overlay.alpha);
    const std::string &path = arguments.file("--mask");
    Image mask = source == "alpha" ? load_alpha(path, buffer_type) : load_grey(path, buffer_type);
    if (mask.size() != overlay.image.size())
        throw Failure(path,
                      "the mask is " + size_in_words(mask.size()) + ", the overlay " +
                          size_in_words(overlay.image.size()),
                      "they must be of one size");
    return mask;
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
    Image base = transfer.load(arguments.file("--base"));
    PictureWithAlpha overlay = load_overlay(arguments, base.type());
    const std::optional<Image> mask = mask_from(arguments, overlay, base.type());
    merge_image(base, overlay.image, mask ? &*mask : nullptr, at, merge);
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
        "A mask, of OVERLAY's size, says where it acts: white fully, black not at all. Without\n"
        "--mask the transparency of OVERLAY's own pixels is the mask, if it has any.\n"
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
                       storage_options()}),
    .run = run,
};

} // namespace apps::q32tool
