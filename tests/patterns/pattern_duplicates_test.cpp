// Duplicates of pattern buffers share nothing: each has its own copy of the pattern.
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class PatternDuplicates : public BufferTest {};

constexpr Failure types_differ{4026, 1, 3, 6}, sizes_differ{4026, 1, 3, 7},
    no_record{1001, 1, 3, 8}, no_layout{1001, 1, 3, 9}, no_copy{1001, 1, 70, 23};

void expect_copy_of(HBUF32 buffer, const Pattern &pattern) {
    EXPECT_EQ(word(buffer, field_colour), uint32_t(pattern.width) | uint32_t(pattern.height) << 16);
    ASSERT_NE(word(buffer, field_external_data), 0u);
    EXPECT_TRUE(same_bytes(pattern.pixels,
                           reinterpret_cast<const uint8_t *>(word(buffer, field_external_data))));
}

TEST_F(PatternDuplicates, NewOnesHaveACopyOfTheirOwn) {
    for (int bits : {1, 3, 8, 12, 24, 64})
        for (uint32_t origin : {BUF32_PATTERN, BUF32_TILED, BUF32_LINEAR})
            for (bool with_block : {false, true}) {
                SCOPED_TRACE(testing::Message() << bits << ' ' << origin << ' ' << with_block);
                PatternBuffer source(bits, 150, 140, 7, 5, origin);
                if (with_block) {
                    ASSERT_EQ(api().buf32Lock(source, 5, nullptr), 1);
                }
                const size_t used = memory_in_use();
                const int runtime_blocks = frame::Census::now().runtime_blocks;
                HBUF32 made = 0;
                {
                    ObservedCalls calls;
                    EXPECT_SUCCESS(api().buf32DupBuf(source, &made));
                    EXPECT_EQ(calls.virtual_blocks().size(), 0u);
                }
                ASSERT_NE(made, 0u);
                Buffer owner(made);
                EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks + 1);
                EXPECT_EQ(memory_in_use(), used);
                expect_copy_of(made, source.pattern);
                EXPECT_NE(word(made, field_external_data), word(source, field_external_data));
                for (int field = field_type; field <= field_row_bytes; ++field)
                    if (field != field_lock_count && field != field_access_mode &&
                        field != field_external_data) {
                        EXPECT_EQ(word(made, field), word(source, field)) << field;
                    }
                EXPECT_EQ(word(made, field_lock_count), 0u);
                EXPECT_EQ(word(made, field_access_mode), 0u);
                EXPECT_EQ(word(made, field_storage), 0u);
                EXPECT_EQ(cell_address_word(made, 0), 0u);
                EXPECT_EQ(word(made, field_record_entry), 0xFFFFFFFF);
                EXPECT_EQ(word(made, field_previous), uint32_t(HBUF32(source)));
                EXPECT_EQ(word(source, field_next), uintptr_t(made));
                EXPECT_EQ(word(made, field_self), uintptr_t(made));
                for (HBUF32 buffer : {HBUF32(source), made})
                    for (int field : {field_first_sharer, field_last_sharer, field_share_marker,
                                      field_source, field_previous_sharer, field_next_sharer})
                        EXPECT_EQ(word(buffer, field), 0u) << field; // nothing is shared
                for (int i = 0; i < 16; ++i)
                    EXPECT_EQ(word(made, field_operations + i), word(source, field_operations + i));
                if (with_block) {
                    ASSERT_EQ(api().buf32Unlock(source), 1);
                }
                source.picture.buffer = made;
                expect_read_everywhere(source.picture);
                source.buffer.free();
                expect_read_everywhere(source.picture); // its copy did not go with the source
            }
}

// Each can be filled and written without the other's seeing it.
TEST_F(PatternDuplicates, AreIndependent) {
    for (int bits : {1, 8, 24})
        for (bool write_source : {false, true})
            for (const WritePath &path : write_paths(BUF32_PATTERN, bits)) {
                SCOPED_TRACE(testing::Message() << path.name << ' ' << bits << ' ' << write_source);
                Random random(test_seed(), uint64_t(bits));
                PatternBuffer source(bits, 150, 140, 7, 5);
                HBUF32 made = 0;
                ASSERT_EQ(api().buf32DupBuf(source, &made), 1);
                Buffer owner(made);
                Picture copy = source.picture;
                copy.buffer = made;
                EXPECT_TRUE(path.write(write_source ? source.picture : copy, random));
                expect_image(source.picture);
                expect_image(copy);
            }
}

TEST_F(PatternDuplicates, ExistingOnesGetAnotherPattern) {
    for (int bits : {1, 3, 8, 24})
        for (bool with_block : {false, true})
            for (const auto &[width, height] : {std::pair{3, 2}, {7, 200}}) {
                SCOPED_TRACE(testing::Message() << bits << ' ' << with_block << ' ' << height);
                PatternBuffer source(bits, 150, 140, width, height),
                    destination(bits, 150, 140, 5, 150);
                if (with_block) {
                    ASSERT_EQ(api().buf32Lock(destination, BUF32_READ, nullptr), 1);
                }
                const int runtime_blocks = frame::Census::now().runtime_blocks;
                HBUF32 handle = destination;
                EXPECT_SUCCESS(api().buf32DupBuf(source, &handle));
                EXPECT_EQ(handle, HBUF32(destination));
                EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks);
                EXPECT_EQ(word(destination, field_lock_count), with_block ? 1u : 0u);
                expect_copy_of(destination, source.pattern);
                EXPECT_NE(word(destination, field_external_data),
                          word(source, field_external_data));
                destination.picture.paint(source.pattern);
                expect_read_everywhere(destination.picture);
                expect_read_everywhere(source.picture);
                if (with_block) {
                    ASSERT_EQ(api().buf32Unlock(destination), 1);
                }
                // What is in use fits the pattern that is in use.
                source.buffer.free();
                EXPECT_EQ(memory_in_use(),
                          pattern_block_bytes(destination.picture.geometry, source.pattern));
                expect_read_everywhere(destination.picture);
            }
}

TEST_F(PatternDuplicates, WholeGetBufDuplicates) {
    PatternBuffer source(24, 150, 140, 7, 5), destination(24, 150, 140, 3, 2);
    HBUF32 made = 0, handle = destination;
    EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &made));
    EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &handle));
    ASSERT_NE(made, 0u);
    Buffer owner(made);
    EXPECT_EQ(handle, HBUF32(destination));
    for (HBUF32 buffer : {made, handle}) {
        EXPECT_EQ(word(buffer, field_type), BUF32_PATTERN);
        source.picture.buffer = buffer;
        expect_read_everywhere(source.picture);
    }
}

TEST_F(PatternDuplicates, IntoItself) {
    PatternBuffer source(24, 150, 140, 7, 5);
    const int runtime_blocks = frame::Census::now().runtime_blocks;
    HBUF32 handle = source;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(source, &handle));
    EXPECT_EQ(handle, HBUF32(source));
    EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks);
    expect_copy_of(source, source.pattern);
    expect_read_everywhere(source.picture);
}

TEST_F(PatternDuplicates, OfAnotherTypeOrSize) {
    PatternBuffer source(8, 150, 140, 7, 5);
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_ONE_COLOUR, BUF32_TILED_FILE}) {
        Buffer destination(8, 151, 140, type, colour);
        HBUF32 handle = destination;
        EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
        expect_report(types_differ);
        EXPECT_EQ(handle, HBUF32(destination));
        EXPECT_EQ(word(destination, field_type), type);
    }
    const BUF32PATTERN pattern{1, 1, colour};
    const struct {
        int bits, width, height;
    } others[] = {{8, 151, 140}, {8, 150, 139}, {16, 150, 140}};
    for (const auto &other : others) {
        Buffer destination(other.bits, other.width, other.height, BUF32_PATTERN, &pattern);
        HBUF32 handle = destination;
        EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
        expect_report(sizes_differ);
        EXPECT_EQ(word(destination, field_colour), 0x10001u);
    }
}

TEST_F(PatternDuplicates, WithoutMemory) {
    PatternBuffer source(24, 150, 140, 7, 5), destination(24, 150, 140, 3, 2);
    const frame::Census before = frame::Census::now();
    const struct {
        const char *call;
        int n;
        Failure failure;
    } failures[] = {
        {"GlobalAlloc", 1, no_record}, {"GlobalAlloc", 2, no_layout}, {"malloc", 1, no_copy}};
    for (const auto &each : failures) {
        SCOPED_TRACE(testing::Message() << each.call << ' ' << each.n);
        HBUF32 made = 0;
        FailingCall failing(each.call, each.n);
        EXPECT_EQ(api().buf32DupBuf(source, &made), 0);
        EXPECT_TRUE(failing.happened());
        expect_report(each.failure);
        EXPECT_EQ(made, 0u);
        EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
        EXPECT_EQ(word(destination, field_next), 0u);
        EXPECT_EQ(frame::Census::now(), before);
    }
    HBUF32 handle = destination;
    {
        FailingCall failing("malloc", 1);
        EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
        expect_report(no_copy);
    }
    EXPECT_EQ(frame::Census::now(), before);
    expect_copy_of(destination, destination.pattern);
    expect_read_everywhere(destination.picture);
    expect_read_everywhere(source.picture);
}

} // namespace
} // namespace q32::test
