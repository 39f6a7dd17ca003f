// q32tool jobs: the dispatch queue at work, as a picture of the order in which it visits tiles.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/dispatch_show.h"
#include "apps/q32tool/numbered_names.h"
#include "apps/q32tool/output_options.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/rectangles.h"

#include <q32base/merge.h>

#include <algorithm>
#include <optional>

namespace apps::q32tool {
namespace {

constexpr Size default_size = {640, 480};
constexpr int default_side = 48;
constexpr int max_side = 4096, max_frames = 9999;

// Each client has a quarter, and one of them two jobs in it.
constexpr int least_width = 2, least_height = 4;
constexpr Colour paper = {255, 255, 255};

// From red over green to blue and violet, not all the way back to red.
Colour colour_of(size_t number, size_t count) {
    constexpr size_t last_hue = 300;
    const int32_t record[3] = {
        static_cast<int32_t>(count > 1 ? number * last_hue / (count - 1) : 0), 200, 235};
    uint8_t pixel[3];
    i32ColorspaceConvert(pixel, record, 1, I32_HSV_TO_RGB);
    return {pixel[0], pixel[1], pixel[2]};
}

// A pixel of paper stays between neighbours, where there is room for it.
Area without_border(const Area &area) {
    if (area.width() < 3 || area.height() < 3)
        return area;
    return {area.left, area.top, area.right - 1, area.bottom - 1};
}

void paint(const Canvas &canvas, const DispatchStep &step, const Colour &colour) {
    for (const Area &area : step.areas)
        if (!area.is_empty())
            lay_colour(canvas, colour, without_border(area));
}

NumberedName frames_from(const Arguments &arguments, std::string_view option) {
    arguments.file(option);
    const NumberedName name = arguments.parsed(option, numbered_name,
                                               "a name with a number in it, such as step-####.png");
    check_output(name.with(0));
    return name;
}

// The order is known only when all is done: the picture is painted from it, and the frames show it
// growing.
std::vector<DispatchStep> visit_all(DispatchShow &show) {
    std::vector<DispatchStep> steps;
    show.run([&steps](const DispatchStep &step) { steps.push_back(step); });
    return steps;
}

// "client 2, bands 48 high, first service: steps 26 to 30"
std::string order_lines(const DispatchShow &show, const std::vector<DispatchStep> &steps) {
    std::string text;
    for (size_t first = 0; first < steps.size();) {
        const int client = steps[first].client;
        const auto behind =
            std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(first), steps.end(),
                         [client](const DispatchStep &step) { return step.client != client; });
        const auto last = static_cast<size_t>(behind - steps.begin());
        text += "client " + std::to_string(client) + ", " +
                show.clients()[static_cast<size_t>(client) - 1].what + ": ";
        text += last - first == 1
                    ? "step " + std::to_string(last)
                    : "steps " + std::to_string(first + 1) + " to " + std::to_string(last);
        text += "\n";
        first = last;
    }
    return text;
}

Size picture_size_from(const Arguments &arguments) {
    const Size size = arguments.if_given("--size", size_from).value_or(default_size);
    if (size.width < least_width || size.height < least_height)
        throw UsageError("--size takes 2x4 and more, not '" + arguments.value("--size") + "'");
    return size;
}

// Files of steps that are done stay when the work is cancelled.
void paint_and_save(Picture &picture, const std::vector<DispatchStep> &steps,
                    const std::optional<NumberedName> &frames, const PictureTransfer &transfer) {
    const Canvas canvas = canvas_of(picture.image);
    lay_colour(canvas, paper, std::nullopt);
    Progress progress("painting", static_cast<int>(steps.size()));
    size_t frames_done = 0;
    try {
        for (size_t i = 0; i < steps.size(); ++i) {
            paint(canvas, steps[i], colour_of(i, steps.size()));
            if (frames) {
                const std::string path = frames->with(i + 1);
                save_picture(picture, path, check_output(path), transfer.settings());
                ++frames_done;
            }
            progress.advance(1);
        }
        clear_progress();
        transfer.save(picture);
    } catch (const Cancelled &) {
        if (frames_done == 0)
            throw;
        throw Cancelled(written_of(frames_done, steps.size(), "frame"));
    }
}

void run(const Arguments &arguments) {
    const Size size = picture_size_from(arguments);
    const int side = static_cast<int>(arguments.number("--side", 2, max_side, default_side));
    const auto frames = arguments.if_given("--frames", frames_from);
    const PictureTransfer transfer(arguments, arguments.operand(0));
    DispatchShow show(size, side);
    const std::vector<DispatchStep> steps = visit_all(show);
    if (frames && steps.size() > max_frames)
        throw UsageError("--frames would write " + counted(steps.size(), "file") +
                         "; use a larger --side");
    Picture picture = {
        Image(PixelFormat::rgb, size, transfer.buffer_type(), transfer.out()), std::nullopt, {}};
    paint_and_save(picture, steps, frames, transfer);
    if (!arguments.has("--quiet"))
        print(order_lines(show, steps));
}

} // namespace

const Command jobs_command = {
    .name = "jobs",
    .operands = {"OUT"},
    .summary = "show in which order the dispatch queue works",
    .description =
        "Four clients give the dispatch queue jobs, each for a quarter of a picture: tiles,\n"
        "bands and numbered steps, of different priorities. Each step paints its part of\n"
        "OUT in the colour of its place in the order: red first, then yellow, green, blue,\n"
        "and violet last.",
    .options =
        joined({{{"--size", "WxH", "of the picture, 640x480 without it"},
                 {"--side", "N", "side of tiles and height of bands, 48 without it"},
                 {"--frames", "NAME", "also write a picture after each step: step-####.png"}},
                output_options()}),
    .run = run,
};

} // namespace apps::q32tool
