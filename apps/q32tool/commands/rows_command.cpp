// q32tool rows: pixels as numbers, for people and scripts.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/interrupt.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"
#include "apps/q32tool/timings.h"

#include <q32base/rows.h>

#include <cstring>

namespace apps::q32tool {
namespace {

// More than this is rather a mistake than a wish.
constexpr uint64_t pixels_without_asking = 100'000;

// Lines are gathered: the standard output may be slow to take small pieces.
constexpr size_t chunk_bytes = 1 << 16;

void append_colours(std::string &line, const uint8_t *row, int width) {
    for (int x = 0; x < width; ++x, row += 3)
        line += " " + std::to_string(row[0]) + "," + std::to_string(row[1]) + "," +
                std::to_string(row[2]);
}

void append_words(std::string &line, const uint8_t *row, int width) {
    constexpr char digits[] = "0123456789abcdef";
    for (int x = 0; x < width; ++x, row += 2) {
        uint16_t word;
        std::memcpy(&word, row, sizeof word);
        line += ' ';
        for (const int shift : {12, 8, 4, 0})
            line += digits[word >> shift & 15];
    }
}

void append_bytes(std::string &line, const uint8_t *row, int width) {
    for (int x = 0; x < width; ++x)
        line += " " + std::to_string(row[x]);
}

// Without spaces: the digits are a picture of their own.
void append_bits(std::string &line, const uint8_t *row, int width) {
    std::vector<uint8_t> pixels(static_cast<size_t>(width));
    ++timings().rows_converted;
    mem32BitToByteExt(pixels.data(), row, width);
    line += ' ';
    for (const uint8_t pixel : pixels)
        line += pixel != 0 ? '1' : '0';
}

using AppendRow = void (*)(std::string &line, const uint8_t *row, int width);

// In the order of PixelFormat.
constexpr AppendRow appenders[] = {append_bits, append_bytes, append_words, append_words,
                                   append_colours};

// Lines are numbered from first_row.
void print_rows(const Image &image, int first_row) {
    const AppendRow append_row = appenders[static_cast<size_t>(image.format())];
    std::vector<uint8_t> row(static_cast<size_t>(image.width()) * 3);
    std::string text;
    for (int y = 0; y < image.height(); ++y) {
        get_pixels(image, area_of(0, y, image.width(), 1), row.data());
        text += std::to_string(first_row + y) + ":";
        append_row(text, row.data(), image.width());
        text += '\n';
        if (text.size() >= chunk_bytes) {
            print(text);
            text.clear();
        }
        stop_if_cancelled();
    }
    print(text);
}

void check_rectangle(const Image &image, const Area &area, bool any_number) {
    check_inside(canvas_of(image), area, "keep inside");
    const uint64_t pixels =
        static_cast<uint64_t>(area.width()) * static_cast<uint64_t>(area.height());
    if (pixels > pixels_without_asking && !any_number)
        throw Failure(image.named(),
                      "these are " + counted(pixels, "pixel") + ", more than " +
                          std::to_string(pixels_without_asking),
                      "name a smaller rectangle with --at and --size, or say --all");
}

void run(const Arguments &arguments) {
    const std::optional<Area> wanted = area_from(arguments);
    const Conversion conversion = conversion_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const std::string &in = arguments.operand(0);
    Picture picture = load_picture(in, type, turning_from(arguments));
    Image &image = picture.image;
    const Area area = wanted.value_or(image.area());
    check_rectangle(image, area, arguments.has("--all"));
    image = image.cut(area);
    if (picture.opacity) {
        picture.opacity = picture.opacity->cut(area);
        if (!is_opaque(*picture.opacity))
            lay_over_white(picture, in, "rows of numbers have");
    }
    convert(image, conversion);
    print_rows(image, area.top);
}

} // namespace

const Command rows_command = {
    .name = "rows",
    .operands = {"PICTURE"},
    .summary = "print pixels as numbers",
    .description =
        "Prints the pixels of PICTURE, or of the rectangle that --at and --size name: a line\n"
        "for each row, which begins with the row's number in the picture and a colon.\n"
        "24 bits: 'red,green,blue' for each pixel; 16 bits: words of four hexadecimal digits;\n"
        "8 bits: grey from 0 to 255; 1 bit: digits 0 (black) and 1 without spaces.\n"
        "More than 100000 pixels are printed with --all only.",
    .options = joined({area_options(),
                       pixel_options(),
                       {{"--all", "", "print any number of pixels"}},
                       reading_options()}),
    .run = run,
};

} // namespace apps::q32tool
