// PNG files written row by row: 1 bit and 8 bits of grey, colours with or without transparency.
#pragma once

#include "deflater.h"
#include "png_filters.h"
#include "row_encoder.h"

#include <string_view>
#include <vector>

namespace apps {

class PngEncoder final : public RowEncoder {
public:
    PngEncoder(ByteSink &sink, const PictureToWrite &picture);

    void write_row(const uint8_t *row) override;
    void finish() override;

private:
    void put_chunk(std::string_view type, std::span<const uint8_t> data);
    void put_header(const PictureToWrite &picture);
    void put_facts(const PictureFacts &facts);

    ByteSink &sink_;
    size_t samples_; // of 8 bits in a pixel; 0: single bits
    bool filtered_;
    std::vector<uint8_t> line_, line_above_;
    PngFilters filters_;
    Deflater deflater_;
};

} // namespace apps
