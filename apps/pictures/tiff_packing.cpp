// PackBits and LZW; deflate is zlib's.
#include "tiff_packing.h"

#include "deflater.h"

#include <algorithm>
#include <span>

namespace apps {
namespace {

using Bytes = std::vector<uint8_t>;

size_t run_length(std::span<const uint8_t> row, size_t at) {
    size_t end = at + 1;
    while (end < row.size() && row[end] == row[at])
        ++end;
    return end - at;
}

// Runs of one byte, and stretches of different ones, at most 128 long, each behind its length.
void pack_row(std::span<const uint8_t> row, Bytes &packed) {
    constexpr size_t most = 128, worth_a_run = 3;
    for (size_t at = 0; at < row.size();) {
        size_t length = run_length(row.first(std::min(row.size(), at + most)), at);
        if (length >= worth_a_run) {
            packed.push_back(static_cast<uint8_t>(257 - length));
            packed.push_back(row[at]);
        } else {
            length = 0;
            while (at + length < row.size() && length < most &&
                   run_length(row.first(std::min(row.size(), at + length + worth_a_run)),
                              at + length) < worth_a_run)
                ++length;
            packed.push_back(static_cast<uint8_t>(length - 1));
            packed.insert(packed.end(), row.begin() + static_cast<ptrdiff_t>(at),
                          row.begin() + static_cast<ptrdiff_t>(at + length));
        }
        at += length;
    }
}

Bytes pack_bits(const Bytes &rows, size_t row_bytes) {
    Bytes packed;
    for (size_t at = 0; at < rows.size(); at += row_bytes)
        pack_row(std::span(rows).subspan(at, row_bytes), packed);
    return packed;
}

// Strings of bytes that have occurred get codes, of 9 to 12 bits as there are more of them.
class Lzw {
public:
    Bytes pack(const Bytes &bytes) {
        put(clear_code);
        int string = -1;
        for (const uint8_t byte : bytes) {
            if (string < 0) {
                string = byte;
                continue;
            }
            const int longer = find(string, byte);
            if (longer >= 0) {
                string = longer;
                continue;
            }
            put(string);
            add(string, byte);
            string = byte;
        }
        if (string >= 0) {
            put(string);
            count_string();
        }
        put(end_code);
        if (bit_count_ > 0)
            packed_.push_back(static_cast<uint8_t>(bits_ << (8 - bit_count_)));
        return std::move(packed_);
    }

private:
    static constexpr int clear_code = 256, end_code = 257, first_code = 258, most_codes = 4094;
    static constexpr size_t slots = 1 << 14;

    void put(int code) {
        bits_ = bits_ << width_ | static_cast<uint32_t>(code);
        for (bit_count_ += width_; bit_count_ >= 8;) {
            bit_count_ -= 8;
            packed_.push_back(static_cast<uint8_t>(bits_ >> bit_count_));
        }
        bits_ &= (1u << bit_count_) - 1;
    }
    // The slot where the string and the byte behind it are, or could be.
    size_t slot_of(int string, uint8_t byte) const {
        const uint32_t key = key_of(string, byte);
        size_t slot = (key * 2654435761u) >> 18;
        while (keys_[slot] != 0 && keys_[slot] != key)
            slot = (slot + 1) % slots;
        return slot;
    }
    static uint32_t key_of(int string, uint8_t byte) {
        return static_cast<uint32_t>(string + 1) << 8 | byte;
    }
    int find(int string, uint8_t byte) const {
        const size_t slot = slot_of(string, byte);
        return keys_[slot] == 0 ? -1 : codes_[slot];
    }
    void add(int string, uint8_t byte) {
        const size_t slot = slot_of(string, byte);
        keys_[slot] = key_of(string, byte);
        codes_[slot] = static_cast<int16_t>(next_);
        count_string();
    }
    // Readers know a string one code later: widths change when the codes are used up for them.
    void count_string() {
        ++next_;
        if (next_ == most_codes) {
            put(clear_code);
            std::fill(keys_.begin(), keys_.end(), 0);
            next_ = first_code;
            width_ = 9;
        } else if (next_ >= 1 << width_) {
            ++width_;
        }
    }

    Bytes packed_;
    uint32_t bits_ = 0;
    int bit_count_ = 0;
    int width_ = 9;
    int next_ = first_code;
    std::vector<uint32_t> keys_ = std::vector<uint32_t>(slots); // 0: none
    std::vector<int16_t> codes_ = std::vector<int16_t>(slots);
};

} // namespace

uint16_t tiff_number_of(TiffPacking packing) {
    constexpr uint16_t numbers[] = {1, 32773, 5, 8};
    return numbers[static_cast<size_t>(packing)];
}

bool packs_differences(TiffPacking packing) {
    return packing == TiffPacking::lzw || packing == TiffPacking::deflate;
}

std::vector<uint8_t> tiff_packed(TiffPacking packing, const std::vector<uint8_t> &rows,
                                 size_t row_bytes) {
    constexpr int deflate_level = 6;
    switch (packing) {
    case TiffPacking::packbits:
        return pack_bits(rows, row_bytes);
    case TiffPacking::lzw:
        return Lzw().pack(rows);
    case TiffPacking::deflate:
        return deflated(rows, deflate_level);
    case TiffPacking::none:
        break;
    }
    return rows;
}

} // namespace apps
