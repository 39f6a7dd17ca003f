// buf32FillPattern: from every kind of buffer, at every depth, to a block of the pattern's rows.
#include "tests/frame/small_memory.h"
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class PatternFill : public BufferTest {};

TEST_F(PatternFill, FromEveryStartAndAtEveryDepth) {
    for (const Start &start : starts())
        for (int bits : {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 40, 48, 64}) {
            SCOPED_TRACE(std::string(start.name) + ", " + std::to_string(bits) + " bits");
            Random random(test_seed(), uint64_t(bits));
            const auto buffer = start.make(bits, 150, 140, random);
            Picture picture = picture_of(*buffer, start, bits, 150, 140);
            const std::string swap_file = swap_file_of(*buffer);
            const int runtime_blocks = frame::Census::now().runtime_blocks;
            const Pattern pattern(7, 5, bits, random);
            fill_with(picture, pattern);
            expect_filled_with(picture, pattern);
            EXPECT_EQ(frame::Census::now().runtime_blocks,
                      runtime_blocks + (start.type == BUF32_PATTERN ? 0 : 1));
            EXPECT_FALSE(!swap_file.empty() && file_exists(swap_file));
            expect_no_swap_files();
            expect_read_everywhere(picture);
            if (HasFailure())
                return;
        }
}

// The block is the larger of a cell and the pattern's rows, whatever the image's height.
TEST_F(PatternFill, OfSeveralSizes) {
    for (const auto &[width, height] :
         {std::pair{1, 1}, {7, 3}, {128, 128}, {300, 1}, {5000, 3}, {3, 5000}, {300, 260}})
        for (const auto &[pattern_width, pattern_height] :
             {std::pair{1, 1}, {3, 200}, {400, 2}, {1, 300}, {300, 260}})
            for (uint32_t type : {BUF32_TILED, BUF32_LINEAR})
                for (int bits : {1, 8, 24}) {
                    SCOPED_TRACE(testing::Message() << size_text(bits, width, height) << " with "
                                                    << pattern_width << " x " << pattern_height);
                    Random random(test_seed(), uint64_t(width));
                    Buffer buffer(bits, width, height, type);
                    Picture picture = picture_beside(buffer);
                    const Pattern pattern(pattern_width, pattern_height, bits, random);
                    fill_with(picture, pattern);
                    expect_filled_with(picture, pattern);
                    expect_image(picture);
                }
}

TEST_F(PatternFill, ReadsNothingBehindThePattern) {
    for (int bits : {1, 3, 8, 12, 24, 64}) {
        SCOPED_TRACE(bits);
        Random random(test_seed(), 1);
        const Pattern pattern(5, 3, bits, random);
        FencedBlock pixels(pattern.pixels.size());
        std::memcpy(pixels.data(), pattern.pixels.data(), pixels.size());
        const BUF32PATTERN descriptor{5, 3, pixels.data()};
        Buffer filled(bits, 20, 10), made(bits, 20, 10, BUF32_PATTERN, &descriptor);
        EXPECT_SUCCESS(api().buf32FillPattern(filled, &descriptor));
        std::memset(pixels.data(), 0, pixels.size()); // copied
        for (HBUF32 buffer : {HBUF32(filled), HBUF32(made)}) {
            Picture picture = picture_beside(buffer);
            picture.paint(pattern);
            expect_image(picture);
        }
    }
}

TEST_F(PatternFill, TakesOneBlockAtOnce) {
    Random random(test_seed(), 2);
    const Pattern pattern(5, 200, 24, random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    Buffer buffer(24, 300, 200);
    ObservedCalls calls;
    ASSERT_EQ(api().buf32FillPattern(buffer, &descriptor), 1);
    ASSERT_EQ(calls.virtual_blocks().size(), 1u);
    EXPECT_EQ(calls.virtual_blocks()[0].kind, DWORD(MEM_RESERVE | MEM_COMMIT));
    EXPECT_EQ(calls.virtual_blocks()[0].protection, DWORD(PAGE_READWRITE));
    EXPECT_EQ(calls.virtual_blocks()[0].bytes, 900u * 200);
    EXPECT_EQ(calls.virtual_blocks()[0].address, word(buffer, field_storage));
}

// One pattern after the other, and colours between them: what is in use is that of the last.
TEST_F(PatternFill, Again) {
    for (int bits : {1, 4, 8, 24}) {
        SCOPED_TRACE(bits);
        Random random(test_seed(), uint64_t(bits));
        Buffer buffer(bits, 150, 140);
        Picture picture = picture_beside(buffer);
        const int runtime_blocks = frame::Census::now().runtime_blocks;
        const int reservations = frame::Census::now().reservations;
        for (int round = 0; round < 12; ++round) {
            const Pattern pattern(between(random, 1, 20), between(random, 1, 400), bits, random);
            fill_with(picture, pattern);
            expect_filled_with(picture, pattern);
            EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks + 1);
            EXPECT_EQ(frame::Census::now().reservations, reservations);
            expect_read_everywhere(picture);
            if (round % 3 == 2) {
                EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
                picture.paint(colour);
                expect_filled_with(picture, colour);
                EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks);
                expect_read_everywhere(picture);
            }
        }
    }
}

// From the record's own copy, which a caller finds in the information block.
TEST_F(PatternFill, FromItsOwnCopy) {
    for (int bits : {1, 3, 8, 24})
        for (bool filled : {false, true}) {
            SCOPED_TRACE(testing::Message() << bits << ' ' << filled);
            Random random(test_seed(), 3);
            const Pattern pattern(7, 5, bits, random);
            const BUF32PATTERN descriptor = pattern.descriptor();
            Buffer buffer(bits, 150, 140, BUF32_PATTERN, &descriptor);
            Picture picture = picture_beside(buffer);
            if (filled)
                fill_with(picture, pattern);
            for (int round = 0; round < 3; ++round) {
                BUF32INFO info;
                ASSERT_EQ(api().buf32GetInfo(buffer, &info), 1);
                const BUF32PATTERN own{uint16_t(info.colour[0]), uint16_t(info.colour[0] >> 16),
                                       reinterpret_cast<const void *>(info.colour[1])};
                const int runtime_blocks = frame::Census::now().runtime_blocks;
                EXPECT_SUCCESS(api().buf32FillPattern(buffer, &own));
                EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks);
                picture.paint(pattern);
                expect_filled_with(picture, pattern);
                expect_read_everywhere(picture);
            }
            // And less of it.
            BUF32INFO info;
            ASSERT_EQ(api().buf32GetInfo(buffer, &info), 1);
            const BUF32PATTERN part{7, 2, reinterpret_cast<const void *>(info.colour[1])};
            EXPECT_SUCCESS(api().buf32FillPattern(buffer, &part));
            Pattern top = pattern;
            top.height = 2;
            top.pixels.resize(top.row_bytes() * 2);
            picture.paint(top);
            expect_filled_with(picture, top);
            expect_read_everywhere(picture);
        }
}

// The pattern's pixels, and its descriptor, may lie in the storage that is given up.
TEST_F(PatternFill, FromItsOwnPixels) {
    for (const Start &start : starts()) {
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 8);
        const auto buffer = start.make(24, 150, 140, random);
        Picture picture = picture_of(*buffer, start, 24, 150, 140);
        void *base = nullptr;
        ASSERT_EQ(api().buf32Lock(*buffer, BUF32_READ, &base), 1);
        auto *storage = static_cast<uint8_t *>(base);
        const Pattern pattern(7, 5, 24, random);
        std::memcpy(storage + 100, pattern.pixels.data(), pattern.pixels.size());
        const BUF32PATTERN descriptor{7, 5, storage + 100};
        std::memcpy(storage, &descriptor, sizeof descriptor);
        EXPECT_SUCCESS(
            api().buf32FillPattern(*buffer, reinterpret_cast<const BUF32PATTERN *>(storage)));
        picture.paint(pattern);
        expect_filled_with(picture, pattern);
        expect_read_everywhere(picture);
        ASSERT_EQ(api().buf32Unlock(*buffer), 1);
    }
}

TEST_F(PatternFill, OfLockedBuffers) {
    for (const Start &start : starts()) {
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 4);
        const auto buffer = start.make(8, 150, 140, random);
        Picture picture = picture_of(*buffer, start, 8, 150, 140);
        ASSERT_EQ(api().buf32Lock(*buffer, BUF32_READ, nullptr), 1);
        ASSERT_EQ(api().buf32CellLock(*buffer, 0, nullptr, nullptr), 1);
        fill_with(picture, Pattern(7, 5, 8, random));
        EXPECT_EQ(word(*buffer, field_lock_count), 2u);
        expect_read_everywhere(picture);
        ASSERT_EQ(api().buf32Unlock(*buffer), 1);
        ASSERT_EQ(api().buf32CellUnlock(*buffer, 0), 1);
    }
}

// A fresh pattern buffer does not say one colour; a filled one does.
TEST_F(PatternFill, SetsTheOneColourFlag) {
    Random random(test_seed(), 5);
    const Pattern pattern(7, 5, 8, random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    Buffer buffer(8, 150, 140, BUF32_PATTERN, &descriptor);
    EXPECT_EQ(word(buffer, field_one_colour), 0u);
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
    EXPECT_EQ(word(buffer, field_one_colour), 0u);
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
    EXPECT_SUCCESS(api().buf32FillPattern(buffer, &descriptor));
    EXPECT_EQ(word(buffer, field_one_colour), 1u);
}

// --- what is refused -------------------------------------------------------------------------

TEST_F(PatternFill, WithoutAPatternOrABuffer) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN good{2, 2, pixels}, no_width{0, 2, pixels}, no_height{2, 0, pixels},
        no_pixels{2, 2, nullptr};
    EXPECT_REPORT(api().buf32FillPattern(0, nullptr), 3200, 0, 4, 6);
    EXPECT_SILENT_FAILURE(api().buf32FillPattern(0, &good));
    for (const Start &start : starts()) {
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 6);
        const auto buffer = start.make(8, 150, 140, random);
        Bytes record(504);
        std::memcpy(record.data(), reinterpret_cast<const void *>(HBUF32(*buffer)), record.size());
        EXPECT_REPORT(api().buf32FillPattern(*buffer, nullptr), 3200, 0, 4, 6);
        for (const BUF32PATTERN *bad : {&no_width, &no_height, &no_pixels})
            EXPECT_REPORT(api().buf32FillPattern(*buffer, bad), 3200, 0, 70, 22);
        EXPECT_TRUE(same_bytes(record, reinterpret_cast<const uint8_t *>(HBUF32(*buffer))));
    }
    forget_reports();
}

TEST_F(PatternFill, OfCallerMemory) {
    uint8_t image[100] = {1, 2, 3};
    const BUF32MEMORY memory{0, image};
    Buffer buffer(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    const BUF32PATTERN pattern{1, 1, colour}, empty{0, 1, colour};
    EXPECT_REPORT(api().buf32FillPattern(buffer, &pattern), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32FillPattern(buffer, &empty), 3200, 0, 4, 6);
    EXPECT_EQ(image[0], 1);
    forget_reports();
}

// Sizes that need more than 32 bits fail like memory that cannot be had, and nothing is read.
TEST_F(PatternFill, OfSizesBeyond32Bits) {
    const frame::SmallMemory small;
    FencedBlock pixel(8);
    const BUF32PATTERN whole{65535, 65535, pixel.data()}, // 34 GB
        wrapping{65535, 8193, pixel.data()},              // 4 GB and a little
        high{1, 65535, pixel.data()};
    {
        HBUF32 handle = 0x5A5A5A5A;
        for (const BUF32PATTERN *pattern : {&whole, &wrapping}) {
            EXPECT_REPORT(api().buf32Alloc(&handle, 64, 10, 10, BUF32_PATTERN, pattern), 1001, 0, 4,
                          10);
            EXPECT_EQ(handle, 0x5A5A5A5Au);
        }
    }
    for (const BUF32PATTERN *pattern : {&whole, &wrapping}) {
        Buffer buffer(64, 10, 10);
        EXPECT_REPORT(api().buf32FillPattern(buffer, pattern), 1001, 1, 70, 23);
        EXPECT_EQ(word(buffer, field_type), BUF32_TILED);
        EXPECT_EQ(word(buffer, field_storage), 0u);
        EXPECT_EQ(memory_in_use(), 0u);
    }
    // The copy is small, the block of 65535 rows of 256000 bytes is not.
    const Bytes column(65535 * 8, 0x42);
    const BUF32PATTERN tall{high.width, high.height, column.data()};
    Buffer wide(64, 32000, 1, BUF32_ONE_COLOUR, colour);
    EXPECT_REPORT(api().buf32FillPattern(wide, &tall), 1001, 1, 4, 21);
    EXPECT_EQ(word(wide, field_type), BUF32_ONE_COLOUR);
    // As a buffer of its own it needs no block, until it is locked.
    Buffer fresh(64, 32000, 1, BUF32_PATTERN, &tall);
    uint8_t memory[8] = {};
    EXPECT_SUCCESS(api().buf32GetMem(fresh, 31999, 0, 1, 1, memory));
    EXPECT_EQ(memory[7], 0x42);
    void *address = &address;
    EXPECT_REPORT(api().buf32Lock(fresh, BUF32_READ, &address), 1001, 1, 4, 21);
    EXPECT_EQ(address, nullptr);
    address = &address;
    EXPECT_REPORT(api().buf32CellLock(fresh, 0, &address, nullptr), 1001, 1, 4, 21);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(memory_in_use(), 0u);
    forget_reports();
}

TEST_F(PatternFill, AtARaisedPriority) {
    Buffer buffer(8, 300, 200);
    const BUF32PATTERN pattern{1, 1, colour};
    int seen = -100;
    frame::Replaced<frame::call::VirtualAlloc> look(
        [&](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
            seen = GetThreadPriority(GetCurrentThread());
            return VirtualAlloc(at, bytes, kind, protection);
        });
    ASSERT_EQ(api().buf32FillPattern(buffer, &pattern), 1);
    EXPECT_EQ(seen, THREAD_PRIORITY_ABOVE_NORMAL);
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
}

} // namespace
} // namespace q32::test
