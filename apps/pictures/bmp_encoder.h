// BMP files written row by row, from the bottom of the file: 1 bit and 8 bits of grey, 5-5-5 words,
// colours.
#pragma once

#include "row_encoder.h"

#include <vector>

namespace apps {

class BmpEncoder final : public RowEncoder {
public:
    BmpEncoder(ByteSink &sink, const PictureToWrite &picture);

    void write_row(const uint8_t *row) override;
    void finish() override {}

private:
    ByteSink &sink_;
    size_t row_bytes_;
    std::vector<uint8_t> row_; // with what fills it up to 4 bytes
    uint64_t pixels_at_ = 0;   // in the file
    uint64_t rows_left_;
};

} // namespace apps
