// q32tool crop: a rectangle of a picture as a new picture.
#include "commands.h"

#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"

#include <algorithm>

namespace apps::q32tool {
namespace {

// Bands of about a megabyte go through memory.
constexpr int band_bytes = 1 << 20;

Image cut_with_background(const Image &image, const Area &area, const Colour &background,
                          uint32_t buffer_type, const std::string &out) {
    Image part(PixelFormat::rgb, area.size(), buffer_type, out);
    const int row_bytes = area.width() * 3;
    const int band_rows = std::clamp(band_bytes / row_bytes, 1, area.height());
    std::vector<uint8_t> band(static_cast<size_t>(row_bytes) * static_cast<size_t>(band_rows));
    Progress progress("cropping", area.height());
    for (int first = 0; first < area.height(); first += band_rows) {
        const int count = std::min(band_rows, area.height() - first);
        get_pixels(image, area_of(area.left, area.top + first, area.width(), count), band.data(),
                   background);
        put_pixels(part, area_of(0, first, area.width(), count), band.data());
        progress.advance(count);
    }
    return part;
}

void run(const Arguments &arguments) {
    const std::string &out = arguments.operand(1);
    const Area area = area_from(arguments).value();
    std::optional<Colour> background;
    if (arguments.has("--background"))
        background = colour_from(arguments, "--background");
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(arguments.operand(0), type).image;
    if (background && !contains(image.area(), area)) {
        part_on(canvas_of(image), area.corner(), area.size(), "the rectangle");
        image = cut_with_background(image, area, *background, type, out);
    } else {
        check_inside(canvas_of(image), area, "keep inside or name a --background for the rest");
        image = image.cut(area);
    }
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command crop_command() {
    return {
        .name = "crop",
        .operands = {"IN", "OUT"},
        .summary = "cut a rectangle out of a picture",
        .description =
            "Writes the rectangle of IN that --at and --size name as the picture OUT, of 24 bits\n"
            "per pixel. With --background the rectangle may reach beyond the picture, and what\n"
            "lies outside gets that colour; without it such a rectangle is refused.",
        .options = joined({area_options(true),
                           {{"--background", "R,G,B", "colour of what lies outside (or #rrggbb)"}},
                           storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
