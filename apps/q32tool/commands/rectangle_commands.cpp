// q32tool crop, paste, fill and pattern: a rectangle of a picture as a new picture; another
// picture, a colour or a pattern over a rectangle of it.
#include "commands.h"

#include "apps/q32tool/opacity.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/rectangles.h"

#include <algorithm>

namespace apps::q32tool {
namespace {

// Bands of about a megabyte go through memory.
constexpr int band_bytes = 1 << 20;

// background: a pixel of the image's format.
Image cut_with_background(const Image &image, const Area &area, const void *background,
                          const std::string &named) {
    part_on(canvas_of(image), area.corner(), area.size(), "the rectangle");
    Image part(image.format(), area.size(), image.type(), named);
    const int row_bytes = area.width() * bits_of(image.format()) / 8;
    const int band_rows = std::clamp(band_bytes / row_bytes, 1, area.height());
    std::vector<uint8_t> band(static_cast<size_t>(row_bytes) * static_cast<size_t>(band_rows));
    band_by_band("cropping", area.height(), band_rows, [&](int first, int count) {
        get_pixels(image, area_of(area.left, area.top + first, area.width(), count), band.data(),
                   background);
        put_pixels(part, area_of(0, first, area.width(), count), band.data());
    });
    return part;
}

void crop(const Arguments &arguments) {
    const Area area = area_from(arguments).value();
    const auto background = arguments.if_given("--background", colour_from);
    change_picture(arguments, [&](Picture &picture) {
        Image &image = picture.image;
        const bool leaves = background && !contains(image.area(), area);
        if (!leaves)
            check_inside(canvas_of(image), area, "keep inside or name a --background for the rest");
        const auto cut = [&](const Image &whole, const void *outside) {
            return leaves ? cut_with_background(whole, area, outside, arguments.last_operand())
                          : whole.cut(area);
        };
        image = cut(image, leaves ? &*background : nullptr);
        if (picture.opacity)
            picture.opacity = cut(*picture.opacity, &opaque);
    });
}

// The picture that goes over the first.
Picture load_second(const Arguments &arguments, const Picture &first) {
    return load_picture(arguments.operand(1), first.image.type(), turning_from(arguments));
}

void paste(const Arguments &arguments) {
    const Point at = point_from(arguments, "--at");
    change_picture(arguments, [&](Picture &picture) {
        lay_picture(picture, load_second(arguments, picture), at);
    });
}

void fill(const Arguments &arguments) {
    const Colour colour = colour_from(arguments, "--colour");
    const std::optional<Area> area = area_from(arguments);
    change_picture(arguments, [&](Picture &picture) {
        lay_colour(canvas_of(picture.image), colour, area);
        make_opaque(picture, area);
    });
}

void fill_with_pattern(const Arguments &arguments) {
    const std::optional<Area> area = area_from(arguments);
    change_picture(arguments, [&](Picture &picture) {
        lay_pattern(picture, load_second(arguments, picture), area);
    });
}

} // namespace

const Command crop_command = {
    .name = "crop",
    .operands = {"IN", "OUT"},
    .summary = "cut a rectangle out of a picture",
    .description =
        "Writes the rectangle of IN that --at and --size name as the picture OUT, of 24 bits\n"
        "per pixel, or 32 where it is transparent. With --background the rectangle may reach\n"
        "beyond the picture, and what lies outside gets that colour; without it such a\n"
        "rectangle is refused.",
    .options = joined({area_options(once),
                       {{"--background", "R,G,B", "colour of what lies outside (or #rrggbb)"}},
                       transfer_options()}),
    .run = crop,
};

const Command paste_command = {
    .name = "paste",
    .operands = {"IN", "OVERLAY", "OUT"},
    .summary = "lay one picture over another",
    .description =
        "Lays the picture OVERLAY over the picture IN and writes OUT, of IN's size and 24\n"
        "bits per pixel. OVERLAY may reach beyond every side of IN; what lies outside is left\n"
        "out. IN is seen through OVERLAY's transparent parts.",
    .options = joined(
        {{{"--at", "X,Y", "where OVERLAY's left and top go in IN", once}}, transfer_options()}),
    .run = paste,
};

const Command fill_command = {
    .name = "fill",
    .operands = {"IN", "OUT"},
    .summary = "fill a picture or a rectangle of it with one colour",
    .description =
        "Writes IN as OUT, of 24 bits per pixel, with the rectangle that --at and --size name\n"
        "in one colour. The rectangle may reach beyond the picture; what lies outside is left\n"
        "out. Without --at and --size the whole picture gets the colour.",
    .options = joined({{{"--colour", "R,G,B", "each from 0 to 255; or #rrggbb", once, "--color"}},
                       area_options(),
                       transfer_options()}),
    .run = fill,
};

const Command pattern_command = {
    .name = "pattern",
    .operands = {"IN", "PATTERN", "OUT"},
    .summary = "fill a picture or a rectangle of it with a repeated picture",
    .description =
        "Writes IN as OUT, of 24 bits per pixel, with the rectangle that --at and --size name\n"
        "filled with the picture PATTERN, again and again. PATTERN's repetitions begin at the\n"
        "left and top of IN, wherever the rectangle lies, so that neighbouring rectangles fit\n"
        "together. The rectangle may reach beyond the picture; what lies outside is left out.\n"
        "Without --at and --size the whole picture is filled.",
    .options = joined({area_options(), transfer_options()}),
    .run = fill_with_pattern,
};

} // namespace apps::q32tool
