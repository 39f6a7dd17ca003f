// Frames as calls and as the model see them.
#include "tests/resample_frames/frame_fixture.h"

#include <algorithm>
#include <optional>

namespace q32::test {
namespace {

using model::Axis;
using model::Image;
using model::Units;

// Packed pixels of a padded frame.
Image pixels_of(const Bytes &frame, int width, int height, int bits) {
    Image image(width, height, std::size_t(bits / 8));
    for (int y = 0; y < height; ++y)
        std::memcpy(image.bytes.data() + std::size_t(y) * image.row_bytes(),
                    frame.data() + std::size_t(y) * frame_stride(width, bits), image.row_bytes());
    return image;
}

Method method_of(const FrameCall &call) {
    if (call.nearest == 1 || call.method == RESAMPLE_NEAREST)
        return Method::nearest;
    return call.method == RESAMPLE_BILINEAR ? Method::bilinear : Method::bicubic;
}

} // namespace

std::ostream &operator<<(std::ostream &out, const FrameCall &call) {
    out << call.width << " x " << call.height << " x " << call.bits << " to " << call.to_width
        << " x " << call.to_height << ", method " << call.method << ", nearest " << call.nearest;
    if (call.record)
        out << ", record of method " << call.record_method;
    return out;
}

std::size_t frame_stride(int width, int bits) {
    return (std::size_t(width) * std::size_t(bits / 8) + 3) / 4 * 4;
}

std::size_t frame_bytes(int width, int height, int bits) {
    return frame_stride(width, bits) * std::size_t(height);
}

Bytes resampled_frame(const FrameCall &call, const Bytes &source, const Bytes &destination) {
    const int maker = call.record ? call.record_method : call.method;
    const Units units = maker == RESAMPLE_BICUBIC ? Units::of_256 : Units::of_65536;
    return resampled_frame(call, model::table_axis(call.to_width, call.width, units),
                           model::table_axis(call.to_height, call.height, units), source,
                           destination);
}

Bytes resampled_frame(const FrameCall &call, const Axis &columns, const Axis &rows,
                      const Bytes &source, const Bytes &destination) {
    const Method method = method_of(call);
    Axis across = columns, down = rows;
    // Bicubic wants 8 bits: the upper ones of 16, which all methods but its own have.
    if (method == Method::bicubic && call.method != RESAMPLE_BICUBIC)
        for (Axis *axis : {&across, &down})
            for (std::int32_t &fraction : axis->fraction)
                fraction >>= 8;
    const Image from = pixels_of(source, call.width, call.height, call.bits);
    // Words that the call is not told to copy lose their highest bit, even when they are copied.
    const bool colours = call.bits == 16 && call.method != RESAMPLE_NEAREST;
    const Image to = colours ? narrowed(resampled(method, widened(from), across, down))
                             : resampled(method, from, across, down);
    Bytes result = destination;
    for (int y = 0; y < call.to_height; ++y)
        std::memcpy(result.data() + std::size_t(y) * frame_stride(call.to_width, call.bits),
                    to.bytes.data() + std::size_t(y) * to.row_bytes(), to.row_bytes());
    return result;
}

// --- memory ----------------------------------------------------------------------------------

BITMAPINFOHEADER header_of(int width, int height, int bits) {
    BITMAPINFOHEADER header;
    std::memset(&header, 0xA5, sizeof header); // nothing else is looked at
    header.biWidth = width;
    header.biHeight = height;
    header.biBitCount = WORD(bits);
    return header;
}

Bytes some_frame(Random &random, std::size_t bytes) {
    Bytes frame(bytes);
    random.fill(frame);
    if (random.below(3) == 0)
        for (std::uint8_t &byte : frame)
            byte = byte < 128 ? 0 : 255;
    return frame;
}

// --- checked calls ---------------------------------------------------------------------------

testing::AssertionResult FrameTest::agrees(const FrameCall &call, const Bytes &source,
                                           bool at_end) {
    BITMAPINFOHEADER header = header_of(call.width, call.height, call.bits);
    const BITMAPINFOHEADER header_before = header;
    FencedFrame from(source, at_end);
    from.protect();
    Bytes start(frame_bytes(call.to_width, call.to_height, call.bits));
    Random{1, start.size()}.fill(start);
    const FencedFrame to(start, at_end);
    std::optional<Record> record;
    if (call.record)
        record.emplace(header, call.to_width, call.to_height, call.record_method);
    const VCRESAMPLE record_before = record ? record->record : VCRESAMPLE{};

    frame::forget_reports();
    const int result = call.record ? api().vcResampleEx(call.nearest, from.data(), &header,
                                                        to.data(), call.to_width, call.to_height,
                                                        call.method, &record->record)
                                   : api().vcResample(call.nearest, from.data(), &header, to.data(),
                                                      call.to_width, call.to_height, call.method);
    const auto failure = [&] { return testing::AssertionFailure() << call << ": "; };
    if (result != 1)
        return failure() << "result " << result;
    if (!frame::reports().empty())
        return failure() << "reported " << testing::PrintToString(frame::reports());
    if (std::memcmp(&header, &header_before, sizeof header) != 0)
        return failure() << "the header has changed, bit count " << header.biBitCount;
    if (record && std::memcmp(&record->record, &record_before, sizeof record_before) != 0)
        return failure() << "the record has changed";
    const std::string difference = to.difference(resampled_frame(call, source, start));
    return difference.empty() ? testing::AssertionSuccess() : failure() << difference;
}

testing::AssertionResult FrameTest::agrees(const FrameCall &call, Random &random) {
    const Bytes source = some_frame(random, frame_bytes(call.width, call.height, call.bits));
    return agrees(call, source, random.below(2) == 0);
}

Bytes FrameTest::row_of_bytes(const Bytes &source, int width, int method, int nearest) {
    BITMAPINFOHEADER header = header_of(int(source.size()), 1, 8);
    Bytes padded = source;
    padded.resize(frame_stride(header.biWidth, 8));
    Bytes result(frame_stride(width, 8), 0xEE);
    EXPECT_SUCCESS(
        api().vcResample(nearest, padded.data(), &header, result.data(), width, 1, method));
    result.resize(std::size_t(width));
    return result;
}

std::vector<std::uint16_t> FrameTest::row_of_words(const std::vector<std::uint16_t> &source,
                                                   int width, int method, int nearest) {
    BITMAPINFOHEADER header = header_of(int(source.size()), 1, 16);
    std::vector<std::uint16_t> padded = source;
    padded.resize(padded.size() + 1);
    std::vector<std::uint16_t> result(std::size_t(width) + 1, 0xEEEE);
    EXPECT_SUCCESS(
        api().vcResample(nearest, padded.data(), &header, result.data(), width, 1, method));
    EXPECT_EQ(header.biBitCount, 16);
    result.resize(std::size_t(width));
    return result;
}

} // namespace q32::test
