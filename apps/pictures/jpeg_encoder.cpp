// Segments, and rows on their way into blocks.
#include "jpeg_encoder.h"

#include "bytes.h"
#include "exif.h"
#include "jpeg_markers.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace apps {
namespace {

JpegChroma chroma_of(const OutputSettings &settings) {
    constexpr int full_from = 90;
    if (settings.jpeg_chroma != JpegChroma::by_quality)
        return settings.jpeg_chroma;
    return settings.jpeg_quality < full_from ? JpegChroma::quarter : JpegChroma::full;
}

uint8_t to_byte(int fixed) {
    return static_cast<uint8_t>(fixed >> 16);
}

// Brightness and the two differences of a pixel, by JFIF's factors in 65536ths.
void split_pixel(int red, int green, int blue, uint8_t *brightness, uint8_t *to_blue,
                 uint8_t *to_red) {
    constexpr int half = 32768, middle = (128 << 16) + half - 1;
    *brightness = to_byte(19595 * red + 38470 * green + 7471 * blue + half);
    *to_blue = to_byte(-11059 * red - 21709 * green + 32768 * blue + middle);
    *to_red = to_byte(32768 * red - 27439 * green - 5329 * blue + middle);
}

// Resolutions are whole numbers of 16 bits here: per inch, or per centimetre where only that is
// exact.
Bytes jfif(const std::optional<PictureFacts::Resolution> &resolution) {
    constexpr uint8_t ratio = 0, inch = 1, centimetre = 2;
    Bytes data;
    put(data, std::string_view("JFIF\0\1\1", 7));
    double x = 1, y = 1;
    uint8_t unit = ratio;
    if (resolution) {
        const auto is_whole = [](double number) {
            return std::abs(number - std::round(number)) < 1e-4;
        };
        x = resolution->x;
        y = resolution->y;
        unit = inch;
        if ((!is_whole(x) || !is_whole(y)) && is_whole(x / 2.54) && is_whole(y / 2.54)) {
            x /= 2.54;
            y /= 2.54;
            unit = centimetre;
        }
    }
    data.push_back(unit);
    for (const double density : {x, y})
        put_big_endian(data, static_cast<uint32_t>(std::clamp(std::round(density), 1.0, 65535.0)),
                       2);
    put_big_endian(data, 0, 2); // no small picture of it
    return data;
}

} // namespace

JpegEncoder::JpegEncoder(ByteSink &sink, const PictureToWrite &picture)
    : sink_(sink), width_(static_cast<size_t>(picture.width)),
      height_(static_cast<size_t>(picture.height)),
      brightness_(JpegBlocks::brightness, picture.settings.jpeg_quality),
      colour_(JpegBlocks::colour, picture.settings.jpeg_quality) {
    const JpegChroma chroma = chroma_of(picture.settings);
    const size_t across = chroma == JpegChroma::full ? 1 : 2,
                 down = chroma == JpegChroma::quarter ? 2 : 1;
    channels_.push_back({1, 1});
    if (picture.rows != RowFormat::grey)
        channels_.insert(channels_.end(), 2, Channel{across, down});
    unit_width_ = channels_.back().across * 8;
    unit_height_ = channels_.back().down * 8;
    stride_ = (width_ + unit_width_ - 1) / unit_width_ * unit_width_;
    for (Channel &channel : channels_)
        channel.rows.resize(stride_ * unit_height_);

    sink_.append(Bytes{0xff, 0xd8});
    put_facts(picture.facts);
    put_tables();
    put_frame(picture);
}

void JpegEncoder::put_segment(uint8_t marker, std::span<const uint8_t> data) {
    Bytes segment = {0xff, marker};
    put_big_endian(segment, static_cast<uint32_t>(data.size() + 2), 2);
    put(segment, data);
    sink_.append(segment);
}

void JpegEncoder::put_facts(const PictureFacts &facts) {
    put_segment(jpeg_marker::app0, jfif(facts.resolution));
    if (facts.orientation != 1) {
        Bytes exif;
        put(exif, std::string_view("Exif\0\0", 6));
        put(exif, exif_of_orientation(facts.orientation));
        put_segment(jpeg_marker::app1, exif);
    }
    constexpr size_t most_bytes = 65519;
    const std::span<const uint8_t> profile = facts.colour_profile;
    const size_t parts = (profile.size() + most_bytes - 1) / most_bytes;
    for (size_t part = 0; part < parts; ++part) {
        Bytes data;
        put(data, std::string_view("ICC_PROFILE\0", 12));
        data.push_back(static_cast<uint8_t>(part + 1));
        data.push_back(static_cast<uint8_t>(parts));
        const size_t begin = part * most_bytes;
        put(data, profile.subspan(begin, std::min(most_bytes, profile.size() - begin)));
        put_segment(jpeg_marker::app2, data);
    }
    if (!facts.comment.empty()) {
        Bytes text;
        put(text, facts.comment);
        put_segment(jpeg_marker::comment, text);
    }
}

void JpegEncoder::put_tables() {
    const size_t kinds = channels_.size() > 1 ? 2 : 1;
    for (size_t kind = 0; kind < kinds; ++kind) {
        Bytes steps = {static_cast<uint8_t>(kind)};
        put(steps, (kind == 0 ? brightness_ : colour_).steps());
        put_segment(jpeg_marker::quantisation, steps);
        for (const bool is_detail : {false, true}) {
            const JpegCode &code = (is_detail ? jpeg_detail_codes : jpeg_mean_codes)[kind];
            Bytes table = {static_cast<uint8_t>((is_detail ? 0x10 : 0) | kind)};
            put(table, code.counts);
            put(table, code.symbols);
            put_segment(jpeg_marker::huffman, table);
        }
    }
}

void JpegEncoder::put_frame(const PictureToWrite &picture) {
    Bytes frame = {8}; // bits of a sample
    put_big_endian(frame, static_cast<uint32_t>(picture.height), 2);
    put_big_endian(frame, static_cast<uint32_t>(picture.width), 2);
    Bytes coded;
    frame.push_back(static_cast<uint8_t>(channels_.size()));
    coded.push_back(static_cast<uint8_t>(channels_.size()));
    for (size_t i = 0; i < channels_.size(); ++i) {
        // How many samples of it there are where the coarsest channel has one.
        const size_t across = channels_.back().across / channels_[i].across,
                     down = channels_.back().down / channels_[i].down;
        const auto number = static_cast<uint8_t>(i + 1), kind = static_cast<uint8_t>(i > 0);
        put(frame, Bytes{number, static_cast<uint8_t>(across << 4 | down), kind});
        put(coded, Bytes{number, static_cast<uint8_t>(kind << 4 | kind)});
    }
    put(coded, Bytes{0, 63, 0}); // all coefficients at once
    put_segment(jpeg_marker::baseline_frame, frame);
    put_segment(jpeg_marker::scan, coded);
}

void JpegEncoder::split_row(const uint8_t *row) {
    const size_t at = rows_ * stride_;
    if (channels_.size() == 1) {
        std::memcpy(&channels_[0].rows[at], row, width_);
    } else {
        uint8_t *const brightness = &channels_[0].rows[at], *const to_blue = &channels_[1].rows[at],
                       *const to_red = &channels_[2].rows[at];
        for (size_t x = 0; x < width_; ++x, row += 3)
            split_pixel(row[2], row[1], row[0], brightness + x, to_blue + x, to_red + x);
    }
    for (Channel &channel : channels_) // what fills the last unit
        std::memset(&channel.rows[at + width_ - 1], channel.rows[at + width_ - 1],
                    stride_ - width_ + 1);
    ++rows_;
}

void JpegEncoder::repeat_last_row() {
    for (Channel &channel : channels_)
        std::memcpy(&channel.rows[rows_ * stride_], &channel.rows[(rows_ - 1) * stride_], stride_);
    ++rows_;
}

// The block whose left and top pixel is x, y of the waiting rows: each sample is the mean of its
// pixels.
void JpegEncoder::put_block(Channel &channel, const JpegBlocks &blocks, size_t x, size_t y) {
    std::array<float, 64> samples;
    const float share = 1.0f / static_cast<float>(channel.across * channel.down);
    for (size_t row = 0; row < 8; ++row)
        for (size_t column = 0; column < 8; ++column) {
            const uint8_t *pixel =
                &channel.rows[(y + row * channel.down) * stride_ + x + column * channel.across];
            int sum = 0;
            for (size_t down = 0; down < channel.down; ++down, pixel += stride_)
                for (size_t across = 0; across < channel.across; ++across)
                    sum += pixel[across];
            samples[row * 8 + column] = static_cast<float>(sum) * share - 128;
        }
    blocks.put(samples, channel.mean, bits_);
}

void JpegEncoder::put_rows() {
    for (size_t left = 0; left < stride_; left += unit_width_)
        for (size_t i = 0; i < channels_.size(); ++i) {
            Channel &channel = channels_[i];
            const JpegBlocks &blocks = i == 0 ? brightness_ : colour_;
            for (size_t y = 0; y < unit_height_; y += 8 * channel.down)
                for (size_t x = 0; x < unit_width_; x += 8 * channel.across)
                    put_block(channel, blocks, left + x, y);
        }
    sink_.append(bits_.bytes());
    bits_.clear();
    rows_ = 0;
}

void JpegEncoder::write_row(const uint8_t *row) {
    split_row(row);
    if (rows_ == unit_height_)
        put_rows();
}

void JpegEncoder::finish() {
    if (rows_ > 0) {
        while (rows_ < unit_height_)
            repeat_last_row();
        put_rows();
    }
    bits_.fill_byte();
    sink_.append(bits_.bytes());
    sink_.append(Bytes{0xff, 0xd9});
}

} // namespace apps
