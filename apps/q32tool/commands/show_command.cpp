// q32tool show: what a user of a certain kind of display sees of a picture.
#include "commands.h"

#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/rectangles.h"

#include <q32base/display.h>

#include <algorithm>
#include <array>

namespace apps::q32tool {
namespace {

// --- options -------------------------------------------------------------------------------------

// In hundredths of an exponent.
using Gamma = std::array<int, 3>;

std::optional<Gamma> parse_gamma(std::string_view text) {
    const std::vector<int> values = parse_numbers<int>(text, ',');
    const auto is_gamma = [](int value) { return value >= 10 && value <= 1000; };
    if ((values.size() != 1 && values.size() != 3) ||
        !std::all_of(values.begin(), values.end(), is_gamma))
        return std::nullopt;
    return Gamma{values.front(), values[values.size() / 2], values.back()};
}

Gamma gamma_from(const Arguments &arguments, std::string_view option) {
    return arguments.parsed(option, parse_gamma,
                            "R,G,B or one number for all, each from 10 to 1000, such as 180");
}

// "8-colors" of "8-colours".
std::string in_american(std::string_view name) {
    std::string word(name);
    if (const size_t colour = word.find("colour"); colour != std::string::npos)
        word.erase(colour + std::string_view("colo").size(), 1);
    return word;
}

// A DISP32_ value, by name or number.
std::optional<int> parse_display(std::string_view text) {
    for (size_t type = 0; type < display_types.size(); ++type)
        if (text == display_types[type].name || text == in_american(display_types[type].name) ||
            text == std::to_string(type))
            return static_cast<int>(type);
    return std::nullopt;
}

int display_from(const Arguments &arguments, std::string_view option) {
    std::string names;
    for (const DisplayType &display : display_types)
        names += std::string(display.name) + ", ";
    return arguments.parsed(option, parse_display, names + "or a number from 0 to 5");
}

std::string display_list() {
    std::vector<std::string> entries;
    for (size_t type = 0; type < display_types.size(); ++type)
        entries.push_back(std::to_string(type) + " " + std::string(display_types[type].name));
    return in_columns(entries, 3);
}

struct Show {
    int display; // DISP32_
    std::optional<Gamma> gamma;
    bool dither;
    bool sixteen_greys;
    std::optional<Size> piece;
};

Show show_from(const Arguments &arguments) {
    const int display = display_from(arguments, "--depth-of");
    if (arguments.has("--no-dither") && display != DISP32_HIGH_COLOUR)
        throw UsageError("--no-dither is for --depth-of high-colour");
    if (arguments.has("--levels-16") &&
        (display > DISP32_PALETTE || display == DISP32_SIXTEEN_COLOURS))
        throw UsageError("--levels-16 is for --depth-of monochrome, 8-colours and 256-colours");
    return {.display = display,
            .gamma = arguments.if_given("--gamma", gamma_from),
            .dither = !arguments.has("--no-dither"),
            .sixteen_greys = arguments.has("--levels-16"),
            .piece = arguments.if_given("--pieces", size_from)};
}

// The gamma comes first: the change of the type makes palettes, which follow it.
void prepare_library(const Show &show) {
    if (show.gamma)
        disp32NewScreenGamma((*show.gamma)[0], (*show.gamma)[1], (*show.gamma)[2]);
    disp32BeHiColorDither(show.dither);
    if (!disp32SetDevType(show.display))
        throw Failure("display " +
                          std::string(display_types[static_cast<size_t>(show.display)].name),
                      "its palettes cannot be made");
}

// --- the picture ---------------------------------------------------------------------------------

// The fewest bits that hold a picture's pixels as they are.
PixelFormat fewest_bits(Image &image) {
    std::vector<uint8_t> row(static_cast<size_t>(image.width()) * 3);
    const BufferLock lock = image.lock(BUF32_READ);
    PixelFormat fewest = PixelFormat::bits;
    for (int y = 0; y < image.height(); ++y) {
        const Timed timed(Part::library);
        image.line(y, BUF32_LINE_READ, row.data());
        for (size_t i = 0; i < row.size(); i += 3) {
            const uint8_t red = row[i];
            if (row[i + 1] != red || row[i + 2] != red)
                return PixelFormat::rgb;
            if (red != 0 && red != 255)
                fewest = PixelFormat::grey;
        }
    }
    return fewest;
}

Picture load(const Arguments &arguments, const Show &show, const PictureTransfer &transfer) {
    const std::string &path = arguments.operand(0);
    Conversion conversion = conversion_from(arguments);
    Picture picture = transfer.load(path);
    if (picture.opacity)
        lay_over_white(picture, transfer.out(), "displays have");
    Image &image = picture.image;
    if (!arguments.has("--bits"))
        conversion.format = fewest_bits(image);
    if (show.sixteen_greys && conversion.format != PixelFormat::grey)
        throw Failure(path, "--levels-16 is for pictures of greys, and this is none",
                      "make it one with --bits 8");
    convert(image, conversion);
    return picture;
}

// --- painting ------------------------------------------------------------------------------------

using Run = Owned<disp32ShowEnd, HDISPRUN>;

// A run over a whole display. The matrices go by the picture's coordinates, wherever a piece lies.
Run run_over(const DisplayBitmap &display, const Image &image, const Area &area,
             bool sixteen_greys) {
    HDISPRUN run = 0;
    if (!disp32ShowInitEx(&run, display.dc(), bits_of(image.format()), 0, 0, display.width(),
                          area.height(), nullptr, sixteen_greys, 0, area.left, area.top))
        throw Failure(image.named(),
                      "the library cannot show " + in_words(area.corner(), area.size()),
                      "show the picture in smaller --pieces");
    return Run(run);
}

// The image must be locked.
void paint(DisplayBitmap &display, Image &image, const Area &area, bool sixteen_greys) {
    const Timed timed(Part::library);
    const size_t bits =
        static_cast<size_t>(image.width()) * static_cast<size_t>(bits_of(image.format()));
    std::vector<uint8_t> row(bits / 8 + 1 +
                             static_cast<size_t>(display.width() - area.width()) * 3);
    const Run run = run_over(display, image, area, sixteen_greys);
    for (int y = 0; y < area.height(); ++y) {
        image.line(area.top + y, BUF32_LINE_READ, row.data());
        if (!disp32ShowData(run.get(), row.data(), area.left, 0, 1, 0))
            throw Failure(image.named(), "the display cannot be painted");
    }
}

// What the display shows, into the part of a picture of 24 bits.
void read_back(DisplayBitmap &display, const Image &result, const Area &area) {
    std::vector<uint8_t> row(static_cast<size_t>(display.width()) * 3);
    display.finish();
    for (int y = 0; y < area.height(); ++y) {
        display.read_row(y, row.data());
        put_pixels(result, area_of(area.left, area.top + y, area.width(), 1), row.data());
    }
}

Image seen(Image &image, const Show &show, const std::string &named) {
    Image result(PixelFormat::rgb, image.size(), image.type(), named);
    const Size piece = show.piece.value_or(image.size());
    const BufferLock lock = image.lock(BUF32_READ);
    band_by_band("showing", image.height(), piece.height, [&](int y, int) {
        for (int x = 0; x < image.width(); x += piece.width) {
            const Area area = intersect(area_of({x, y}, piece), image.area());
            DisplayBitmap display(show.display, {bits_of(image.format()), show.sixteen_greys},
                                  area.size());
            if (!display.is_made())
                throw Failure("a display of " + size_in_words(area.size()),
                              "there is not enough memory for its bitmap",
                              "show the picture in --pieces");
            paint(display, image, area, show.sixteen_greys);
            read_back(display, result, area);
        }
    });
    return result;
}

void run(const Arguments &arguments) {
    const std::string &out = arguments.file("--output");
    const Show show = show_from(arguments);
    const PictureTransfer transfer(arguments, out);
    Picture picture = load(arguments, show, transfer);
    prepare_library(show);
    picture.image = seen(picture.image, show, out);
    if (show.display == DISP32_MONOCHROME)
        convert(picture.image, {PixelFormat::bits});
    transfer.save(picture);
}

} // namespace

const Command show_command = {
    .name = "show",
    .operands = {"PICTURE"},
    .summary = "show what a user of another display sees of a picture",
    .description =
        "Shows PICTURE on a display of another kind and writes what a user of that display sees.\n"
        "A picture of black and white only is shown from 1 bit per pixel, one of greys from 8, "
        "all\n"
        "others from 24. OUT has 24 bits per pixel, and 1 for a monochrome display.\n"
        "\nDisplays:\n" +
        display_list(),
    .options =
        joined({{{"--depth-of", "DISPLAY", "the display, by name or number", once},
                 output_option(),
                 {"--gamma", "R[,G,B]", "of the display, in hundredths; 180 corrects nothing"},
                 {"--no-dither", "", "high-colour: without dithering"},
                 {"--levels-16", "", "greys: 16 of them instead of 128"},
                 {"--pieces", "WxH", "paint in pieces of this size"},
                 {"--bits", "1|8|16|24", "bits per pixel that the picture is shown from"},
                 {"--threshold", "N", "1 bit: grey above N is white, 0 to 255 (127)"}},
                transfer_options()}),
    .run = run,
};

} // namespace apps::q32tool
