// What the tests of frames share: frames in memory that cannot be left, records with tables, and
// what the model makes of a call.
#pragma once

#include "tests/kernels/fenced_block.h"
#include "tests/resample_tables/table_fixture.h"

#include <ostream>
#include <string>

namespace q32::test {

using model::Method;

inline constexpr int frame_depths[] = {8, 16, 24, 32};
inline constexpr int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC};

// --- the call --------------------------------------------------------------------------------

// One call of vcResampleEx: what it is told, and what its record was made with.
struct FrameCall {
    int bits = 24;
    int width = 1, height = 1; // of the source
    int to_width = 1, to_height = 1;
    int method = RESAMPLE_BILINEAR;
    int nearest = 0;
    // The record, where there is one: made for the same sizes, but for another method maybe.
    bool record = false;
    int record_method = RESAMPLE_BILINEAR;
};
std::ostream &operator<<(std::ostream &out, const FrameCall &call);

// Bytes from row to row, and all of a frame.
std::size_t frame_stride(int width, int bits);
std::size_t frame_bytes(int width, int height, int bits);

// What the destination holds after the call: its pixels; padding as it was.
Bytes resampled_frame(const FrameCall &call, const Bytes &source, const Bytes &destination);
// The same with these tables.
Bytes resampled_frame(const FrameCall &call, const model::Axis &columns, const model::Axis &rows,
                      const Bytes &source, const Bytes &destination);

// --- memory ----------------------------------------------------------------------------------

// Bytes that begin or end at an inaccessible page.
class FencedFrame : public FencedBlock {
public:
    explicit FencedFrame(const Bytes &bytes, bool at_end = true)
        : FencedBlock(bytes, {at_end}, all_of_it) {}
};

BITMAPINFOHEADER header_of(int width, int height, int bits);

// A record made by vcResampleInit.
class Record {
public:
    Record(const BITMAPINFOHEADER &source, int width, int height, int method) {
        record.source = &source;
        record.width = width;
        record.height = height;
        record.method = method;
        EXPECT_SUCCESS(api().vcResampleInit(&record));
    }
    ~Record() { api().vcResampleEnd(&record); }
    Record(const Record &) = delete;
    Record &operator=(const Record &) = delete;

    VCRESAMPLE record{};
};

// Noise, or black and white.
Bytes some_frame(Random &random, std::size_t bytes);

class FrameTest : public ResampleTest {
protected:
    // Makes the call on such frames and compares every byte, the header and the reports.
    static testing::AssertionResult agrees(const FrameCall &call, const Bytes &source,
                                           bool at_end = true);
    // The call on random pixels.
    static testing::AssertionResult agrees(const FrameCall &call, Random &random);
    // Of whatever the calls of the test have left: tables of calls without a record and the
    // coefficient table.
    void expect_kept_tables(bool frames, bool coefficients) {
        expect_kept((frames ? 4 : 0) + (coefficients ? 1 : 0));
    }
    // A row of samples (8 bits) or words (16 bits) brought to a width.
    static Bytes row_of_bytes(const Bytes &source, int width, int method, int nearest = 0);
    static std::vector<std::uint16_t> row_of_words(const std::vector<std::uint16_t> &source,
                                                   int width, int method, int nearest = 0);
};

} // namespace q32::test
