// q32tool pattern: a picture, or a rectangle of it, filled with a small picture again and again.
#include "commands.h"

#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    const std::string &out = arguments.operand(2);
    const std::optional<Area> area = area_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(arguments.operand(0), type).image;
    const Image pattern = load_picture(arguments.operand(1), type).image;
    lay_pattern(canvas_of(image), pattern, area);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command pattern_command() {
    return {
        .name = "pattern",
        .operands = {"IN", "PATTERN", "OUT"},
        .summary = "fill a picture or a rectangle of it with a repeated picture",
        .description =
            "Writes IN as OUT, of 24 bits per pixel, with the rectangle that --at and --size name\n"
            "filled with the picture PATTERN, again and again. PATTERN's repetitions begin at the\n"
            "left and top of IN, wherever the rectangle lies, so that neighbouring rectangles fit\n"
            "together. The rectangle may reach beyond the picture; what lies outside is left out.\n"
            "Without --at and --size the whole picture is filled.",
        .options = joined({area_options(), storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
