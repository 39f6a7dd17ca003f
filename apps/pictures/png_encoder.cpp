// Chunks, and rows on their way into the compressed stream.
#include "png_encoder.h"

#include "bytes.h"
#include "exif.h"
#include "png_signature.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace apps {
namespace {

constexpr size_t chunk_bytes = 1 << 18;

size_t samples_of(RowFormat rows) {
    switch (rows) {
    case RowFormat::bits:
        return 0;
    case RowFormat::grey:
        return 1;
    case RowFormat::bgra:
        return 4;
    default:
        return 3;
    }
}

bool is_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char letter) { return static_cast<unsigned char>(letter) < 0x80; });
}

void put_red_first(const uint8_t *row, uint8_t *line, size_t bytes, size_t samples) {
    if (samples == 3) {
        for (size_t i = 0; i < bytes; i += 3) {
            line[i] = row[i + 2];
            line[i + 1] = row[i + 1];
            line[i + 2] = row[i];
        }
        return;
    }
    for (size_t i = 0; i < bytes; i += 4) {
        line[i] = row[i + 2];
        line[i + 1] = row[i + 1];
        line[i + 2] = row[i];
        line[i + 3] = row[i + 3];
    }
}

} // namespace

PngEncoder::PngEncoder(ByteSink &sink, const PictureToWrite &picture)
    : sink_(sink), samples_(samples_of(picture.rows)),
      // What is not packed gains nothing by a filter, and single bits next to nothing.
      filtered_(samples_ != 0 && picture.settings.png_level > 0),
      line_(static_cast<size_t>(row_bytes_of(picture.rows, picture.width))),
      line_above_(line_.size()),
      filters_(filtered_ ? line_.size() : 0, std::max<size_t>(samples_, 1)),
      deflater_(picture.settings.png_level, filtered_ ? Z_FILTERED : Z_DEFAULT_STRATEGY,
                chunk_bytes, [this](std::span<const uint8_t> piece) { put_chunk("IDAT", piece); }) {
    sink_.append(png_signature);
    put_header(picture);
    put_facts(picture.facts);
}

void PngEncoder::put_chunk(std::string_view type, std::span<const uint8_t> data) {
    Bytes head;
    put_big_endian(head, static_cast<uint32_t>(data.size()));
    put(head, type);
    uLong checksum = crc32_z(0, &head[4], type.size());
    if (!data.empty()) // zlib takes none for a new beginning
        checksum = crc32_z(checksum, data.data(), data.size());
    sink_.append(head);
    sink_.append(data);
    Bytes end;
    put_big_endian(end, static_cast<uint32_t>(checksum));
    sink_.append(end);
}

void PngEncoder::put_header(const PictureToWrite &picture) {
    constexpr uint8_t grey = 0, colours = 2, colours_and_opacity = 6;
    Bytes header;
    put_big_endian(header, static_cast<uint32_t>(picture.width));
    put_big_endian(header, static_cast<uint32_t>(picture.height));
    header.push_back(samples_ == 0 ? 1 : 8);
    header.push_back(samples_ < 3 ? grey : samples_ == 3 ? colours : colours_and_opacity);
    put_big_endian(header, 0, 3); // the one packing, the one set of filters, top row first
    put_chunk("IHDR", header);
}

void PngEncoder::put_facts(const PictureFacts &facts) {
    if (!facts.colour_profile.empty()) {
        constexpr int level = 9;
        Bytes profile;
        put(profile, std::string_view("ICC profile\0\0", 13)); // its name, and the one packing
        put(profile, deflated(facts.colour_profile, level));
        put_chunk("iCCP", profile);
    }
    if (facts.resolution) {
        constexpr double metre = 1 / 0.0254; // inches
        Bytes density;
        for (const double per_inch : {facts.resolution->x, facts.resolution->y})
            put_big_endian(
                density, static_cast<uint32_t>(std::clamp(std::round(per_inch * metre), 1.0, 2e9)));
        density.push_back(1); // a metre
        put_chunk("pHYs", density);
    }
    if (facts.orientation != 1)
        put_chunk("eXIf", exif_of_orientation(facts.orientation));
    if (!facts.comment.empty()) {
        const bool ascii = is_ascii(facts.comment);
        Bytes text;
        // Not packed, in no language, with no keyword of that language.
        put(text,
            ascii ? std::string_view("Comment\0", 8) : std::string_view("Comment\0\0\0\0\0", 12));
        put(text, facts.comment);
        put_chunk(ascii ? "tEXt" : "iTXt", text);
    }
}

void PngEncoder::write_row(const uint8_t *row) {
    if (samples_ >= 3)
        put_red_first(row, line_.data(), line_.size(), samples_);
    else
        std::memcpy(line_.data(), row, line_.size());
    if (filtered_) {
        deflater_.write(filters_.best(line_.data(), line_above_.data()));
        std::swap(line_, line_above_);
        return;
    }
    constexpr uint8_t none = 0;
    deflater_.write({&none, 1});
    deflater_.write(line_);
}

void PngEncoder::finish() {
    deflater_.finish();
    put_chunk("IEND", {});
}

} // namespace apps
