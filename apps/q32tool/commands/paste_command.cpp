// q32tool paste: one picture over another.
#include "commands.h"

#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"

namespace apps::q32tool {
namespace {

void run(const Arguments &arguments) {
    const std::string &out = arguments.operand(2);
    const Point at = point_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(arguments.operand(0), type).image;
    const Image overlay = load_picture(arguments.operand(1), type).image;
    lay_image(canvas_of(image), overlay, at);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command paste_command() {
    return {
        .name = "paste",
        .operands = {"IN", "OVERLAY", "OUT"},
        .summary = "lay one picture over another",
        .description =
            "Lays the picture OVERLAY over the picture IN and writes OUT, of IN's size and 24\n"
            "bits per pixel. OVERLAY may reach beyond every side of IN; what lies outside is left\n"
            "out. Its transparent parts are white.",
        .options = joined({{{.name = "--at",
                             .value = "X,Y",
                             .help = "where OVERLAY's left and top go in IN",
                             .required = true}},
                           storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
