// Picture files of which a few rows are in memory at a time, however large they are. The system's
// codecs may unpack a whole picture before they give its first row, and Wine's fault or give other
// pixels where that takes more than 2 GB.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace apps {

// Thrown for a file whose pixels cannot be had.
struct DamagedData {};

// Reads bytes of a file from a place on; fewer than asked for at its end only.
using ReadAt = std::function<size_t(uint64_t at, uint8_t *bytes, size_t count)>;

class RowFile {
public:
    virtual ~RowFile() = default;
    RowFile(const RowFile &) = delete;
    RowFile &operator=(const RowFile &) = delete;

    int width() const { return width_; }
    int height() const { return height_; }
    int bits() const { return bits_; } // of a pixel in the file
    bool has_transparency() const { return bits_ == 32; }

    // The next rows, packed: bgra with transparency, else bgr. Throws DamagedData.
    virtual void read_rows(int count, uint8_t *pixels) = 0;

protected:
    RowFile() = default;

    int width_ = 0;
    int height_ = 0;
    int bits_ = 0;
};

} // namespace apps
