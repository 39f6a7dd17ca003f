// TIFF files written strip by strip: 1 bit and 8 bits of grey, colours with or without
// transparency.
#pragma once

#include "row_encoder.h"

#include <vector>

namespace apps {

class TiffEncoder final : public RowEncoder {
public:
    TiffEncoder(ByteSink &sink, PictureToWrite picture);

    void write_row(const uint8_t *row) override;
    void finish() override;

private:
    void append(std::span<const uint8_t> bytes);
    void put_strip();
    void put_directory();

    ByteSink &sink_;
    PictureToWrite picture_;
    size_t samples_; // of a pixel
    size_t row_bytes_;
    size_t strip_rows_; // that a strip has
    bool differences_;
    uint32_t at_ = 0; // bytes of the file
    std::vector<uint8_t> strip_;
    std::vector<uint32_t> offsets_, sizes_; // of the strips
};

} // namespace apps
