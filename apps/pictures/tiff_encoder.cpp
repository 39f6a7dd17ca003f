// Strips, and the directory behind them.
#include "tiff_encoder.h"

#include "bytes.h"
#include "tiff_packing.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace apps {
namespace {

constexpr size_t strip_bytes = 1 << 16;

// The entries of a directory, and the values that do not fit into them.
class Directory {
public:
    enum Type { ascii = 2, word = 3, number = 4, ratio = 5, undefined = 7 };

    void add(uint16_t tag, Type type, size_t count, Bytes value) {
        entries_.push_back({tag, type, count, std::move(value)});
    }
    void add_words(uint16_t tag, std::initializer_list<size_t> words) {
        Bytes value;
        for (const size_t one : words)
            put_little_endian(value, one, 2);
        add(tag, word, words.size(), std::move(value));
    }
    void add_numbers(uint16_t tag, const std::vector<uint32_t> &numbers) {
        Bytes value;
        for (const uint32_t one : numbers)
            put_little_endian(value, one);
        add(tag, number, numbers.size(), std::move(value));
    }
    void add_ratio(uint16_t tag, double value) {
        constexpr uint32_t denominator = 10000;
        Bytes bytes;
        put_little_endian(bytes, static_cast<uint32_t>(std::clamp(std::round(value * denominator),
                                                                  1.0, 4294967295.0)));
        put_little_endian(bytes, denominator);
        add(tag, ratio, 1, std::move(bytes));
    }

    // For a place in the file, the entries in the order in which they were added.
    Bytes bytes_at(size_t at) const {
        constexpr size_t entry_bytes = 12, inline_bytes = 4;
        Bytes directory, values;
        put_little_endian(directory, entries_.size(), 2);
        const size_t values_at = at + 2 + entries_.size() * entry_bytes + 4;
        for (const Entry &entry : entries_) {
            put_little_endian(directory, entry.tag, 2);
            put_little_endian(directory, entry.type, 2);
            put_little_endian(directory, entry.count);
            if (entry.value.size() <= inline_bytes) {
                put(directory, entry.value);
                directory.resize(directory.size() + inline_bytes - entry.value.size());
                continue;
            }
            put_little_endian(directory, values_at + values.size());
            put(values, entry.value);
            values.resize((values.size() + 1) / 2 * 2);
        }
        put_little_endian(directory, 0); // no other directory
        put(directory, values);
        return directory;
    }

private:
    struct Entry {
        uint16_t tag;
        Type type;
        size_t count;
        Bytes value;
    };
    std::vector<Entry> entries_;
};

size_t samples_of(RowFormat rows) {
    return rows == RowFormat::bgra ? 4 : rows == RowFormat::bgr ? 3 : 1;
}

} // namespace

TiffEncoder::TiffEncoder(ByteSink &sink, PictureToWrite picture)
    : sink_(sink), picture_(std::move(picture)), samples_(samples_of(picture_.rows)),
      row_bytes_(static_cast<size_t>(row_bytes_of(picture_.rows, picture_.width))),
      strip_rows_(
          std::clamp<size_t>(strip_bytes / row_bytes_, 1, static_cast<size_t>(picture_.height))),
      differences_(packs_differences(picture_.settings.tiff_packing) &&
                   picture_.rows != RowFormat::bits) {
    Bytes header;
    put(header, std::string_view("II*\0", 4));
    put_little_endian(header, 0); // where the directory is: see finish
    append(header);
}

void TiffEncoder::append(std::span<const uint8_t> bytes) {
    sink_.append(bytes);
    at_ += static_cast<uint32_t>(bytes.size());
}

void TiffEncoder::write_row(const uint8_t *row) {
    const size_t begin = strip_.size();
    strip_.insert(strip_.end(), row, row + row_bytes_);
    uint8_t *const line = &strip_[begin];
    if (samples_ >= 3)
        for (size_t i = 0; i < row_bytes_; i += samples_)
            std::swap(line[i], line[i + 2]);
    if (differences_)
        for (size_t i = row_bytes_ - 1; i >= samples_; --i)
            line[i] = static_cast<uint8_t>(line[i] - line[i - samples_]);
    if (strip_.size() == strip_rows_ * row_bytes_)
        put_strip();
}

void TiffEncoder::put_strip() {
    const Bytes packed = tiff_packed(picture_.settings.tiff_packing, strip_, row_bytes_);
    offsets_.push_back(at_);
    sizes_.push_back(static_cast<uint32_t>(packed.size()));
    append(packed);
    if (at_ % 2 != 0)
        append(Bytes{0});
    strip_.clear();
}

void TiffEncoder::put_directory() {
    constexpr size_t black_is_0 = 1, red_green_blue = 2;
    const PictureFacts &facts = picture_.facts;
    Directory directory;
    directory.add_numbers(256, {static_cast<uint32_t>(picture_.width)});
    directory.add_numbers(257, {static_cast<uint32_t>(picture_.height)});
    if (samples_ == 1)
        directory.add_words(258, {picture_.rows == RowFormat::bits ? 1u : 8u});
    else if (samples_ == 3)
        directory.add_words(258, {8, 8, 8});
    else
        directory.add_words(258, {8, 8, 8, 8});
    directory.add_words(259, {tiff_number_of(picture_.settings.tiff_packing)});
    directory.add_words(262, {samples_ == 1 ? black_is_0 : red_green_blue});
    if (!facts.comment.empty()) {
        Bytes text;
        put(text, facts.comment);
        text.push_back(0);
        directory.add(270, Directory::ascii, text.size(), text);
    }
    directory.add_numbers(273, offsets_);
    directory.add_words(274, {static_cast<size_t>(facts.orientation)});
    directory.add_words(277, {samples_});
    directory.add_numbers(278, {static_cast<uint32_t>(strip_rows_)});
    directory.add_numbers(279, sizes_);
    if (facts.resolution) {
        directory.add_ratio(282, facts.resolution->x);
        directory.add_ratio(283, facts.resolution->y);
    }
    directory.add_words(284, {1}); // samples lie side by side
    if (facts.resolution)
        directory.add_words(296, {2}); // per inch
    if (differences_)
        directory.add_words(317, {2}); // of neighbours
    if (samples_ == 4)
        directory.add_words(338, {2}); // opacity, by which colours are not multiplied
    if (!facts.colour_profile.empty())
        directory.add(34675, Directory::undefined, facts.colour_profile.size(),
                      facts.colour_profile);
    append(directory.bytes_at(at_));
}

void TiffEncoder::finish() {
    if (!strip_.empty())
        put_strip();
    constexpr uint64_t directory_field = 4;
    Bytes place;
    put_little_endian(place, at_);
    put_directory();
    sink_.replace(directory_field, place);
}

} // namespace apps
