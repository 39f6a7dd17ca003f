// q32tool fill: a picture, or a rectangle of it, in one colour.
#include "commands.h"

#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    const std::string &out = arguments.operand(1);
    const Colour colour = colour_from(arguments, "--colour");
    const std::optional<Area> area = area_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(arguments.operand(0), type).image;
    lay_colour(canvas_of(image), colour, area);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command fill_command() {
    return {
        .name = "fill",
        .operands = {"IN", "OUT"},
        .summary = "fill a picture or a rectangle of it with one colour",
        .description =
            "Writes IN as OUT, of 24 bits per pixel, with the rectangle that --at and --size name\n"
            "in one colour. The rectangle may reach beyond the picture; what lies outside is left\n"
            "out. Without --at and --size the whole picture gets the colour.",
        .options = joined({{{.name = "--colour",
                             .value = "R,G,B",
                             .help = "each from 0 to 255; or #rrggbb",
                             .also = "--color",
                             .required = true}},
                           area_options(),
                           storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
