// q32tool bitmap: a BMP file through the library's bitmap buffers, where its pixels are changed in
// place and everything else of the file stays as it is.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/bitmap_file.h"
#include "apps/q32tool/buffer_facts.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"
#include "apps/q32tool/timings.h"
#include "apps/q32tool/whole_files.h"

namespace apps::q32tool {
namespace {

// What is to be done to the pixels. At most one of overlay, pattern and colour is there.
struct Edit {
    std::optional<std::string> overlay; // a picture file
    std::optional<std::string> pattern; // a picture file
    std::optional<Colour> colour;
    Point at;                 // of the overlay
    std::optional<Area> area; // of pattern and colour

    bool is_none() const { return !overlay && !pattern && !colour; }
};

Edit edit_from(const Arguments &arguments) {
    Edit edit = {};
    if (arguments.has("--paste") + arguments.has("--pattern") + arguments.has("--fill") > 1)
        throw UsageError("one of --paste, --pattern and --fill at a time; see q32tool help bitmap");
    if (arguments.has("--paste")) {
        edit.overlay = arguments.file("--paste");
        if (!arguments.has("--at"))
            throw UsageError("--paste needs --at X,Y, too");
        if (arguments.has("--size"))
            throw UsageError("--size is for --pattern and --fill");
        edit.at = point_from(arguments, "--at");
        return edit;
    }
    if (arguments.has("--pattern"))
        edit.pattern = arguments.file("--pattern");
    if (arguments.has("--fill"))
        edit.colour = colour_from(arguments, "--fill");
    edit.area = area_from(arguments);
    if (edit.is_none() && edit.area)
        throw UsageError("--at and --size are for --paste, --pattern and --fill");
    return edit;
}

FileFormat check_bitmap_output(const std::string &path) {
    const FileFormat format = check_output(path);
    if (format != FileFormat::bmp)
        throw Failure(path, std::string("a bitmap is not written as ") + format_name(format),
                      "use .bmp");
    return format;
}

void change(const BitmapFile &bitmap, const Edit &edit, const std::string &named,
            uint32_t buffer_type, Turning turning) {
    const BUF32INFO &info = bitmap.info();
    if (edit.is_none())
        return;
    if (info.bits_per_pixel != bits_of(PixelFormat::rgb))
        throw Failure(named,
                      "only bitmaps of 24 bits per pixel are changed, and this one has " +
                          std::to_string(info.bits_per_pixel),
                      "q32tool convert makes one");
    const Canvas canvas = {bitmap.buffer(), {info.width, info.height}, named};
    if (edit.overlay)
        lay_picture(canvas, load_picture(*edit.overlay, buffer_type, turning), edit.at);
    if (edit.pattern)
        lay_pattern(canvas, load_picture(*edit.pattern, buffer_type, turning), edit.area);
    // Never buf32FillOneColor: of a colour it gives a bitmap the first byte only.
    if (edit.colour)
        lay_colour(canvas, *edit.colour, edit.area.value_or(canvas.area()));
}

void run(const Arguments &arguments) {
    const std::string &in = arguments.operand(0), &out = arguments.operand(1);
    const Edit edit = edit_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_bitmap_output(out);
    BitmapFile bitmap(in);
    const BUF32INFO info = bitmap.info();
    const std::string facts = fact("file", in) + fact("bitmap", bitmap.layout()) +
                              fact("size", size_in_words({info.width, info.height})) +
                              buffer_facts(info);
    change(bitmap, edit, in, type, turning_from(arguments));
    const std::vector<uint8_t> file = bitmap.close();
    {
        const Timed timed(Part::writing);
        write_file(out, file);
    }
    if (!arguments.has("--quiet"))
        print(facts + written_line(out, {info.width, info.height}, info.bits_per_pixel, format));
}

} // namespace

const Command bitmap_command = {
    .name = "bitmap",
    .operands = {"IN.bmp", "OUT.bmp"},
    .summary = "take a BMP file through a bitmap buffer, and change it in place",
    .description =
        "Reads the BMP file IN.bmp as it is into a bitmap buffer, tells what the buffer looks\n"
        "like and writes OUT.bmp. Without further options the two are the same byte for byte.\n"
        "--paste, --pattern and --fill change pixels of a bitmap of 24 bits per pixel as the\n"
        "commands of the same names do; all other bytes of the file stay as they are.\n"
        "The library takes uncompressed bitmaps of 1 to 64 bits, bottom row first.",
    .options = joined({{{"--paste", "OVERLAY", "lay a picture over the bitmap at --at X,Y"},
                        {"--pattern", "PATTERN", "fill with a repeated picture"},
                        {"--fill", "R,G,B", "fill with a colour (or #rrggbb)"}},
                       area_options(),
                       reading_options()}),
    .run = run,
};

} // namespace apps::q32tool
