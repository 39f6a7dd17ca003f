// buf32FillOneColor: from every kind of buffer, at every depth, to one block of one colour.
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class OneColourFill : public BufferTest {};

TEST_F(OneColourFill, FromEveryStartAndAtEveryDepth) {
    for (const Start &start : starts())
        for (int bits = 1; bits <= 64; ++bits) {
            if (bits > 8 && bits % 8 != 0 && bits != 12 && bits != 63)
                continue;
            SCOPED_TRACE(std::string(start.name) + ", " + std::to_string(bits) + " bits");
            Random random(test_seed(), uint64_t(bits));
            const auto buffer = start.make(bits, 150, 140, random);
            Picture picture = picture_of(*buffer, start, bits, 150, 140);
            const std::string swap_file = swap_file_of(*buffer);
            EXPECT_SUCCESS(api().buf32FillOneColor(*buffer, colour));
            picture.paint(colour);
            if (start.type == BUF32_ONE_COLOUR && !start.with_block) {
                EXPECT_EQ(memory_in_use(), 0u); // had none, and needs none
                EXPECT_EQ(word(*buffer, field_storage), 0u);
                EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(HBUF32(*buffer) +
                                                                     field_offset(field_colour)),
                                      colour, picture.geometry.unit_bytes()),
                          0);
            } else {
                expect_filled_with(picture, colour);
            }
            EXPECT_FALSE(!swap_file.empty() && file_exists(swap_file));
            expect_no_swap_files();
            if (bits % 8 == 0 || bits < 8) {
                expect_read_everywhere(picture);
            } else {
                expect_image(picture);
            }
            if (HasFailure())
                return;
        }
}

TEST_F(OneColourFill, OfSeveralSizes) {
    for (const auto &[width, height] :
         {std::pair{1, 1}, {7, 3}, {128, 128}, {300, 1}, {20000, 3}, {3, 20000}, {300, 260}})
        for (uint32_t type : {BUF32_TILED, BUF32_LINEAR})
            for (int bits : {1, 8, 24}) {
                SCOPED_TRACE(size_text(bits, width, height));
                Buffer buffer(bits, width, height, type);
                Picture picture = picture_beside(buffer);
                EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
                picture.paint(colour);
                expect_filled_with(picture, colour);
                if (width < 1000 && height < 1000)
                    expect_read_everywhere(picture);
                expect_image(picture);
            }
}

// Only the colour's own bytes are read, from wherever they lie.
TEST_F(OneColourFill, ReadsNothingBehindTheColour) {
    for (int bits : {1, 3, 7, 8, 12, 16, 24, 40, 48, 64}) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 20, 10);
        Picture picture = picture_beside(buffer);
        FencedBlock bytes(picture.geometry.unit_bytes());
        std::memcpy(bytes.data(), colour, bytes.size());
        EXPECT_SUCCESS(api().buf32FillOneColor(buffer, bytes.data()));
        EXPECT_SUCCESS(api().buf32FillOneColor(buffer, bytes.data())); // one colour already
        std::memset(bytes.data(), 0, bytes.size());                    // copied
        picture.paint(colour);
        expect_filled_with(picture, colour);
        expect_image(picture);
    }
}

TEST_F(OneColourFill, TakesOneBlockAtOnce) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR_MEMORY}) {
        Buffer buffer(24, 300, 200, type);
        const Picture picture = picture_beside(buffer);
        ObservedCalls calls;
        ASSERT_EQ(api().buf32FillOneColor(buffer, colour), 1);
        ASSERT_EQ(calls.virtual_blocks().size(), 1u);
        EXPECT_EQ(calls.virtual_blocks()[0].kind, DWORD(MEM_RESERVE | MEM_COMMIT));
        EXPECT_EQ(calls.virtual_blocks()[0].protection, DWORD(PAGE_READWRITE));
        EXPECT_EQ(calls.virtual_blocks()[0].bytes, size_t(picture.geometry.block_bytes()));
        EXPECT_EQ(calls.virtual_blocks()[0].address, word(buffer, field_storage));
    }
}

// What is of one colour already only changes it, in the record and in the block that it has.
TEST_F(OneColourFill, Again) {
    for (int bits : {1, 8, 24, 64}) {
        SCOPED_TRACE(bits);
        Buffer buffer(bits, 150, 140);
        Picture picture = picture_beside(buffer);
        ASSERT_EQ(api().buf32FillOneColor(buffer, colour), 1);
        const uintptr_t block = word(buffer, field_storage);
        for (int shade = 1; shade < 8; ++shade) {
            uint8_t other[8];
            for (int i = 0; i < 8; ++i)
                other[i] = uint8_t(colour[i] + shade * 31);
            ObservedCalls calls;
            EXPECT_SUCCESS(api().buf32FillOneColor(buffer, other));
            EXPECT_EQ(calls.virtual_blocks().size(), 0u);
            EXPECT_EQ(word(buffer, field_storage), block);
            picture.paint(other);
            expect_filled_with(picture, other);
            expect_read_everywhere(picture);
        }
    }
}

// To one colour and back by every way to write.
TEST_F(OneColourFill, AndWrittenAgain) {
    uint64_t number = 0;
    for (const Start &start : starts())
        for (int bits : {1, 4, 7, 8, 16, 24, 64})
            for (const WritePath &path : write_paths_to_ordinary(bits)) {
                if (!in_this_round(number++))
                    continue;
                SCOPED_TRACE(std::string(start.name) + ", " + path.name + ", " +
                             std::to_string(bits) + " bits");
                Random random(test_seed(), uint64_t(bits));
                const auto buffer = start.make(bits, 152, 140, random);
                Picture picture = picture_of(*buffer, start, bits, 152, 140);
                ASSERT_EQ(api().buf32FillOneColor(*buffer, colour), 1);
                picture.paint(colour);
                const bool file = start.to_files;
                set_memory_limit(file ? 1 : 0, 0);
                EXPECT_TRUE(path.write(picture, random));
                set_memory_limit(0, 0);
                expect_no_report();
                expect_ordinary_again(picture, file);
                expect_read_everywhere(picture);
                if (HasFailure())
                    return;
            }
}

TEST_F(OneColourFill, OfLockedBuffers) {
    for (const Start &start : starts()) {
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 1);
        const auto buffer = start.make(8, 150, 140, random);
        Picture picture = picture_of(*buffer, start, 8, 150, 140);
        ASSERT_EQ(api().buf32Lock(*buffer, BUF32_READ, nullptr), 1);
        ASSERT_EQ(api().buf32CellLock(*buffer, 0, nullptr, nullptr), 1);
        EXPECT_SUCCESS(api().buf32FillOneColor(*buffer, colour));
        EXPECT_EQ(word(*buffer, field_lock_count), 2u);
        picture.paint(colour);
        expect_read_everywhere(picture);
        ASSERT_EQ(api().buf32Unlock(*buffer), 1);
        ASSERT_EQ(api().buf32CellUnlock(*buffer, 0), 1);
    }
}

// The colour may be one of the pixels that are given up: the buffer's own, or those it shares.
TEST_F(OneColourFill, WithAColourOfItsOwnPixels) {
    for (const Start &start : starts())
        for (bool shared : {false, true}) {
            SCOPED_TRACE(testing::Message() << start.name << ' ' << shared);
            Random random(test_seed(), 3);
            const auto buffer = start.make(24, 150, 140, random);
            HBUF32 made = 0;
            if (shared) {
                ASSERT_EQ(api().buf32DupBuf(*buffer, &made), 1);
            }
            Buffer owner(made);
            for (HBUF32 filled : {made, HBUF32(*buffer)}) {
                if (filled == 0)
                    continue;
                Picture picture = picture_of(filled, start, 24, 150, 140);
                void *base = nullptr;
                ASSERT_EQ(api().buf32Lock(filled, BUF32_READ, &base), 1);
                const Bytes pixel(static_cast<uint8_t *>(base) + 30,
                                  static_cast<uint8_t *>(base) + 38);
                EXPECT_SUCCESS(
                    api().buf32FillOneColor(filled, static_cast<const uint8_t *>(base) + 30));
                picture.paint(pixel.data());
                expect_read_everywhere(picture);
                ASSERT_EQ(api().buf32Unlock(filled), 1);
            }
        }
}

// A shrunk image takes a block of its present size, and gives back what it had reserved.
TEST_F(OneColourFill, OfAShrunkImage) {
    for (bool file : {false, true}) {
        set_memory_limit(file ? 1 : 0, 0);
        Buffer buffer(8, 300, 200, BUF32_LINEAR_SHRINK);
        ASSERT_EQ(api().buf32ReAlloc(buffer, 50), 1);
        EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
        EXPECT_EQ(memory_in_use(), 300u * 50);
        EXPECT_EQ(mapped_bytes(), 0u);
        Picture picture(buffer, Geometry(300, 50, 8, BUF32_LINEAR));
        picture.paint(colour);
        expect_read_everywhere(picture);
    }
}

// --- what is refused -------------------------------------------------------------------------

TEST_F(OneColourFill, WithoutAColourOrABuffer) {
    EXPECT_REPORT(api().buf32FillOneColor(0, nullptr), 3200, 0, 4, 6);
    EXPECT_SILENT_FAILURE(api().buf32FillOneColor(0, colour));
    Buffer buffer(8, 20, 10), filled(8, 20, 10, BUF32_ONE_COLOUR, colour);
    EXPECT_REPORT(api().buf32FillOneColor(buffer, nullptr), 3200, 0, 4, 6);
    EXPECT_REPORT(api().buf32FillOneColor(filled, nullptr), 3200, 0, 4, 6);
    EXPECT_EQ(word(buffer, field_type), BUF32_TILED);
    forget_reports();
}

// Other subsystems reach the entries without the exports' check.
TEST_F(OneColourFill, ByTheEntryWithoutAColour) {
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_ONE_COLOUR}) {
        SCOPED_TRACE(type);
        Buffer buffer(8, 20, 10, type, colour);
        EXPECT_REPORT(
            entry_of<int(HBUF32, const void *)>(buffer, entry_fill_one_colour)(buffer, nullptr),
            3200, 0, 3, 5);
        EXPECT_REPORT(entry_of<int(HBUF32, const BUF32PATTERN *)>(buffer, entry_fill_pattern)(
                          buffer, nullptr),
                      3200, 0, 70, 22);
        EXPECT_EQ(word(buffer, field_type), type);
        forget_reports();
    }
}

TEST_F(OneColourFill, OfCallerMemory) {
    uint8_t image[100] = {1, 2, 3};
    const BUF32MEMORY memory{0, image};
    Buffer buffer(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    EXPECT_REPORT(api().buf32FillOneColor(buffer, colour), 5800, 0, 50, 62);
    EXPECT_REPORT(api().buf32FillOneColor(buffer, nullptr), 3200, 0, 4, 6);
    EXPECT_EQ(image[0], 1);
    EXPECT_EQ(word(buffer, field_type), BUF32_CALLER_MEMORY);
    forget_reports();
}

TEST_F(OneColourFill, AtARaisedPriority) {
    Buffer buffer(8, 300, 200);
    int seen = -100;
    frame::Replaced<frame::call::VirtualAlloc> look(
        [&](LPVOID at, SIZE_T bytes, DWORD kind, DWORD protection) {
            seen = GetThreadPriority(GetCurrentThread());
            return VirtualAlloc(at, bytes, kind, protection);
        });
    ASSERT_EQ(api().buf32FillOneColor(buffer, colour), 1);
    EXPECT_EQ(seen, THREAD_PRIORITY_ABOVE_NORMAL);
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
}

// A type with bit 0 and other bits is no one-colour buffer: it has no storage, shows nothing and
// takes nothing, until it is filled.
TEST_F(OneColourFill, OfTypesWithOtherBits) {
    for (uint32_t type : {3u, 5u, 33u, 129u, 0x80000001u}) {
        SCOPED_TRACE(type);
        Buffer buffer(24, 150, 140, type, colour);
        void *base = &base;
        EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_WRITE, &base));
        EXPECT_EQ(base, nullptr);
        uint8_t row[450] = {}, expected[450];
        EXPECT_SILENT_FAILURE(api().buf32Line(buffer, 0, BUF32_LINE_READ, row));
        EXPECT_SILENT_FAILURE(api().buf32Line(buffer, 0, BUF32_LINE_WRITE, row));
        EXPECT_SUCCESS(api().buf32Unlock(buffer));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(buffer, 0, 0, 1, 1, row));
        EXPECT_SILENT_FAILURE(api().buf32MergeMem(buffer, 0, 0, row, 1, 1));
        HBUF32 made = 0;
        EXPECT_SUCCESS(api().buf32DupBuf(buffer, &made));
        EXPECT_SILENT_FAILURE(api().buf32GetMem(made, 0, 0, 1, 1, row));
        EXPECT_SUCCESS(api().buf32Free(made));

        EXPECT_SUCCESS(api().buf32FillOneColor(buffer, colour));
        EXPECT_SUCCESS(api().buf32GetMem(buffer, 0, 139, 150, 1, row));
        for (size_t i = 0; i < sizeof expected; ++i)
            expected[i] = colour[i % 3];
        EXPECT_EQ(std::memcmp(row, expected, sizeof row), 0);
    }
}

// The largest image can be filled though it can never be written.
TEST_F(OneColourFill, OfTheLargestImage) {
    Buffer buffer(64, 32000, 32000, BUF32_ONE_COLOUR, colour);
    uint8_t other[8] = {1, 2, 3, 4, 5, 6, 7, 8}, pixel[8] = {};
    EXPECT_SUCCESS(api().buf32FillOneColor(buffer, other));
    EXPECT_EQ(api().buf32GetMem(buffer, 31999, 31999, 1, 1, pixel), 1);
    EXPECT_EQ(std::memcmp(pixel, other, 8), 0);
    EXPECT_EQ(memory_in_use(), 0u);
}

} // namespace
} // namespace q32::test
