// What the tests of colour spaces share: the six conversions as a table, and whole runs of them by
// the model.
#pragma once

#include "tests/colours/colour_fixture.h"

namespace q32::test {

struct Conversion {
    unsigned number;
    size_t from_bytes, to_bytes; // of a pixel
};
inline constexpr Conversion conversions[] = {{I32_RGB_TO_GREY, 3, 1}, {I32_GREY_TO_RGB, 1, 3},
                                             {I32_RGB_TO_HSV, 3, 12}, {I32_HSV_TO_RGB, 12, 3},
                                             {I32_RGB_TO_HLS, 3, 12}, {I32_HLS_TO_RGB, 12, 3}};

template <class Record>
Record record_at(const uint8_t *bytes) {
    Record record;
    std::memcpy(&record, bytes, sizeof record);
    return record;
}

template <class Record>
void append(Bytes &bytes, const Record &record) {
    const auto *const from = reinterpret_cast<const uint8_t *>(&record);
    bytes.insert(bytes.end(), from, from + sizeof record);
}

inline Bytes row_of(std::initializer_list<I32HSV> records) {
    Bytes row;
    for (const I32HSV &record : records)
        append(row, record);
    return row;
}

inline Bytes row_of(std::initializer_list<I32HLS> records) {
    Bytes row;
    for (const I32HLS &record : records)
        append(row, record);
    return row;
}

namespace model {

inline void convert_pixel(unsigned conversion, const uint8_t *from, uint8_t *to) {
    const auto store_rgb = [to](const Rgb &rgb) {
        to[0] = uint8_t(rgb.red);
        to[1] = uint8_t(rgb.green);
        to[2] = uint8_t(rgb.blue);
    };
    const auto rgb = [from] { return Rgb{from[0], from[1], from[2]}; };
    switch (conversion) {
    case I32_RGB_TO_GREY:
        to[0] = uint8_t(grey_of(rgb()));
        break;
    case I32_GREY_TO_RGB:
        store_rgb({from[0], from[0], from[0]});
        break;
    case I32_RGB_TO_HSV: {
        const I32HSV hsv = hsv_of(rgb());
        std::memcpy(to, &hsv, sizeof hsv);
        break;
    }
    case I32_HSV_TO_RGB:
        store_rgb(rgb_of(record_at<I32HSV>(from)));
        break;
    case I32_RGB_TO_HLS: {
        const I32HLS hls = hls_of(rgb());
        std::memcpy(to, &hls, sizeof hls);
        break;
    }
    case I32_HLS_TO_RGB:
        store_rgb(rgb_of(record_at<I32HLS>(from)));
        break;
    }
}

inline Bytes convert(const Conversion &conversion, const Bytes &source) {
    const size_t pixels = source.size() / conversion.from_bytes;
    Bytes row(pixels * conversion.to_bytes);
    for (size_t i = 0; i < pixels; ++i)
        convert_pixel(conversion.number, &source[i * conversion.from_bytes],
                      &row[i * conversion.to_bytes]);
    return row;
}

} // namespace model

// Random pixels; records have fields within their ranges, grey ones among them.
inline Bytes random_source(Random &random, const Conversion &conversion, size_t pixels) {
    Bytes row = random_bytes(random, pixels * conversion.from_bytes);
    if (conversion.from_bytes == 12)
        for (size_t i = 0; i < pixels; ++i) {
            const I32HSV record{random.below(10) == 0 ? I32_NO_HUE : between(random, 0, 359),
                                random.below(10) == 0 ? 0 : between(random, 0, 255),
                                between(random, 0, 255)};
            std::memcpy(&row[i * 12], &record, 12);
        }
    return row;
}

// Converts a row of the test's own memory.
inline Bytes converted(unsigned conversion, const Bytes &source, size_t from_bytes,
                       size_t to_bytes) {
    const size_t pixels = source.size() / from_bytes;
    Block from(source), to(pixels * to_bytes);
    from.protect();
    EXPECT_SUCCESS(api().i32ColorspaceConvert(to.data(), from.data(), int(pixels), conversion));
    return to.contents();
}

} // namespace q32::test
