// PNG files read row by row.
#pragma once

#include "inflater.h"
#include "row_file.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace apps {

class PngRows final : public RowFile {
public:
    // None for a file that is left to the codec: one that is no PNG, is damaged before its pixels,
    // or whose pixels are other than samples of 8 bits, from top to bottom: grey, or red, green and
    // blue, with or without an opacity for each pixel.
    static std::unique_ptr<PngRows> open(ReadAt file);

    void read_rows(int count, uint8_t *pixels) override;

private:
    explicit PngRows(ReadAt file);

    bool begin();
    bool begin_chunk();
    bool end_chunk();
    std::span<const uint8_t> read_piece();
    std::span<const uint8_t> next_pixel_data();
    void read_line();

    bool read(uint8_t *bytes, size_t count);

    ReadAt file_;
    uint64_t at_ = 0;    // in the file
    size_t samples_ = 0; // of a pixel
    int rows_read_ = 0;

    std::vector<uint8_t> piece_;
    uint32_t chunk_type_ = 0;
    uint32_t chunk_left_ = 0; // bytes of the chunk that were not read yet
    uint32_t checksum_ = 0;

    Inflater inflater_;
    std::vector<uint8_t> line_, line_above_;
};

} // namespace apps
