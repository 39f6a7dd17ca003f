// Duplicates of one-colour buffers: they share nothing, and an existing destination keeps the first
// byte of its colour. Required: programs depend on it.
#include "tests/sharing/pictures.h"

namespace q32::test {
namespace {

class OneColourDuplicates : public BufferTest {};

constexpr uint8_t colour[8] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6, 0x17, 0x28},
                  other_colour[8] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
constexpr Failure types_differ{3200, 0, 2, 7}, sizes_differ{3200, 0, 2, 8},
    no_record{1001, 0, 2, 9};

Picture picture_of(HBUF32 buffer, const uint8_t *bytes) {
    Picture picture = picture_beside(buffer);
    picture.paint(bytes);
    return picture;
}

TEST_F(OneColourDuplicates, NewOnesAreTheSourceAgain) {
    for (int bits : {1, 2, 3, 4, 7, 8, 16, 24, 32, 40, 48, 56, 64})
        for (bool with_block : {false, true}) {
            SCOPED_TRACE(testing::Message() << bits << ' ' << with_block);
            Buffer source(bits, 300, 200, BUF32_ONE_COLOUR, colour);
            if (with_block) {
                ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
            }
            const size_t used = memory_in_use();
            HBUF32 made = 0;
            EXPECT_SUCCESS(api().buf32DupBuf(source, &made));
            ASSERT_NE(made, 0u);
            Buffer owner(made);
            EXPECT_EQ(memory_in_use(), used);
            EXPECT_EQ(word(made, field_lock_count), 0u);
            EXPECT_EQ(word(made, field_storage), 0u);
            EXPECT_EQ(cell_address_word(made, 0), 0u);
            EXPECT_EQ(word(made, field_previous), uint32_t(HBUF32(source)));
            EXPECT_EQ(word(made, field_next), 0u);
            EXPECT_EQ(word(source, field_next), uintptr_t(made));
            EXPECT_EQ(word(made, field_self), uintptr_t(made));
            EXPECT_EQ(word(made, field_one_colour), 1u);
            for (int field : {field_first_sharer, field_last_sharer, field_share_marker,
                              field_source, field_previous_sharer, field_next_sharer})
                EXPECT_EQ(word(made, field), 0u) << field; // nothing is shared
            for (int field = field_type; field <= field_row_bytes; ++field)
                if (field != field_lock_count && field != field_access_mode) {
                    EXPECT_EQ(word(made, field), word(source, field)) << field;
                }
            EXPECT_EQ(word(made, field_access_mode), 0u);
            for (int i = 0; i < 16; ++i)
                EXPECT_EQ(word(made, field_operations + i), word(source, field_operations + i));
            if (with_block) {
                ASSERT_EQ(api().buf32Unlock(source), 1);
            }
            const Picture picture = picture_of(made, colour);
            expect_read_everywhere(picture);
            source.free();
            expect_read_everywhere(picture);
        }
}

// Writing one of the two leaves the other alone, and a duplicate's block is its own.
TEST_F(OneColourDuplicates, ShareNothing) {
    Buffer source(24, 300, 200, BUF32_ONE_COLOUR, colour);
    ASSERT_EQ(api().buf32Lock(source, BUF32_READ, nullptr), 1);
    HBUF32 made = 0;
    ASSERT_EQ(api().buf32DupBuf(source, &made), 1);
    Buffer owner(made);
    void *of_source = nullptr, *of_made = nullptr;
    ASSERT_EQ(api().buf32Lock(source, BUF32_READ, &of_source), 1);
    ASSERT_EQ(api().buf32Lock(made, BUF32_READ, &of_made), 1);
    EXPECT_NE(of_source, of_made);
    EXPECT_EQ(memory_in_use(), 2u * 49152);
    ASSERT_EQ(api().buf32Lock(made, BUF32_WRITE, &of_made), 1);
    std::memset(of_made, 0, 300);
    EXPECT_EQ(word(source, field_type), BUF32_ONE_COLOUR);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(api().buf32Unlock(source), 1);
        EXPECT_EQ(api().buf32Unlock(made), 1);
    }
    expect_read_everywhere(picture_of(source, colour));
}

TEST_F(OneColourDuplicates, ExistingOnesKeepTheFirstByte) {
    for (int bits = 1; bits <= 64; ++bits)
        for (bool with_block : {false, true}) {
            SCOPED_TRACE(testing::Message() << bits << ' ' << with_block);
            Buffer source(bits, 300, 200, BUF32_ONE_COLOUR, colour),
                destination(bits, 300, 200, BUF32_ONE_COLOUR, other_colour);
            if (with_block) {
                ASSERT_EQ(api().buf32Lock(destination, BUF32_READ, nullptr), 1);
            }
            const size_t used = memory_in_use();
            HBUF32 handle = destination;
            EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
            EXPECT_EQ(handle, HBUF32(destination));
            EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
            EXPECT_EQ(memory_in_use(), used);
            EXPECT_EQ(word(destination, field_lock_count), with_block ? 1u : 0u);
            BUF32INFO info;
            ASSERT_EQ(api().buf32GetInfo(destination, &info), 1);
            const size_t bytes = size_t(bits + 7) / 8;
            uint8_t expected[8];
            std::copy(colour, colour + 8, expected);
            expected[0] = other_colour[0];
            EXPECT_EQ(std::memcmp(info.colour, expected, bytes), 0);
            EXPECT_EQ(info.one_colour, 1);
            EXPECT_EQ(info.type, BUF32_ONE_COLOUR);
            if (bits % 8 == 0 || bits < 8)
                expect_read_everywhere(picture_of(destination, expected));
            if (with_block) {
                ASSERT_EQ(api().buf32Unlock(destination), 1);
            }
            EXPECT_EQ(word(source, field_colour) & 0xFF, 0xA1u);
        }
}

TEST_F(OneColourDuplicates, OfAnotherType) {
    Buffer source(8, 20, 10, BUF32_ONE_COLOUR, colour);
    const BUF32PATTERN pattern{1, 1, colour};
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK,
                          BUF32_TILED_FILE, BUF32_PATTERN}) {
        SCOPED_TRACE(type);
        Buffer destination(8, 21, 10, type, &pattern); // the type is looked at first
        HBUF32 handle = destination;
        EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
        expect_report(types_differ);
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(word(destination, field_type), type);
        EXPECT_EQ(word(destination, field_one_colour), 0u);
    }
}

TEST_F(OneColourDuplicates, OfAnotherSizeOrDepth) {
    Buffer source(8, 20, 10, BUF32_ONE_COLOUR, colour);
    const struct {
        int bits, width, height;
    } others[] = {{8, 21, 10}, {8, 20, 11}, {16, 20, 10}, {7, 20, 10}, {8, 10, 20}};
    for (const auto &other : others) {
        Buffer destination(other.bits, other.width, other.height, BUF32_ONE_COLOUR, other_colour);
        HBUF32 handle = destination;
        EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
        expect_report(sizes_differ);
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(word(destination, field_colour) & 0xFF, 0x11u);
    }
}

TEST_F(OneColourDuplicates, WithoutARecord) {
    Buffer source(24, 300, 200, BUF32_ONE_COLOUR, colour);
    const frame::Census before = frame::Census::now();
    for (int n = 1;; ++n) {
        HBUF32 made = 0;
        FailingCall record("GlobalAlloc", n);
        const bool done = api().buf32DupBuf(source, &made) == 1;
        EXPECT_EQ(done, !record.happened());
        EXPECT_EQ(made != 0, done);
        if (done) {
            EXPECT_GT(n, 1);
            EXPECT_EQ(api().buf32Free(made), 1);
            break;
        }
        expect_report(no_record);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
        EXPECT_EQ(word(source, field_next), 0u);
        EXPECT_EQ(frame::Census::now(), before);
    }
}

// Nothing stands in the way of this, and nothing changes.
TEST_F(OneColourDuplicates, IntoItself) {
    Buffer source(24, 150, 140, BUF32_ONE_COLOUR, colour);
    HBUF32 handle = source;
    EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
    EXPECT_EQ(handle, HBUF32(source));
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
    expect_read_everywhere(picture_of(source, colour));
}

TEST_F(OneColourDuplicates, WholeGetBufDuplicates) {
    Buffer source(24, 150, 140, BUF32_ONE_COLOUR, colour),
        given(24, 150, 140, BUF32_ONE_COLOUR, other_colour);
    HBUF32 made = 0, destination = given;
    ObservedCalls calls;
    EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &made));
    EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &destination));
    EXPECT_EQ(calls.virtual_blocks().size(), 0u);
    EXPECT_EQ(destination, HBUF32(given));
    Buffer owner(made);
    EXPECT_EQ(word(made, field_type), BUF32_ONE_COLOUR);
    EXPECT_EQ(word(given, field_type), BUF32_ONE_COLOUR);
    uint8_t expected[8] = {0x11, 0xB2, 0xC3};
    expect_read_everywhere(picture_of(given, expected));
    // A new one is made of the source's colour before it is duplicated into.
    expect_read_everywhere(picture_of(made, colour));
}

// A part is copied into a buffer of the colour, which becomes an ordinary one.
TEST_F(OneColourDuplicates, PartsAreCopied) {
    for (int bits : {1, 4, 8, 24, 64}) {
        SCOPED_TRACE(bits);
        Buffer source(bits, 150, 140, BUF32_ONE_COLOUR, colour);
        HBUF32 made = 0;
        EXPECT_SUCCESS(api().buf32GetBuf(source, 8, 10, 64, 131, &made)); // one row too far down
        ASSERT_NE(made, 0u);
        Buffer owner(made);
        EXPECT_EQ(word(made, field_width), 64u);
        EXPECT_EQ(word(made, field_height), 131u);
        EXPECT_EQ(word(made, field_type), BUF32_TILED);
        expect_read_everywhere(picture_of(made, colour));
        HBUF32 nothing = 0; // wholly outside
        EXPECT_SUCCESS(api().buf32GetBuf(source, 150, 0, 64, 131, &nothing));
        ASSERT_NE(nothing, 0u);
        EXPECT_EQ(word(nothing, field_type), BUF32_ONE_COLOUR);
        expect_read_everywhere(picture_of(nothing, colour));
        EXPECT_EQ(api().buf32Free(nothing), 1);
    }
}

} // namespace
} // namespace q32::test
