// Errors: thrown and returned, with the numbers of the call that failed and never older ones.
#include "tests/cpp_interface/cpp_fixture.h"

#include "tests/frame/calls.h"

#include <cstring>

namespace q32::test {
namespace {

using ErrorTest = CppTest;

TEST_F(ErrorTest, NumbersAreThoseOfTheReport) {
    expect_report(thrown_by([] { static_cast<void>(Buffer::allocate(24, 32001, 10)); }),
                  "buf32Alloc", {5402, 0, 4, 71});
    expect_report(Buffer::allocate<nothrow>(24, 10, 32001).error(), "buf32Alloc", {5403, 0, 4, 72});
    expect_report(Buffer::allocate<nothrow>(65, 10, 10).error(), "buf32Alloc", {3200, 0, 4, 7});
}

TEST_F(ErrorTest, WhatHasFunctionSentenceAndNumbers) {
    frame::set_text(5402, "The image is too wide.");
    try {
        const Buffer image = Buffer::allocate(24, 32001, 10);
        ADD_FAILURE();
    } catch (const std::exception &error) {
        EXPECT_STREQ(error.what(), "buf32Alloc: The image is too wide. "
                                   "(message 5402, severity 0, module 4, point 71)");
    }
    const Result<Buffer> image = Buffer::allocate<nothrow>(24, 32001, 10);
    EXPECT_STREQ(image.error().text(), "The image is too wide.");
    frame::forget_reports();
}

TEST_F(ErrorTest, WhatOfAFailureWithoutAReport) {
    const Error error(Buffer().info<nothrow>().error());
    EXPECT_STREQ(error.what(), "buf32GetInfo: The library gives no reason.");
}

TEST_F(ErrorTest, LongTextIsCut) {
    frame::set_text(5402, std::string(500, 'a'));
    const Error error(Buffer::allocate<nothrow>(24, 32001, 10).error());
    EXPECT_EQ(std::strlen(error.report().text()), 255u);
    EXPECT_TRUE(std::string(error.what()).ends_with("point 71)"));
    frame::forget_reports();
}

// --- results ----------------------------------------------------------------------------------

TEST_F(ErrorTest, ResultHoldsTheValue) {
    Result<Buffer> made = Buffer::allocate<nothrow>(24, 10, 20);
    ASSERT_TRUE(made.has_value() && made);
    EXPECT_EQ(made->size().height, 20);
    EXPECT_EQ((*made).size().width, 10);
    EXPECT_EQ(made.value().get(), made->get());
    const Buffer image = std::move(made).value();
    EXPECT_EQ(live_buffers(), 1);
    EXPECT_TRUE(image);
}

TEST_F(ErrorTest, ValueOfAFailureThrows) {
    const Result<Buffer> refused = Buffer::allocate<nothrow>(24, 0, 20);
    EXPECT_FALSE(refused);
    expect_report(thrown_by([&] { static_cast<void>(refused.value()); }), "buf32Alloc",
                  {3200, 0, 4, 7});
    const Result<void> failed = Buffer().set_height<nothrow>(1);
    expect_unreported(thrown_by([&] { failed.value(); }), "buf32ReAlloc");
    const Buffer image = Buffer::allocate(8, 1, 1);
    const Result<BufferSize> size = image.size<nothrow>();
    EXPECT_EQ(size.value().width, 1);
}

// --- older reports ----------------------------------------------------------------------------

TEST_F(ErrorTest, OlderReportIsNotTaken) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    report_something_older();
    expect_unreported(image.merge<nothrow>(0, 0, BufferRef(), Rect{0, 0, 10, 10}, 1).error(),
                      "i32MergeBufToBuf");
    report_something_older();
    expect_unreported(image.copy_into<nothrow>({0, 0, 1, 1}, BufferRef()).error(), "buf32GetBuf");
    report_something_older();
    expect_unreported(image.duplicate_into<nothrow>(BufferRef()).error(), "buf32DupBuf");
    report_something_older();
    expect_unreported(image.resample_into<nothrow>(BufferRef(), 1).error(), "q32BufferResampleEx");
    report_something_older();
    expect_unreported(BufferRef().info<nothrow>().error(), "buf32GetInfo");
    report_something_older();
    expect_unreported(merge_run<nothrow>({}, {}, {}, {}, 3, 1, 1).error(), "i32Merge");
    EXPECT_EQ(live_buffers(), 1);
}

// A row of 5-6-5 words is staged; without memory for that the call fails without a report.
TEST_F(ErrorTest, CallThatHasFailedIsMadeAgain) {
    const Buffer image = Buffer::allocate(16, 10, 10);
    const Lock lock = image.lock(BUF32_WRITE);
    unsigned char row[30] = {};
    {
        const frame::FailingCall once("GlobalAlloc", 1);
        lock.line(0, BUF32_LINE_READ_565, row);
        EXPECT_TRUE(once.happened());
    }
    report_something_older();
    const frame::FailingCall always("GlobalAlloc", 1, frame::FailingCall::from_there_on);
    expect_unreported(thrown_by([&] { lock.line(0, BUF32_LINE_READ_565, row); }), "buf32Line");
}

TEST_F(ErrorTest, SuccessLeavesTheReportsOfOthers) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    const Lock lock = image.lock(BUF32_READ);
    report_something_older();
    unsigned char row[10] = {};
    lock.read_row(0, row);
    expect_reports({{4026, 1, 3, 6}});
}

// --- any function -----------------------------------------------------------------------------

TEST_F(ErrorTest, CallMakesErrorsOfAnyFunction) {
    unsigned char pixels[6] = {};
    const unsigned char colour[] = {1, 2, 3};
    EXPECT_EQ(q32::call(mem32Fill, pixels, colour, 3, 2), 1);
    EXPECT_EQ(pixels[5], 3);
    expect_report(thrown_by([&] { q32::call(mem32Fill, pixels, colour, 5, 2); }), "the call",
                  {3200, 0, 7, 4});
    report_something_older();
    expect_unreported(q32::call<nothrow>(disp32GetDevInfo, nullptr).error(), "the call");
    const Buffer image = Buffer::allocate(8, 1, 1);
    EXPECT_EQ(q32::call(buf32PointAddr, image.get(), 0, 0), image.pixel_address(0, 0));
}

// --- each function of buffers -----------------------------------------------------------------

TEST_F(ErrorTest, RectanglesAndCopies) {
    const Buffer image = Buffer::allocate(8, 10, 10), deep = Buffer::allocate(24, 10, 10);
    unsigned char block[100] = {};
    const Rect outside = {20, 20, 5, 5};
    expect_report(thrown_by([&] { image.read(outside, block); }), "buf32GetMem", {3200, 1, 3, 13});
    expect_report(image.read<nothrow>({0, 0, 1, 1}, {}).error(), "buf32GetMem", {3200, 0, 4, 6});
    expect_report(image.write<nothrow>(outside, block).error(), "buf32MergeMem", {3200, 1, 3, 14});
    expect_unreported(image.read<nothrow>({0, 0, 5, 5}, block, {}).error(), "buf32GetMemWithBC");
    expect_report(image.copy_into<nothrow>({0, 0, 5, 5}, deep).error(), "buf32GetBuf",
                  {3200, 1, 4, 18});
    expect_report(image.copy_to<nothrow>({0, 0, 5, 5}, deep, 1, 1).error(), "buf32MergeBuf",
                  {3200, 1, 4, 18});
    expect_report(image.duplicate_into<nothrow>(deep).error(), "buf32DupBuf", {4026, 1, 3, 7});
    expect_report(image.fill<nothrow>({}).error(), "buf32FillOneColor", {3200, 0, 4, 6});
    expect_report(image.fill_pattern<nothrow>({0, 0, block}).error(), "buf32FillPattern",
                  {3200, 0, 70, 22});
    expect_report(image.set_height<nothrow>(5).error(), "buf32ReAlloc", {3200, 0, 4, 11});
    expect_report(image.resample<nothrow>(0, 5, RESAMPLE_BILINEAR).error(), "q32BufferResampleEx",
                  {3200, 1, 8, 14});
    expect_report(BufferRef().pixel_address<nothrow>(0, 0).error(), "buf32PointAddr",
                  {3200, 1, 4, 181});
}

TEST_F(ErrorTest, PixelsGoWhereTheyShould) {
    const Buffer image = Buffer::allocate(8, 10, 10);
    const unsigned char grey[] = {9};
    image.fill(grey);
    const unsigned char two[] = {1, 2};
    image.write({3, 4, 2, 1}, two);
    const Buffer part = image.copy({3, 4, 2, 2});
    EXPECT_EQ(part.size().width, 2);
    unsigned char back[4] = {};
    part.read({0, 0, 2, 2}, back);
    EXPECT_EQ(std::vector(back, back + 4), (std::vector<unsigned char>{1, 2, 9, 9}));
    image.read({9, 9, 2, 2}, back, two);
    EXPECT_EQ(std::vector(back, back + 4), (std::vector<unsigned char>{9, 1, 1, 1}));
    part.copy_to({0, 0, 1, 1}, image, 0, 0);
    part.copy_into({1, 0, 1, 1}, part);
    const Buffer same = image.duplicate(), third = Buffer::allocate(8, 10, 10);
    same.duplicate_into(third);
    third.read({0, 0, 2, 1}, back);
    EXPECT_EQ(back[0], 1);
    const Buffer mask = Buffer::of_one_colour(8, 10, 10, grey);
    third.merge(0, 0, mask, image, {0, 0, 10, 10}, MERGE_NORMAL, 0);
    third.merge(0, 0, image, {0, 0, 10, 10}, MERGE_DIFFERENCE);
    third.read({0, 0, 2, 1}, back);
    EXPECT_EQ(back[0], 0);
}

} // namespace
} // namespace q32::test
