// q32tool show: what a user of a certain kind of display sees of a picture.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/displays.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/rectangles.h"
#include "apps/q32tool/storage_options.h"
#include "apps/q32tool/timings.h"

#include <q32base/display.h>

#include <algorithm>
#include <array>

namespace apps::q32tool {
namespace {

// --- options -------------------------------------------------------------------------------------

// In hundredths of an exponent.
using Gamma = std::array<int, 3>;

std::optional<Gamma> gamma_from(const Arguments &arguments) {
    if (!arguments.has("--gamma"))
        return std::nullopt;
    constexpr uint64_t least = 10, most = 1000;
    std::string_view left = arguments.value("--gamma");
    std::vector<int> values;
    while (true) {
        const size_t comma = left.find(',');
        const auto value = parse_number(left.substr(0, comma));
        if (!value || *value < least || *value > most || values.size() == 3)
            break;
        values.push_back(static_cast<int>(*value));
        if (comma != std::string_view::npos) {
            left.remove_prefix(comma + 1);
            continue;
        }
        if (values.size() == 1)
            return Gamma{values[0], values[0], values[0]};
        if (values.size() == 3)
            return Gamma{values[0], values[1], values[2]};
        break;
    }
    throw UsageError("--gamma takes R,G,B or one number for all, each from 10 to 1000, such as "
                     "180, not '" +
                     arguments.value("--gamma") + "'");
}

struct Show {
    const Display &display;
    std::optional<Gamma> gamma;
    bool dither;
    bool sixteen_greys;
    std::optional<Size> piece;
};

Show show_from(const Arguments &arguments) {
    const Display &display = display_from(arguments, "--depth-of");
    if (arguments.has("--no-dither") && display.type != DISP32_HIGH_COLOUR)
        throw UsageError("--no-dither is for --depth-of high-colour");
    if (arguments.has("--levels-16") &&
        (display.type > DISP32_PALETTE || display.type == DISP32_SIXTEEN_COLOURS))
        throw UsageError("--levels-16 is for --depth-of monochrome, 8-colours and 256-colours");
    return {.display = display,
            .gamma = gamma_from(arguments),
            .dither = !arguments.has("--no-dither"),
            .sixteen_greys = arguments.has("--levels-16"),
            .piece = arguments.has("--pieces") ? std::optional(size_from(arguments, "--pieces"))
                                               : std::nullopt};
}

// The gamma comes first: the change of the type makes palettes, which follow it.
void prepare_library(const Show &show) {
    if (show.gamma)
        disp32NewScreenGamma((*show.gamma)[0], (*show.gamma)[1], (*show.gamma)[2]);
    disp32BeHiColorDither(show.dither);
    if (!disp32SetDevType(show.display.type))
        throw Failure("display " + std::string(show.display.name), "its palettes cannot be made");
}

// --- the picture ---------------------------------------------------------------------------------

// The fewest bits that hold a picture's pixels as they are.
PixelFormat fewest_bits(Image &image) {
    std::vector<uint8_t> row(static_cast<size_t>(image.width()) * 3);
    const ImageLock lock(image, BUF32_READ);
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

Image load(const Arguments &arguments, const Show &show, uint32_t buffer_type) {
    const std::string &path = arguments.operand(0);
    Conversion conversion = conversion_from(arguments);
    Image image = load_picture(path, buffer_type).image;
    if (!arguments.has("--bits"))
        conversion.format = fewest_bits(image);
    if (show.sixteen_greys && conversion.format != PixelFormat::grey)
        throw Failure(path, "--levels-16 is for pictures of greys, and this is none",
                      "make it one with --bits 8");
    convert(image, conversion, buffer_type);
    return image;
}

// --- painting ------------------------------------------------------------------------------------

// A run over a whole surface.
class Run {
public:
    Run(const DisplaySurface &surface, const Image &image, const Area &area, bool sixteen_greys)
        : named_(image.named()) {
        if (!disp32ShowInitEx(&run_, surface.dc(), bits_of(image.format()), 0, 0, surface.width(),
                              area.height(), nullptr, sixteen_greys, 0, area.left, area.top))
            throw Failure(named_, "the library cannot show " + in_words(area.corner(), area.size()),
                          "show the picture in smaller --pieces");
    }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;
    ~Run() { disp32ShowEnd(run_); }

    void show(const uint8_t *row, int first_column) {
        if (!disp32ShowData(run_, row, first_column, 0, 1, 0))
            throw Failure(named_, "the display cannot be painted");
    }

private:
    HDISPRUN run_ = 0;
    std::string named_;
};

// The image must be locked. The matrices go by the picture's coordinates, wherever a piece lies.
void paint(const DisplaySurface &surface, Image &image, const Area &area, bool sixteen_greys) {
    const Timed timed(Part::library);
    const size_t bits =
        static_cast<size_t>(image.width()) * static_cast<size_t>(bits_of(image.format()));
    std::vector<uint8_t> row(bits / 8 + 1 +
                             static_cast<size_t>(surface.width() - area.width()) * 3);
    Run run(surface, image, area, sixteen_greys);
    for (int y = 0; y < area.height(); ++y) {
        image.line(area.top + y, BUF32_LINE_READ, row.data());
        run.show(row.data(), area.left);
    }
}

// What the surface shows, into the part of a picture of 24 bits.
void read_back(const DisplaySurface &surface, const Image &result, const Area &area) {
    std::vector<uint8_t> row(static_cast<size_t>(surface.width()) * 3);
    for (int y = 0; y < area.height(); ++y) {
        surface.read_row(y, row.data());
        put_pixels(result, area_of(area.left, area.top + y, area.width(), 1), row.data());
    }
}

Image seen(Image &image, const Show &show, uint32_t buffer_type, const std::string &named) {
    Image result(PixelFormat::rgb, image.size(), buffer_type, named);
    const Size piece = show.piece.value_or(image.size());
    Progress progress("showing", image.height());
    const ImageLock lock(image, BUF32_READ);
    for (int y = 0; y < image.height(); y += piece.height) {
        for (int x = 0; x < image.width(); x += piece.width) {
            const Area area = intersect(area_of({x, y}, piece), image.area());
            const DisplaySurface surface(show.display, {image.format(), show.sixteen_greys},
                                         area.size());
            paint(surface, image, area, show.sixteen_greys);
            read_back(surface, result, area);
        }
        progress.advance(std::min(piece.height, image.height() - y));
    }
    return result;
}

void run(const Arguments &arguments) {
    const std::string &out = arguments.file("--output");
    const Show show = show_from(arguments);
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load(arguments, show, type);
    prepare_library(show);
    image = seen(image, show, type, out);
    if (show.display.type == DISP32_MONOCHROME)
        convert(image, {.format = PixelFormat::bits, .threshold = 127, .invert = false}, type);
    save_picture_and_tell(image, out, format, arguments);
}

} // namespace

Command show_command() {
    static const std::string description =
        "Shows PICTURE on a display of another kind and writes what a user of that display sees.\n"
        "A picture of black and white only is shown from 1 bit per pixel, one of greys from 8, "
        "all\n"
        "others from 24. OUT has 24 bits per pixel, and 1 for a monochrome display.\n"
        "\nDisplays:\n" +
        display_list();
    return {
        .name = "show",
        .operands = {"PICTURE"},
        .summary = "show what a user of another display sees of a picture",
        .description = description,
        .options =
            joined({{{.name = "--depth-of",
                      .value = "DISPLAY",
                      .help = "the display, by name or number",
                      .required = true},
                     output_option(),
                     {"--gamma", "R[,G,B]", "of the display, in hundredths; 180 corrects nothing"},
                     {"--no-dither", "", "high-colour: without dithering"},
                     {"--levels-16", "", "greys: 16 of them instead of 128"},
                     {"--pieces", "WxH", "paint in pieces of this size"},
                     {"--bits", "1|8|16|24", "bits per pixel that the picture is shown from"},
                     {"--threshold", "N", "1 bit: grey above N is white, 0 to 255 (127)"}},
                    storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
