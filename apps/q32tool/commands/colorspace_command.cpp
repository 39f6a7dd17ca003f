// q32tool colorspace: a picture in another colour space, as a picture that can be looked at.
#include "commands.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "apps/q32tool/conversion.h"
#include "apps/q32tool/opacity.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/progress.h"
#include "apps/q32tool/timings.h"

#include <q32base/merge.h>

#include <algorithm>
#include <array>

namespace apps::q32tool {
namespace {

constexpr int full_circle = 360;

// A colour space whose pixels are records of three fields, the first of which is the hue.
struct Space {
    std::string_view name;
    unsigned from_rgb;
    unsigned to_rgb;
    std::array<std::string_view, 3> fields;
};
constexpr Space hsv = {"hsv", I32_RGB_TO_HSV, I32_HSV_TO_RGB, {"hue", "saturation", "value"}};
constexpr Space hls = {"hls", I32_RGB_TO_HLS, I32_HLS_TO_RGB, {"hue", "lightness", "saturation"}};

using Record = std::array<int32_t, 3>;

// What becomes of each row of records.
struct Job {
    const Space &space;
    std::optional<size_t> field; // only this one, as grey
    std::optional<int> turn;     // degrees; back to RGB
};

std::optional<size_t> field_from(const Arguments &arguments, const Space &space) {
    if (!arguments.has("--field"))
        return std::nullopt;
    const std::string_view name =
        arguments.choice("--field", {space.fields[0], space.fields[1], space.fields[2]}, "");
    return static_cast<size_t>(std::find(space.fields.begin(), space.fields.end(), name) -
                               space.fields.begin());
}

std::optional<int> parse_turn(std::string_view text) {
    const auto degrees = parse_number<int>(text);
    return degrees && *degrees >= -full_circle && *degrees <= full_circle ? degrees : std::nullopt;
}

int turn_from(const Arguments &arguments, std::string_view option) {
    return arguments.parsed(option, parse_turn, "degrees from -360 to 360");
}

// A field as a byte: hues from 0 to 359 over the whole range, grey pixels' as 0.
uint8_t as_byte(const Record &record, size_t field) {
    if (field != 0)
        return static_cast<uint8_t>(record[field]);
    return record[0] == I32_NO_HUE ? uint8_t{0}
                                   : static_cast<uint8_t>(record[0] * 255 / (full_circle - 1));
}

void turn_hue(Record &record, int degrees) {
    if (record[0] != I32_NO_HUE)
        record[0] = (record[0] + degrees + full_circle) % full_circle;
}

void change_row(std::vector<uint8_t> &row, std::vector<Record> &records, const Job &job) {
    const int width = static_cast<int>(records.size());
    ++timings().rows_converted;
    i32ColorspaceConvert(records.data(), row.data(), width, job.space.from_rgb);
    if (job.turn) {
        for (Record &record : records)
            turn_hue(record, *job.turn);
        ++timings().rows_converted;
        i32ColorspaceConvert(row.data(), records.data(), width, job.space.to_rgb);
    } else if (job.field) {
        std::transform(records.begin(), records.end(), row.begin(),
                       [&](const Record &record) { return as_byte(record, *job.field); });
    } else {
        for (size_t i = 0; i < records.size() * 3; ++i)
            row[i] = as_byte(records[i / 3], i % 3);
    }
}

// The target may be the image itself when both are of 24 bits.
void change_rows(Image &image, Image &target, const Job &job) {
    std::vector<uint8_t> row(static_cast<size_t>(image.width()) * 3);
    std::vector<Record> records(static_cast<size_t>(image.width()));
    const BufferLock image_lock = image.lock(BUF32_READ), target_lock = target.lock(BUF32_WRITE);
    row_by_row("converting", image.height(), [&](int y) {
        image.line(y, BUF32_LINE_READ, row.data());
        change_row(row, records, job);
        target.line(y, BUF32_LINE_WRITE, row.data());
    });
}

void to_records(Picture &picture, const Job &job, const std::string &out) {
    Image &image = picture.image;
    if (!job.turn)
        drop_profile(picture.facts, out);
    if (!job.field) {
        change_rows(image, image, job);
        return;
    }
    if (picture.opacity)
        lay_over_white(picture, out, "pixels of 8 bits have");
    Image target(PixelFormat::grey, image.size(), image.type(), image.named());
    change_rows(image, target, job);
    image = std::move(target);
}

void run(const Arguments &arguments) {
    const std::string_view name = arguments.choice("--to", {"grey", "gray", "hsv", "hls"}, "");
    const bool grey = name != hsv.name && name != hls.name;
    const Space &space = name == hls.name ? hls : hsv;
    if (grey && (arguments.has("--field") || arguments.has("--turn-hue")))
        throw UsageError("--field and --turn-hue are for hsv and hls");
    if (arguments.has("--field") && arguments.has("--turn-hue"))
        throw UsageError("one of --field and --turn-hue at a time");
    const Job job = {space, field_from(arguments, space),
                     arguments.if_given("--turn-hue", turn_from)};
    change_picture(arguments, [&](Picture &picture) {
        if (grey)
            convert(picture, {PixelFormat::grey}, arguments.last_operand());
        else
            to_records(picture, job, arguments.last_operand());
    });
}

} // namespace

const Command colorspace_command = {
    .name = "colorspace",
    .operands = {"IN", "OUT"},
    .summary = "show a picture's grey, hue, saturation, or turn its hues",
    .description =
        "grey: writes OUT of 8 bits. hsv, hls: writes OUT of 24 bits, whose red, green and blue\n"
        "are hue, saturation and value (hsv) or hue, lightness and saturation (hls). Hues are\n"
        "stretched from 0..359 to 0..255; pixels without a hue have 0.",
    .options =
        joined({{{"--to", "grey|hsv|hls", "colour space", once},
                 {"--field", "NAME", "only hue, saturation, value or lightness, as 8 bits"},
                 {"--turn-hue", "DEGREES", "turn all hues, and go back to red, green and blue"}},
                transfer_options()}),
    .run = run,
};

} // namespace apps::q32tool
