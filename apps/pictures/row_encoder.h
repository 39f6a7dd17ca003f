// What turns rows of pixels into a picture file, whatever its format, and where the file's bytes
// go.
#pragma once

#include "output_settings.h"
#include "picture_facts.h"
#include "wic.h"

#include <cstdint>
#include <functional>
#include <span>

namespace apps {

// A file that grows, and of which earlier bytes can be written over. Throws where that fails.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    virtual void append(std::span<const uint8_t> bytes) = 0;
    virtual void replace(uint64_t at, std::span<const uint8_t> bytes) = 0;
};

struct PictureToWrite {
    RowFormat rows;
    int width, height;
    PictureFacts facts; // nothing but what the format can hold
    OutputSettings settings;
};

class RowEncoder {
public:
    virtual ~RowEncoder() = default;

    // The next row of the picture, top row first.
    virtual void write_row(const uint8_t *row) = 0;
    // After the last row.
    virtual void finish() = 0;
};

} // namespace apps
