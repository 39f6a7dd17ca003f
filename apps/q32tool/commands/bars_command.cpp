// q32tool bars: the ramps of a colour picker as pictures.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/timings.h"

#include <q32base/bars.h>

#include <algorithm>

namespace apps::q32tool {
namespace {

enum class Bar { grey, hues, colours };

Bar bar_from(const std::string &word) {
    if (word == "grey" || word == "gray")
        return Bar::grey;
    if (word == "hsb")
        return Bar::hues;
    if (word == "colour" || word == "color")
        return Bar::colours;
    throw UsageError("there is no bar '" + word + "'; bars are grey, hsb and colour");
}

// The options that a bar does not know.
void check_options(const Arguments &arguments, Bar bar) {
    const bool has_ends = arguments.has("--from") || arguments.has("--to");
    if (arguments.has("--style") && bar != Bar::hues)
        throw UsageError("--style is for the bar hsb");
    if (arguments.has("--rainbow") && bar != Bar::colours)
        throw UsageError("--rainbow is for the bar colour");
    if (bar == Bar::hues && (has_ends || arguments.has("--horizontal")))
        throw UsageError("--from, --to and --horizontal are for the bars grey and colour");
    if (arguments.has("--rainbow") && has_ends)
        throw UsageError("--rainbow goes without --from and --to");
}

// A colour; of the grey bar, a number.
Colour end_of(const Arguments &arguments, Bar bar, std::string_view option, uint8_t fallback) {
    if (!arguments.has(option))
        return {fallback, fallback, fallback};
    if (bar == Bar::colours)
        return colour_from(arguments, option);
    const auto grey = static_cast<uint8_t>(arguments.number(option, 0, 255, fallback));
    return {grey, grey, grey};
}

// What the options say, made before the buffer is.
struct Request {
    Bar bar;
    Colour from, to;
    int style;
    bool horizontal;
    bool rainbow;
    Size size;

    PixelFormat pixels() const { return bar == Bar::grey ? PixelFormat::grey : PixelFormat::rgb; }

    bool draw(HBUF32 buffer) const {
        const auto colorref = [](const Colour &c) { return RGB(c.red, c.green, c.blue); };
        switch (bar) {
        case Bar::grey:
            return q32CreateGrayBarImage(&buffer, 0, 0, from.red, to.red, horizontal);
        case Bar::hues:
            return q32CreateHSBBarImage(&buffer, style, 0, 0);
        case Bar::colours:
            break;
        }
        return q32CreateColorBarImage(&buffer, 0, 0, colorref(from), colorref(to), horizontal,
                                      rainbow);
    }
};

Request request_from(const Arguments &arguments) {
    const Bar bar = bar_from(arguments.operand(0));
    check_options(arguments, bar);
    return {
        .bar = bar,
        .from = end_of(arguments, bar, "--from", 0),
        .to = end_of(arguments, bar, "--to", 255),
        .style = static_cast<int>(
            arguments.number("--style", BAR_HUE_ACROSS, BAR_HUE_DOWN_BACK, BAR_HUE_ACROSS)),
        .horizontal = arguments.has("--horizontal"),
        .rainbow = arguments.has("--rainbow"),
        .size = size_from(arguments, "--size"),
    };
}

void run(const Arguments &arguments) {
    const std::string &out = arguments.file("--output");
    const Request request = request_from(arguments);
    const PictureTransfer transfer(arguments, out);
    Picture picture = {
        Image(request.pixels(), request.size, transfer.buffer_type(), out), std::nullopt, {}};
    {
        const Timed timed(Part::library);
        if (!request.draw(picture.image.handle()))
            throw library_failure(out, "the bar cannot be drawn");
    }
    transfer.save(picture);
}

} // namespace

const Command bars_command = {
    .name = "bars",
    .operands = {"grey|hsb|colour"},
    .summary = "make the ramps of a colour picker",
    .description =
        "grey: a ramp from one grey to another, of 8 bits per pixel. colour: from one colour\n"
        "to another, or once around the colour circle. hsb: all hues along one side, and from\n"
        "black by the pure colour to white along the other. A ramp of n pixels stops one n-th\n"
        "before its end.",
    .options =
        joined({{{"--size", "WxH", "width and height of the picture", once},
                 output_option(),
                 {"--from", "COLOUR", "first grey (0 to 255) or colour (R,G,B or #rrggbb); black"},
                 {"--to", "COLOUR", "last one; white"},
                 {"--horizontal", "", "from left to right instead of from the top down"},
                 {"--rainbow", "", "colour: all hues instead of --from and --to"},
                 {"--style", "1..4", "hsb: hues 1 to the right, 2 to the left, 3 down, 4 up (1)"}},
                writing_options()}),
    .run = run,
};

} // namespace apps::q32tool
