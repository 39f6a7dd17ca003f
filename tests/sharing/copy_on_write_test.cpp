// The first write of either side of a shared image, in every way there is to write: who gets pixels
// of its own, who goes on sharing with whom, and that nobody sees another's writing.
#include "tests/sharing/family.h"

namespace q32::test {
namespace {

class CopyOnWrite : public BufferTest {};

std::string trace(const WritePath &path, uint32_t type, int bits) {
    return std::string(path.name) + ", type " + std::to_string(type) + ", " + std::to_string(bits) +
           " bits";
}

// Calls test(family, random, path) for each type, depth and way to write, with a family that has
// one source of random pixels.
template <class Test>
void each_way(std::initializer_list<int> depths, Test test) {
    for (uint32_t type : sharing_types)
        for (int bits : depths)
            for (const WritePath &path : write_paths(type, bits)) {
                SCOPED_TRACE(trace(path, type, bits));
                Random random(test_seed(), type + uint32_t(bits));
                Family family;
                family.allocate(bits, 140, 131, type, random);
                test(family, random, path);
                if (::testing::Test::HasFailure())
                    return;
            }
}

TEST_F(CopyOnWrite, AWrittenDuplicateGetsPixelsOfItsOwn) {
    each_way({1, 8, 16, 24}, [](Family &family, Random &random, const WritePath &path) {
        Member &source = family[0], &made = family.duplicate(source);
        family.write(made, path, random);
        EXPECT_EQ(word(made.handle(), field_share_marker), 0u);
        EXPECT_EQ(word(source.handle(), field_first_sharer), 0u);
        family.check();
        expect_read_everywhere(source.picture);
        expect_read_everywhere(made.picture);
        // From now on the two have nothing to do with each other.
        family.write(source, write_paths(BUF32_TILED, 8)[0], random);
        family.check();
    });
}

TEST_F(CopyOnWrite, AWrittenSourceGivesItsSharerPixelsFirst) {
    each_way({5, 8, 16}, [](Family &family, Random &random, const WritePath &path) {
        Member &source = family[0], &made = family.duplicate(source);
        family.write(source, path, random);
        EXPECT_EQ(word(made.handle(), field_share_marker), 0u);
        family.check();
        expect_read_everywhere(made.picture);
        expect_read_everywhere(source.picture);
    });
}

// The first sharer becomes the source of the others.
TEST_F(CopyOnWrite, AWrittenSourceOfSeveral) {
    each_way({1, 8, 16}, [](Family &family, Random &random, const WritePath &path) {
        for (int i = 0; i < 4; ++i)
            family.duplicate(family[0]);
        family.write(family[0], path, random);
        EXPECT_EQ(word(family[0].handle(), field_first_sharer), 0u);
        EXPECT_EQ(word(family[1].handle(), field_share_marker), 0u);
        EXPECT_EQ(word(family[1].handle(), field_first_sharer), node_of(family[2].handle()));
        EXPECT_EQ(word(family[1].handle(), field_last_sharer), node_of(family[4].handle()));
        EXPECT_EQ(word(family[4].handle(), field_source), uint32_t(family[1].handle()));
        family.check();
    });
}

TEST_F(CopyOnWrite, AWrittenDuplicateLeavesTheChain) {
    for (size_t which = 1; which <= 3; ++which) {
        SCOPED_TRACE(which);
        each_way({8, 16}, [which](Family &family, Random &random, const WritePath &path) {
            for (int i = 0; i < 3; ++i)
                family.duplicate(family[size_t(i)]);
            family.write(family[which], path, random);
            family.check();
        });
    }
}

// One after the other, until nobody shares any more.
TEST_F(CopyOnWrite, ChainsComeApart) {
    constexpr size_t count = 5;
    const size_t orders[][count] = {{0, 1, 2, 3, 4}, {4, 3, 2, 1, 0}, {2, 0, 4, 1, 3}};
    for (const auto &order : orders)
        each_way({8}, [&order](Family &family, Random &random, const WritePath &path) {
            for (size_t i = 1; i < count; ++i)
                family.duplicate(family[0]);
            for (size_t which : order) {
                SCOPED_TRACE(which);
                family.write(family[which], path, random);
                family.check();
            }
            EXPECT_TRUE(std::all_of(family.members().begin(), family.members().end(),
                                    [](const auto &member) { return !member->source; }));
        });
}

// Where the pixels come from and where they go to may be memory or a swap file each.
TEST_F(CopyOnWrite, BetweenMemoryAndFiles) {
    const WritePath path = write_paths(BUF32_TILED, 8)[0];
    for (uint32_t type : {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_SHRINK})
        for (bool first : {false, true})
            for (bool second : {false, true})
                for (size_t writer : {0u, 1u, 2u}) {
                    SCOPED_TRACE(testing::Message() << type << ' ' << first << second << writer);
                    Random random(test_seed(), type);
                    Family family;
                    send_to_files(first);
                    Member &source = family.allocate(24, 140, 131, type, random);
                    family.duplicate(source);
                    family.duplicate(source);
                    send_to_files(second);
                    family.write(family[writer], path, random);
                    family.check();
                    send_to_files(!second);
                    family.write(family[2 - writer / 2], path, random);
                    family.check();
                }
}

// Calls that fail before they write leave everything shared.
TEST_F(CopyOnWrite, RefusedCallsSeparateNothing) {
    Random random(test_seed(), 8);
    Family family;
    family.allocate(8, 140, 131, BUF32_LINEAR_SHRINK, random);
    family.duplicate(family[0]);
    uint8_t byte = 0;
    for (size_t i : {0u, 1u}) {
        const HBUF32 buffer = family[i].handle();
        EXPECT_REPORT(api().buf32MergeMem(buffer, 140, 0, &byte, 1, 1), 3200, 1, 3, 14);
        EXPECT_REPORT(api().buf32MergeMem(buffer, 0, 0, nullptr, 1, 1), 3200, 0, 4, 6);
        EXPECT_REPORT(api().buf32FillOneColor(buffer, nullptr), 3200, 0, 4, 6);
        EXPECT_REPORT(api().buf32FillPattern(buffer, nullptr), 3200, 0, 4, 6);
        const BUF32PATTERN empty{0, 1, &byte};
        EXPECT_REPORT(api().buf32FillPattern(buffer, &empty), 3200, 0, 70, 22);
        EXPECT_REPORT(api().buf32ReAlloc(buffer, 132), 3200, 0, 4, 11);
        EXPECT_REPORT(api().buf32ReAlloc(buffer, 0), 3200, 0, 4, 11);
        EXPECT_REPORT(api().buf32Line(buffer, 0, 2, &byte), 5804, 1, 3, 3);
        set_word(buffer, field_access_mode, 2);
        EXPECT_REPORT(api().buf32CellLock(buffer, 1, nullptr, nullptr), 5804, 0, 3, 1);
        set_word(buffer, field_access_mode, 1);
        Buffer small(8, 4, 4), deep(16, 4, 4);
        HBUF32 destination = buffer;
        EXPECT_REPORT(api().buf32GetBuf(deep, 0, 0, 4, 4, &destination), 3200, 1, 4, 18);
        EXPECT_SUCCESS(api().buf32MergeBuf(small, 0, 0, 4, 4, buffer, 140, 0)); // nothing to do
        EXPECT_SUCCESS(api().buf32GetBuf(small, 4, 0, 4, 4, &destination));
        forget_reports();
    }
    EXPECT_EQ(family[1].handle(),
              word(family[0].handle(), field_first_sharer) - field_offset(field_share_marker));
    family.check();
}

// Through exports alone: an access mode stays from an earlier lock and makes cell locks write.
TEST_F(CopyOnWrite, CellLocksAfterAnEarlierWriteLock) {
    for (int mode : {2, 3, 4}) {
        SCOPED_TRACE(mode);
        Random random(test_seed(), 9);
        Family family;
        Member &source = family.allocate(8, 140, 131, BUF32_TILED, random);
        Member &destination = family.allocate(8, 140, 131, BUF32_TILED, random);
        for (const Member *member : {&source, &destination}) {
            ASSERT_EQ(api().buf32Lock(member->handle(), mode, nullptr), 1);
            ASSERT_EQ(api().buf32Unlock(member->handle()), 1);
        }
        family.duplicate_into(source, destination);
        void *of_source = nullptr, *of_destination = nullptr;
        ASSERT_EQ(api().buf32CellLock(destination.handle(), 3, &of_destination, nullptr), 1);
        ASSERT_EQ(api().buf32CellLock(source.handle(), 3, &of_source, nullptr), 1);
        EXPECT_EQ(of_source == of_destination, mode == 4);
        ASSERT_EQ(api().buf32CellUnlock(destination.handle(), 3), 1);
        ASSERT_EQ(api().buf32CellUnlock(source.handle(), 3), 1);
        family.adopt_records();
        EXPECT_EQ(destination.source, mode == 4 ? &source : nullptr);
        family.check();
    }
}

// Locked sharers are separated like others: their locks stay, and they read their own pixels.
TEST_F(CopyOnWrite, WithLocks) {
    Random random(test_seed(), 10);
    Family family;
    Member &source = family.allocate(8, 140, 131, BUF32_TILED, random);
    Member &made = family.duplicate(source);
    void *before = nullptr, *after = nullptr;
    ASSERT_EQ(api().buf32Lock(made.handle(), BUF32_READ, &before), 1);
    family.write(source, write_paths(BUF32_TILED, 8)[0], random);
    EXPECT_EQ(word(made.handle(), field_lock_count), 1u);
    ASSERT_EQ(api().buf32Lock(made.handle(), BUF32_READ, &after), 1);
    EXPECT_NE(before, after);
    EXPECT_EQ(uintptr_t(after), word(made.handle(), field_storage));
    family.check();
    ASSERT_EQ(api().buf32Unlock(made.handle()), 1);
    ASSERT_EQ(api().buf32Unlock(made.handle()), 1);
}

// A shrunk image is shared and copied as high as it is, in storage of the full capacity.
TEST_F(CopyOnWrite, OfAShrunkImage) {
    for (uint32_t type : {BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK})
        for (bool file : {false, true}) {
            SCOPED_TRACE(testing::Message() << type << ' ' << file);
            send_to_files(file);
            Random random(test_seed(), 11);
            Family family;
            Member &source = family.allocate(8, 300, 200, type, random);
            ASSERT_EQ(api().buf32ReAlloc(source.handle(), 50), 1);
            source.picture.geometry.height = 50;
            source.picture.image.set_rows(50);
            Member &made = family.duplicate(source), &third = family.duplicate(made);
            family.check();
            family.write(made, write_paths(type, 8)[0], random);
            family.check();
            family.write(source, write_paths(type, 8)[0], random);
            family.check();
            ASSERT_EQ(api().buf32ReAlloc(third.handle(), 200), 1); // as high as it was made
            third.picture.geometry.height = 200;
            third.picture.image.set_rows(200);
            std::memset(third.picture.image.row(50), 0x5E, 150 * 300);
            Bytes rows(150 * 300, 0x5E);
            EXPECT_EQ(api().buf32MergeMem(third.handle(), 0, 50, rows.data(), 300, 150), 1);
            family.check();
        }
}

// Resizing writes: whoever shares keeps all rows.
TEST_F(CopyOnWrite, ResizingASource) {
    for (uint32_t type : {BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        Random random(test_seed(), 12);
        Family family;
        Member &source = family.allocate(8, 300, 200, type, random);
        Member &made = family.duplicate(source);
        ASSERT_EQ(api().buf32ReAlloc(source.handle(), 1), 1);
        family.adopt_records();
        EXPECT_EQ(made.source, nullptr);
        source.picture.geometry.height = 1;
        source.picture.image.set_rows(1);
        family.check();
        expect_read_everywhere(made.picture);
    }
}

} // namespace
} // namespace q32::test
