// The fields of a TIFF directory: of TIFF files, large ones (BigTIFF) and EXIF data.
#pragma once

#include "byte_source.h"

#include <cstdint>
#include <map>
#include <optional>

namespace apps {

class TiffFields {
public:
    // The first directory; none where there is no TIFF. The file has to live as long.
    static std::optional<TiffFields> first_of(const ReadAt &file);
    // The one that follows.
    std::optional<TiffFields> next() const;
    uint64_t place() const { return at_; }      // in the file
    uint64_t entries() const { return count_; } // also those that cannot be had

    // Values of a tag, none where the directory has it not, or as something else.
    std::optional<uint32_t> number(uint16_t tag) const;
    std::optional<double> ratio(uint16_t tag) const;
    // Of texts and blocks, no more than most bytes.
    Bytes bytes(uint16_t tag, uint64_t most) const;

private:
    struct Entry {
        uint32_t type;
        uint64_t count;
        uint64_t value_at; // in the file
    };

    TiffFields(const ReadAt &file, bool big_endian, bool large)
        : file_(&file), big_endian_(big_endian), large_(large) {}
    bool read_directory(uint64_t at);
    // 0 where the file ends.
    uint64_t value(uint64_t at, size_t bytes) const;
    const Entry *find(uint16_t tag, std::initializer_list<uint32_t> types) const;

    const ReadAt *file_;
    bool big_endian_, large_;
    uint64_t at_ = 0, next_at_ = 0, count_ = 0;
    std::map<uint16_t, Entry> entries_;
};

} // namespace apps
