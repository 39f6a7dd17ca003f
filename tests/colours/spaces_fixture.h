// What the tests of colour spaces share: the six conversions as a table, and whole runs of them by
// the model.
#pragma once

#include "tests/colours/colour_fixture.h"
#include "tests/models/colours.h"

#include <q32base/merge.h>

namespace q32::test {

using model::ColourConversion;
inline constexpr auto &conversions = model::colour_conversions;

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

// Random pixels; records have fields within their ranges, grey ones among them.
inline Bytes random_source(Random &random, const ColourConversion &conversion, size_t pixels) {
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
