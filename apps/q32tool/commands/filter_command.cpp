// q32tool filter: where a picture has certain colours, as a mask.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/q32tool/colour_ranges.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/storage_options.h"
#include "apps/q32tool/timings.h"

namespace apps::q32tool {
namespace {

// The mask to begin with, which the filter adds to: an 8-bit picture of the same size.
std::optional<Image> start_from(const Arguments &arguments, const Image &image,
                                uint32_t buffer_type) {
    if (!arguments.has("--mask"))
        return std::nullopt;
    const std::string &path = arguments.file("--mask");
    Image mask = load_picture(path, buffer_type).image;
    if (mask.size() != image.size())
        throw Failure(path,
                      "the mask is " + size_in_words(mask.size()) + ", the picture " +
                          size_in_words(image.size()),
                      "they must be of one size");
    convert(mask, {.format = PixelFormat::grey, .threshold = 0, .invert = false}, buffer_type);
    return mask;
}

void filter_rows(Image &image, Image *start, Image &mask, const ColourRanges &ranges, bool inside) {
    const int width = image.width();
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * 3);
    std::vector<uint8_t> selected(static_cast<size_t>(width));
    std::optional<ImageLock> start_lock;
    if (start != nullptr)
        start_lock.emplace(*start, BUF32_READ);
    const ImageLock image_lock(image, BUF32_READ), mask_lock(mask, BUF32_OVERWRITE);
    Progress progress("filtering", image.height());
    for (int y = 0; y < image.height(); ++y) {
        const Timed timed(Part::library);
        image.line(y, BUF32_LINE_READ, pixels.data());
        if (start != nullptr)
            start->line(y, BUF32_LINE_READ, selected.data());
        ++timings().rows_converted;
        if (!i32ColorFilter(selected.data(), start != nullptr ? selected.data() : nullptr,
                            pixels.data(), I32_FILTER_RGB, static_cast<unsigned>(width),
                            ranges.filter(), inside))
            throw library_failure(image.named(), "the picture cannot be filtered");
        mask.line(y, BUF32_LINE_WRITE, selected.data());
        progress.advance(1);
    }
}

void run(const Arguments &arguments) {
    const std::string &out = arguments.operand(1);
    const ColourRanges ranges = colour_ranges_from(arguments, "--range");
    const uint32_t type = apply_storage_options(arguments);
    const FileFormat format = check_output(out);
    Image image = load_picture(arguments.operand(0), type).image;
    std::optional<Image> start = start_from(arguments, image, type);
    Image mask(PixelFormat::grey, image.size(), type, out);
    filter_rows(image, start ? &*start : nullptr, mask, ranges, !arguments.has("--outside"));
    save_picture_and_tell(mask, out, format, arguments);
}

} // namespace

Command filter_command() {
    return {
        .name = "filter",
        .operands = {"IN", "OUT"},
        .summary = "make a mask of where a picture has certain colours",
        .description =
            "Writes a picture OUT of 8 bits, white where the colour of IN lies in one of the "
            "ranges\n"
            "and black elsewhere. A range is a colour and, after a colon, how far each channel "
            "may\n"
            "be from it: one number, or three, 0 to 255 each. --range may be given several times.\n"
            "OUT can serve as --mask of compose.",
        .options = joined({{{.name = "--range",
                             .value = "R,G,B:T",
                             .help = "colours to select, such as 200,40,30:25",
                             .required = true,
                             .repeats = true},
                            {"--outside", "", "select what lies in none of the ranges"},
                            {"--mask", "PICTURE", "begin with its grey; only take away from it"}},
                           storage_options()}),
        .run = run,
    };
}

} // namespace apps::q32tool
