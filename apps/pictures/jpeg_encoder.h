// Baseline JPEG files written row by row, of greys or colours.
#pragma once

#include "jpeg_blocks.h"
#include "row_encoder.h"

#include <vector>

namespace apps {

class JpegEncoder final : public RowEncoder {
public:
    static constexpr int most_pixels = 65535; // of width and height

    JpegEncoder(ByteSink &sink, const PictureToWrite &picture);

    void write_row(const uint8_t *row) override;
    void finish() override;

private:
    // Brightness, or one of the two colour differences, in the rows that are coded together.
    struct Channel {
        size_t across, down; // pixels for a sample
        std::vector<uint8_t> rows{};
        int mean = 0; // of the last block
    };

    void put_segment(uint8_t marker, std::span<const uint8_t> data);
    void put_facts(const PictureFacts &facts);
    void put_tables();
    void put_frame(const PictureToWrite &picture);
    void split_row(const uint8_t *row);
    void repeat_last_row();
    void put_rows();
    void put_block(Channel &channel, const JpegBlocks &blocks, size_t x, size_t y);

    ByteSink &sink_;
    size_t width_, height_;
    JpegBlocks brightness_, colour_;
    std::vector<Channel> channels_;
    size_t unit_width_, unit_height_; // pixels of what is coded together
    size_t stride_;                   // the width in whole units
    size_t rows_ = 0;                 // that wait in the channels
    JpegBits bits_;
};

} // namespace apps
