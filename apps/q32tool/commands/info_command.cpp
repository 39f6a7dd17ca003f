// q32tool info: reads a picture into a buffer and tells what the library made of it.
#include "commands.h"

#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"
#include "apps/q32tool/buffer_facts.h"
#include "apps/q32tool/option_values.h"
#include "apps/q32tool/picture_transfer.h"
#include "apps/q32tool/storage_options.h"

#include <algorithm>
#include <cstdio>

namespace apps::q32tool {
namespace {

// A file's text as a part of a line.
std::string in_one_line(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text;
}

std::string in_words(const PictureFacts::Resolution &resolution) {
    char text[80];
    std::snprintf(text, sizeof text, "%.10g x %.10g pixels per inch", resolution.x, resolution.y);
    return text;
}

const char *storage_name(const MemoryUse &use) {
    return use.mapped != 0 ? "swap file" : "memory";
}

// What the file says of its picture; what it does not say has no line.
std::string file_facts(const LoadedPicture &picture) {
    const PictureFacts &facts = picture.facts;
    std::string lines;
    if (picture.pictures != 1)
        lines += fact("pictures", std::to_string(picture.pictures));
    if (picture.has_opacity)
        lines += fact("transparency", picture.opacity ? "in parts" : "nowhere");
    if (picture.orientation != 1)
        lines += fact("orientation", std::to_string(picture.orientation) +
                                         (facts.orientation == 1 ? ", turned" : ", left so"));
    if (facts.resolution)
        lines += fact("resolution", in_words(*facts.resolution));
    if (!facts.colour_profile.empty())
        lines += fact("colour profile", std::to_string(facts.colour_profile.size()) + " bytes");
    if (!facts.comment.empty())
        lines += fact("comment", in_one_line(facts.comment));
    return lines;
}

std::string as_lines(const std::string &file, const LoadedPicture &picture, const MemoryUse &use) {
    return fact("file", file) +
           fact("format", picture.format + ", " +
                              counted(static_cast<uint64_t>(picture.file_bits), "bit") +
                              " per pixel") +
           fact("size", size_in_words(picture.image.size())) + file_facts(picture) +
           buffer_facts(picture.image.info()) + fact("storage", storage_name(use)) +
           fact("memory in use", std::to_string(use.memory) + " bytes") +
           fact("mapped", std::to_string(use.mapped) + " bytes") +
           fact("buffers", std::to_string(buf32CountBuf(nullptr)));
}

void add_file_facts(JsonObject &json, const LoadedPicture &picture) {
    const PictureFacts &facts = picture.facts;
    json.add("pictures", uint64_t(picture.pictures));
    json.add("transparency", !picture.has_opacity ? "none" : picture.opacity ? "parts" : "nowhere");
    json.add("orientation", uint64_t(picture.orientation));
    if (facts.resolution) {
        json.add_decimal("pixels_per_inch_x", facts.resolution->x);
        json.add_decimal("pixels_per_inch_y", facts.resolution->y);
    }
    if (!facts.colour_profile.empty())
        json.add("colour_profile_bytes", facts.colour_profile.size());
    if (!facts.comment.empty())
        json.add("comment", facts.comment);
}

std::string as_json(const std::string &file, const LoadedPicture &picture, const MemoryUse &use) {
    JsonObject json;
    json.add("file", file);
    json.add("format", picture.format);
    json.add("file_bits_per_pixel", uint64_t(picture.file_bits));
    json.add("width", uint64_t(picture.image.width()));
    json.add("height", uint64_t(picture.image.height()));
    add_file_facts(json, picture);
    add_buffer_facts(json, picture.image.info());
    json.add("storage", storage_name(use));
    json.add("memory_in_use_bytes", use.memory);
    json.add("mapped_bytes", use.mapped);
    json.add("buffers", uint64_t(buf32CountBuf(nullptr)));
    return json.text() + "\n";
}

void run(const Arguments &arguments) {
    const uint32_t type = apply_storage_options(arguments);
    const std::string &file = arguments.operand(0);
    const LoadedPicture picture = load_picture(file, type, turning_from(arguments));
    print((arguments.has("--json") ? as_json : as_lines)(file, picture, memory_use()));
}

} // namespace

const Command info_command = {
    .name = "info",
    .operands = {"PICTURE"},
    .summary = "tell what a picture is and how its buffer is laid out",
    .description =
        "Reads PICTURE (PNG, JPEG, TIFF, BMP, GIF) into a 24-bit buffer and prints\n"
        "the picture's size, what the file says of it, the buffer's cells and where its\n"
        "pixels are kept.",
    .options =
        joined({{{"--json", "", "all of it as a JSON object in one line"}}, reading_options()}),
    .run = run,
    .takes = Takes::many_pictures,
};

} // namespace apps::q32tool
