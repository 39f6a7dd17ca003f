// Fills that get no memory for what they make: no block, or no copy of the pattern. The storage has
// gone by then; what the buffer is left with, and that nothing else is left behind.
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class FillWithoutMemory : public BufferTest {};

// The storage is given up before the block is asked for: without a block there is neither, and the
// pixels have gone. The buffer can be filled again.
TEST_F(FillWithoutMemory, OneColour) {
    for (const Start &start : starts()) {
        if (start.type == BUF32_ONE_COLOUR)
            continue; // needs no block
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 2);
        const frame::Census nothing = frame::Census::now();
        auto buffer = start.make(24, 150, 140, random);
        const HBUF32 handle = *buffer;
        Picture picture = picture_of(handle, start, 24, 150, 140);
        {
            FailingCall block("VirtualAlloc", 1, FailingCall::from_there_on);
            EXPECT_EQ(api().buf32FillOneColor(handle, colour), 0);
            EXPECT_EQ(block.calls(), 1);
        }
        expect_report(no_block);
        expect_given_up(handle, start, picture.geometry);
        if (start.type == BUF32_PATTERN) {
            EXPECT_EQ(word(handle, field_external_data), 0u); // released before all else
        }
        EXPECT_EQ(frame::Census::now().runtime_blocks, nothing.runtime_blocks);
        EXPECT_EQ(frame::Census::now().reservations, nothing.reservations);
        EXPECT_EQ(frame::Census::now().views, nothing.views);
        EXPECT_EQ(frame::Census::now().files, nothing.files);
        EXPECT_EQ(frame::Census::now().global_blocks, nothing.global_blocks + 1); // the record
        expect_what_is_left(picture, start);
        EXPECT_SUCCESS(api().buf32FillOneColor(handle, colour));
        picture.paint(colour);
        expect_filled_with(picture, colour);
        expect_read_everywhere(picture);
        buffer.reset();
        EXPECT_EQ(frame::Census::now(), nothing);
    }
}

// The storage is given up before the block is asked for, and the block before the pattern is
// copied: without either the pixels have gone, and so has the block. A colour or a pattern that was
// there before is still in the record, but for the pattern that was being renewed, which may be.
TEST_F(FillWithoutMemory, Pattern) {
    for (const Start &start : starts())
        for (const Loss &loss : losses_of(start)) {
            SCOPED_TRACE(std::string(start.name) + ", " + loss.name);
            Random random(test_seed(), 7);
            const frame::Census nothing = frame::Census::now();
            auto buffer = start.make(24, 150, 140, random);
            const HBUF32 handle = *buffer;
            Picture picture = picture_shown_by(handle, Geometry(150, 140, 24, start.type));
            const auto size = word(handle, field_colour);
            EXPECT_TRUE(loss.take(handle));
            expect_given_up(handle, start, picture.geometry);
            const bool has_copy =
                start.type == BUF32_PATTERN && word(handle, field_external_data) != 0;
            if (has_copy) {
                EXPECT_EQ(word(handle, field_colour), size);
            }
            EXPECT_EQ(frame::Census::now().runtime_blocks,
                      nothing.runtime_blocks + (has_copy ? 1 : 0));
            EXPECT_EQ(frame::Census::now().reservations, nothing.reservations);
            EXPECT_EQ(frame::Census::now().views, nothing.views);
            EXPECT_EQ(frame::Census::now().files, nothing.files);
            EXPECT_EQ(frame::Census::now().global_blocks, nothing.global_blocks + 1);
            expect_what_is_left(picture, start);
            const Pattern pattern(7, 5, 24, random);
            fill_with(picture, pattern);
            expect_filled_with(picture, pattern);
            expect_read_everywhere(picture);
            buffer.reset();
            EXPECT_EQ(frame::Census::now(), nothing);
        }
}

// A pattern that was there before is not lost to a block that cannot be had: its copy is renewed
// after that.
TEST_F(FillWithoutMemory, ThePatternBeforeStaysWithoutABlock) {
    for (const Start &start : starts()) {
        if (start.type != BUF32_PATTERN)
            continue;
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 9);
        const auto buffer = start.make(24, 150, 140, random);
        const Picture picture = picture_shown_by(*buffer, Geometry(150, 140, 24, start.type));
        const uintptr_t copy = word(*buffer, field_external_data);
        const Pattern other(9, 4, 24, random);
        const BUF32PATTERN descriptor = other.descriptor();
        {
            const NoBlocks none;
            EXPECT_EQ(api().buf32FillPattern(*buffer, &descriptor), 0);
            expect_report(no_block);
        }
        EXPECT_EQ(word(*buffer, field_external_data), copy);
        expect_read_everywhere(picture);
    }
}

// Pixels in the storage that is given up must be copied before it goes; what fails then is reported
// as ever, and nothing stays behind.
TEST_F(FillWithoutMemory, PatternFromItsOwnPixels) {
    for (const Start &start : starts())
        for (bool without_copy : {false, true}) {
            SCOPED_TRACE(testing::Message() << start.name << ' ' << without_copy);
            Random random(test_seed(), 10);
            const frame::Census nothing = frame::Census::now();
            {
                const auto buffer = start.make(24, 150, 140, random);
                Picture picture = picture_of(*buffer, start, 24, 150, 140);
                void *base = nullptr;
                ASSERT_EQ(api().buf32Lock(*buffer, BUF32_READ, &base), 1);
                ASSERT_EQ(api().buf32Unlock(*buffer), 1);
                const BUF32PATTERN own{7, 5, static_cast<const uint8_t *>(base) + 100};
                const auto fails = [&](const Failure &failure) {
                    EXPECT_EQ(api().buf32FillPattern(*buffer, &own), 0);
                    expect_report(failure);
                };
                if (without_copy) {
                    FailingCall copy("malloc", 1, FailingCall::from_there_on);
                    fails(no_copy);
                } else {
                    const NoBlocks none;
                    fails(no_block);
                    expect_given_up(*buffer, start, picture.geometry);
                }
                EXPECT_EQ(word(*buffer, field_type), start.type);
                const Pattern pattern(7, 5, 24, random);
                fill_with(picture, pattern);
                expect_filled_with(picture, pattern);
                expect_read_everywhere(picture);
            }
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(mapped_bytes(), 0u);
            EXPECT_EQ(frame::Census::now(), nothing);
        }
}

// The same from the copy of the pattern that is to be renewed.
TEST_F(FillWithoutMemory, PatternFromItsOwnCopy) {
    for (bool with_block : {false, true})
        for (bool without_copy : {false, true}) {
            SCOPED_TRACE(testing::Message() << with_block << ' ' << without_copy);
            Random random(test_seed(), 11);
            const frame::Census nothing = frame::Census::now();
            {
                const Pattern before(7, 5, 24, random);
                const BUF32PATTERN descriptor = before.descriptor();
                Buffer buffer(24, 150, 140, BUF32_PATTERN, &descriptor);
                Picture picture = picture_beside(buffer);
                if (with_block)
                    fill_with(picture, before);
                const BUF32PATTERN part{
                    7, 2, reinterpret_cast<const void *>(word(buffer, field_external_data))};
                if (without_copy) {
                    FailingCall copy("malloc", 1, FailingCall::from_there_on);
                    EXPECT_EQ(api().buf32FillPattern(buffer, &part), 0);
                    expect_report(no_copy);
                } else {
                    const NoBlocks none;
                    EXPECT_EQ(api().buf32FillPattern(buffer, &part), 0);
                    expect_report(no_block);
                }
                EXPECT_EQ(word(buffer, field_storage), 0u);
                EXPECT_EQ(memory_in_use(), 0u);
                picture.paint(before);
                if (word(buffer, field_external_data) == 0) {
                    EXPECT_TRUE(without_copy);
                    picture.image = PlainImage(picture.geometry);
                }
                expect_read_everywhere(picture);
                const Pattern pattern(3, 4, 24, random);
                fill_with(picture, pattern);
                expect_filled_with(picture, pattern);
            }
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(frame::Census::now(), nothing);
        }
}

} // namespace
} // namespace q32::test
