// q32tool filter: where a picture has certain colours, as a mask.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/pictures/numbers.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"

#include <q32base/merge.h>

#include <cstring>

namespace apps::q32tool {
namespace {

std::optional<Colour> parse_tolerance(std::string_view text) {
    const std::vector<uint8_t> channels = parse_numbers<uint8_t>(text, ',');
    if (channels.size() != 1 && channels.size() != 3)
        return std::nullopt;
    return Colour{channels.front(), channels[channels.size() / 2], channels.back()};
}

std::optional<I32COLORRANGE> parse_range(std::string_view text) {
    const size_t colon = text.find(':');
    const auto colour = parse_colour(text.substr(0, colon));
    const auto tolerance = colon == std::string_view::npos
                               ? std::optional(Colour{0, 0, 0})
                               : parse_tolerance(text.substr(colon + 1));
    if (!colour || !tolerance)
        return std::nullopt;
    return I32COLORRANGE{{colour->red, colour->green, colour->blue, 0},
                         {tolerance->red, tolerance->green, tolerance->blue, 0}};
}

// The filter's count and its ranges, in one block.
class ColourRanges {
public:
    explicit ColourRanges(const std::vector<I32COLORRANGE> &ranges)
        : block_(1 + ranges.size() * sizeof(I32COLORRANGE) / sizeof(uint32_t)) {
        block_[0] = static_cast<uint32_t>(ranges.size());
        std::memcpy(&block_[1], ranges.data(), ranges.size() * sizeof(I32COLORRANGE));
    }
    const I32COLORFILTER *filter() const {
        return reinterpret_cast<const I32COLORFILTER *>(block_.data());
    }

private:
    std::vector<uint32_t> block_;
};

// The mask to begin with, which the filter adds to: an 8-bit picture of the same size.
std::optional<Image> start_from(const Arguments &arguments, const Image &image) {
    if (!arguments.has("--mask"))
        return std::nullopt;
    const std::string &path = arguments.file("--mask");
    Picture picture = load_picture(path, image.type(), turning_from(arguments));
    if (picture.opacity)
        lay_over_white(picture, path, "masks have");
    Image mask = std::move(picture.image);
    if (mask.size() != image.size())
        throw Failure(path,
                      "the mask is " + size_in_words(mask.size()) + ", the picture " +
                          size_in_words(image.size()),
                      "they must be of one size");
    convert(mask, {PixelFormat::grey});
    return mask;
}

void filter_rows(Image &image, std::optional<Image> &start, Image &mask, const ColourRanges &ranges,
                 bool inside) {
    const int width = image.width();
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * 3);
    std::vector<uint8_t> selected(static_cast<size_t>(width));
    const BufferLock start_lock = start ? start->lock(BUF32_READ) : BufferLock();
    const BufferLock image_lock = image.lock(BUF32_READ), mask_lock = mask.lock(BUF32_OVERWRITE);
    row_by_row("filtering", image.height(), [&](int y) {
        image.line(y, BUF32_LINE_READ, pixels.data());
        if (start)
            start->line(y, BUF32_LINE_READ, selected.data());
        ++timings().rows_converted;
        if (!i32ColorFilter(selected.data(), start ? selected.data() : nullptr, pixels.data(),
                            I32_FILTER_RGB, static_cast<unsigned>(width), ranges.filter(), inside))
            throw library_failure(image.named(), "the picture cannot be filtered");
        mask.line(y, BUF32_LINE_WRITE, selected.data());
    });
}

void run(const Arguments &arguments) {
    const ColourRanges ranges(arguments.all_parsed(
        "--range", parse_range, "R,G,B:T or R,G,B:TR,TG,TB, each from 0 to 255, or #rrggbb:T"));
    const std::string &out = arguments.last_operand();
    change_picture(arguments, [&](Picture &picture) {
        if (picture.opacity)
            lay_over_white(picture, out, "masks have");
        drop_profile(picture.facts, out);
        Image &image = picture.image;
        std::optional<Image> start = start_from(arguments, image);
        Image mask(PixelFormat::grey, image.size(), image.type(), out);
        filter_rows(image, start, mask, ranges, !arguments.has("--outside"));
        image = std::move(mask);
    });
}

} // namespace

const Command filter_command = {
    .name = "filter",
    .operands = {"IN", "OUT"},
    .summary = "make a mask of where a picture has certain colours",
    .description =
        "Writes a picture OUT of 8 bits, white where the colour of IN lies in one of the ranges\n"
        "and black elsewhere. A range is a colour and, after a colon, how far each channel may\n"
        "be from it: one number, or three, 0 to 255 each. --range may be given several times.\n"
        "OUT can serve as --mask of compose.",
    .options =
        joined({{{"--range", "R,G,B:T", "colours to select, such as 200,40,30:25", at_least_once},
                 {"--outside", "", "select what lies in none of the ranges"},
                 {"--mask", "PICTURE", "begin with its grey; only take away from it"}},
                transfer_options()}),
    .run = run,
};

} // namespace apps::q32tool
