// BMP files read row by row.
#pragma once

#include "row_file.h"

#include <memory>
#include <vector>

namespace apps {

class BmpRows final : public RowFile {
public:
    // None for a file that is left to the codec: one that is no BMP, or whose pixels are not of 24
    // bits, or compressed.
    static std::unique_ptr<BmpRows> open(ReadAt file);

    void read_rows(int count, uint8_t *pixels) override;

private:
    explicit BmpRows(ReadAt file);
    bool read_header();

    ReadAt file_;
    uint64_t pixels_begin_ = 0;
    size_t row_bytes_ = 0, stride_ = 0;
    bool top_first_ = false;
    int rows_read_ = 0;
    std::vector<uint8_t> band_;
};

} // namespace apps
