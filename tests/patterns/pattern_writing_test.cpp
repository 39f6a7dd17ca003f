// The first write into a pattern buffer makes an ordinary one of it that shows the pattern.
#include "tests/patterns/special_buffers.h"

namespace q32::test {
namespace {

class PatternWriting : public BufferTest {};

constexpr Failure no_directory{1001, 0, 4, 3};

// How a pattern buffer came to be.
struct Origin {
    const char *name;
    uint32_t type;
    bool filled;
};
constexpr Origin origins[] = {
    {"fresh", BUF32_PATTERN, false},
    {"filled again", BUF32_PATTERN, true},
    {"was tiled", BUF32_TILED, true},
    {"was linear", BUF32_LINEAR, true},
    {"was kept out of memory", BUF32_TILED_FILE, true},
    {"was in memory only", BUF32_LINEAR_MEMORY, true},
};

// Rows without bits behind their last pixel: rendering says nothing about those.
constexpr int width = 152, height = 140;

TEST_F(PatternWriting, EveryWayMakesAnOrdinaryBuffer) {
    uint64_t number = 0;
    for (const Origin &origin : origins)
        for (bool file : {false, true})
            for (int bits : {1, 4, 5, 8, 16, 24, 64})
                for (const WritePath &path : write_paths_to_ordinary(bits)) {
                    if (!in_this_round(number++))
                        continue;
                    SCOPED_TRACE(testing::Message() << origin.name << ", " << path.name << ", "
                                                    << bits << " bits" << (file ? ", file" : ""));
                    Random random(test_seed(), uint64_t(bits));
                    const Pattern pattern(between(random, 1, 20), between(random, 1, 9), bits,
                                          random);
                    PatternBuffer buffer(pattern, width, height, origin.type, origin.filled);
                    const int runtime_blocks = frame::Census::now().runtime_blocks;
                    set_memory_limit(file ? 1 : 0, 0);
                    EXPECT_TRUE(path.write(buffer.picture, random));
                    set_memory_limit(0, 0);
                    expect_no_report();
                    EXPECT_EQ(frame::Census::now().runtime_blocks, runtime_blocks - 1);
                    EXPECT_EQ(word(buffer, field_colour), 0u);
                    EXPECT_EQ(word(buffer, field_external_data), 0u);
                    expect_ordinary_again(buffer.picture, file);
                    expect_read_everywhere(buffer.picture);
                    if (HasFailure())
                        return;
                }
}

TEST_F(PatternWriting, OfImagesAndPatternsOfSeveralSizes) {
    for (const auto &[image_width, image_height] :
         {std::pair{1, 1}, {8, 3}, {128, 128}, {136, 129}, {264, 300}})
        for (const auto &[pattern_width, pattern_height] :
             {std::pair{1, 1}, {3, 2}, {9, 13}, {200, 1}, {1, 200}, {300, 310}})
            for (int bits : {1, 3, 8, 24}) {
                SCOPED_TRACE(testing::Message()
                             << size_text(bits, image_width, image_height) << ", " << pattern_width
                             << " x " << pattern_height);
                Random random(test_seed(), 1);
                const Pattern pattern(pattern_width, pattern_height, bits, random);
                PatternBuffer buffer(pattern, image_width, image_height);
                EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_WRITE, nullptr));
                EXPECT_EQ(word(buffer, field_type), BUF32_TILED);
                EXPECT_EQ(api().buf32Unlock(buffer), 1);
                expect_image(buffer.picture);
            }
}

// Locks that were there stay, and the write lock is one more.
TEST_F(PatternWriting, WithLocksAndABlock) {
    for (int mode : {2, 3, 4}) {
        SCOPED_TRACE(mode);
        Random random(test_seed(), 2);
        const Pattern pattern(7, 200, 24, random);
        PatternBuffer buffer(pattern, width, height);
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        ASSERT_EQ(api().buf32CellLock(buffer, 1, nullptr, nullptr), 1);
        EXPECT_EQ(memory_in_use(), uint32_t(width) * 3 * 200);
        void *base = nullptr;
        EXPECT_SUCCESS(api().buf32Lock(buffer, mode, &base));
        EXPECT_EQ(word(buffer, field_lock_count), 3u);
        EXPECT_EQ(word(buffer, field_access_mode), uint32_t(mode));
        EXPECT_EQ(uintptr_t(base), word(buffer, field_storage));
        expect_ordinary_again(buffer.picture, false);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// With mode 4 the caller overwrites everything: fresh storage is left as the system gives it.
TEST_F(PatternWriting, Mode4DoesNotRender) {
    Random random(test_seed(), 3);
    const Pattern pattern(7, 5, 8, random);
    PatternBuffer buffer(pattern, 300, 200);
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(buffer, BUF32_OVERWRITE, &base), 1);
    EXPECT_TRUE(same_bytes(Bytes(60000), static_cast<const uint8_t *>(base)));
    expect_ordinary_again(buffer.picture, false);
    ASSERT_EQ(api().buf32Unlock(buffer), 1);
    fill_and_check(buffer);
}

// Small ones go to memory under any limit, larger ones to a file.
TEST_F(PatternWriting, GoesByTheMemoryLimit) {
    set_memory_limit(1, 0);
    Random random(test_seed(), 4);
    const Pattern pattern(7, 5, 8, random);
    PatternBuffer small(pattern, 128, 128), large(pattern, 129, 1);
    EXPECT_EQ(api().buf32Lock(small, BUF32_WRITE, nullptr), 1);
    EXPECT_EQ(api().buf32Lock(large, BUF32_WRITE, nullptr), 1);
    EXPECT_EQ(word(small, field_file), 0u);
    EXPECT_NE(word(large, field_file), 0u);
    EXPECT_EQ(api().buf32Unlock(small), 1);
    EXPECT_EQ(api().buf32Unlock(large), 1);
    expect_image(small.picture);
    expect_image(large.picture);
}

// Without storage the storage's report alone is made and everything is as it was.
TEST_F(PatternWriting, WithoutStorage) {
    use_no_directory();
    for (bool with_block : {false, true})
        for (int mode : {2, 3, 4}) {
            SCOPED_TRACE(testing::Message() << with_block << ' ' << mode);
            Random random(test_seed(), 5);
            const Pattern pattern(7, 5, 24, random);
            PatternBuffer buffer(pattern, width, height);
            if (with_block) {
                ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
                ASSERT_EQ(api().buf32Unlock(buffer), 1);
            }
            const size_t used = memory_in_use();
            Bytes record(504);
            std::memcpy(record.data(), reinterpret_cast<const void *>(HBUF32(buffer)),
                        record.size());
            const frame::Census before = frame::Census::now();
            {
                FailingCall memory("VirtualAlloc", 1, FailingCall::from_there_on);
                void *base = &base;
                EXPECT_EQ(api().buf32Lock(buffer, mode, &base), 0);
                EXPECT_EQ(base, nullptr);
            }
            expect_report(no_directory);
            EXPECT_TRUE(same_bytes(record, reinterpret_cast<const uint8_t *>(HBUF32(buffer))));
            EXPECT_EQ(frame::Census::now(), before);
            EXPECT_EQ(memory_in_use(), used);
            expect_read_everywhere(buffer.picture);
        }
}

TEST_F(PatternWriting, HasNoOtherHeight) {
    const BUF32PATTERN pattern{1, 1, colour};
    Buffer fresh(8, 150, 140, BUF32_PATTERN, &pattern), filled(8, 150, 140, BUF32_LINEAR_SHRINK);
    ASSERT_EQ(api().buf32FillPattern(filled, &pattern), 1);
    EXPECT_REPORT(api().buf32ReAlloc(fresh, 10), 3200, 0, 4, 11);
    EXPECT_REPORT(api().buf32ReAlloc(filled, 10), 3200, 0, 4, 11);
    forget_reports();
}

} // namespace
} // namespace q32::test
