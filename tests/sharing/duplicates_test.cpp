// What a duplicate is before anything is written: its record word by word, the pixels it shows, and
// what is refused.
#include "tests/sharing/family.h"

namespace q32::test {
namespace {

class Duplicates : public BufferTest {};

constexpr Failure types_differ{4026, 1, 3, 6}, sizes_differ{4026, 1, 3, 7},
    no_record{1001, 1, 3, 8}, no_layout{1001, 1, 3, 9};
constexpr int fixed_words = 61; // fields before the cell addresses

// The fields of a record by number; the name of the swap file counts as its first word.
std::vector<uintptr_t> fields_of(HBUF32 buffer) {
    std::vector<uintptr_t> fields(fixed_words + 1);
    for (int field = 1; field <= fixed_words; ++field)
        fields[size_t(field)] = word(buffer, field);
    return fields;
}

HBUF32 duplicate_of(HBUF32 source) {
    HBUF32 made = 0;
    EXPECT_EQ(api().buf32DupBuf(source, &made), 1);
    expect_no_report();
    return made;
}

TEST_F(Duplicates, RecordIsTheSourcesButForWhatIsItsOwn) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), type);
        Buffer source(24, 300, 200, type), other(8, 5, 5);
        fill(source, random);
        ASSERT_EQ(api().buf32Lock(source, BUF32_WRITE_3, nullptr),
                  1); // two fields not to take over
        const std::vector<uintptr_t> before = fields_of(source);
        const HBUF32 made = duplicate_of(source);
        ASSERT_NE(made, 0u);

        std::vector<uintptr_t> expected = before;
        expected[field_lock_count] = 0;
        expected[field_access_mode] = 0;
        expected[field_mapping] = 0;
        expected[field_storage] = 0;
        expected[field_file] = 0;
        expected[field_record_entry] = 0xFFFFFFFF;
        expected[field_previous] = HBUF32(other);
        expected[field_next] = 0;
        expected[field_first_sharer] = 0;
        expected[field_last_sharer] = 0;
        expected[field_share_marker] = 64;
        expected[field_source] = HBUF32(source);
        expected[field_self] = uintptr_t(made);
        expected[field_previous_sharer] = 0;
        expected[field_next_sharer] = 0;
        const std::vector<uintptr_t> got = fields_of(made);
        for (int field = 1; field <= fixed_words; ++field) {
            if (field != field_file_name) {
                EXPECT_EQ(got[size_t(field)], expected[size_t(field)]) << "field " << field;
            }
        }
        EXPECT_STREQ(swap_file_of(made), "");

        // The source has gained a sharer, and its neighbour a next.
        expected = before;
        expected[field_first_sharer] = expected[field_last_sharer] = node_of(made);
        EXPECT_EQ(fields_of(source), expected);
        EXPECT_EQ(word(other, field_next), uintptr_t(made));

        BUF32INFO info;
        EXPECT_EQ(api().buf32GetInfo(made, &info), 1);
        EXPECT_EQ(info.type, type);
        EXPECT_EQ(info.lock_count, 0);
        EXPECT_EQ(info.access_mode, 0);
        EXPECT_EQ(api().buf32Unlock(source), 1);
        EXPECT_EQ(api().buf32Free(made), 1);
        expected = before;
        expected[field_lock_count] = 0;
        EXPECT_EQ(fields_of(source), expected);
    }
}

TEST_F(Duplicates, ChainLinksSharersInTheOrderOfTheirMaking) {
    Random random(test_seed(), 1);
    for (int count = 1; count <= 5; ++count) {
        SCOPED_TRACE(count);
        Family family;
        Member &source = family.allocate(8, 140, 130, BUF32_TILED, random);
        for (int i = 0; i < count; ++i) { // of the source, and of duplicates of it
            family.duplicate(family[size_t(i) * 7 % family.size()]);
            family.check();
        }
        EXPECT_EQ(word(source.handle(), field_first_sharer), node_of(family[1].handle()));
        EXPECT_EQ(word(source.handle(), field_last_sharer),
                  node_of(family[size_t(count)].handle()));
        for (int i = 1; i <= count; ++i)
            EXPECT_EQ(word(family[size_t(i)].handle(), field_source), uint32_t(source.handle()));
    }
}

TEST_F(Duplicates, ShowTheSourcesPixelsThroughEveryEntry) {
    for (uint32_t type : sharing_types)
        for (int bits : {1, 2, 3, 4, 5, 6, 7, 8, 16, 24, 32, 40, 48, 64}) {
            SCOPED_TRACE(size_text(bits, 150, 140) + " type " + std::to_string(type));
            Random random(test_seed(), type + uint32_t(bits));
            Family family;
            Member &source = family.allocate(bits, 150, 140, type, random);
            Member &made = family.duplicate(source);
            Member &of_made = family.duplicate(made);
            for (const Member *member : {&source, &made, &of_made})
                expect_read_everywhere(member->picture);
            family.check(); // reading has separated nothing
        }
}

TEST_F(Duplicates, OfSeveralSizes) {
    for (const auto &[width, height] :
         {std::pair{1, 1}, {7, 3}, {128, 128}, {129, 1}, {1, 129}, {300, 260}}) {
        for (int bits : {1, 8, 24}) {
            SCOPED_TRACE(size_text(bits, width, height));
            Random random(test_seed(), uint64_t(width));
            Family family;
            Member &source = family.allocate(bits, width, height, BUF32_TILED, random);
            expect_read_everywhere(family.duplicate(source).picture);
            family.check();
        }
    }
}

// Addresses of a duplicate's pixels are those of its source's.
TEST_F(Duplicates, LocksAndAddressesAreTheSources) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), 3);
        Family family;
        Member &source = family.allocate(24, 300, 200, type, random);
        const HBUF32 from = source.handle(), made = family.duplicate(source).handle();
        for (int mode : {1, 0, 5, -1}) {
            void *base = nullptr;
            ASSERT_EQ(api().buf32Lock(made, mode, &base), 1);
            EXPECT_EQ(uintptr_t(base), word(from, field_storage));
            EXPECT_EQ(word(made, field_access_mode), uint32_t(mode));
            EXPECT_EQ(word(made, field_lock_count), 1u);
            EXPECT_EQ(word(from, field_lock_count), 0u); // not passed on
            ASSERT_EQ(api().buf32Unlock(made), 1);
        }
        // Of the access modes only 2 and 3 make a cell lock a write lock.
        for (uint32_t mode : {0u, 1u, 4u, 5u}) {
            set_word(made, field_access_mode, mode);
            for (int i = 0; i < int(source.picture.geometry.cell_count()); ++i) {
                void *address = nullptr;
                ASSERT_EQ(api().buf32CellLock(made, i, &address, nullptr), 1);
                EXPECT_EQ(uintptr_t(address), cell_address_word(from, i)) << i;
                ASSERT_EQ(api().buf32CellUnlock(made, i), 1);
            }
        }
        set_word(from, field_access_mode, 1);
        if (type != BUF32_TILED_FILE) {
            EXPECT_EQ(api().buf32PointAddr(made, 200, 150), api().buf32PointAddr(from, 200, 150));
        }
        if (type == BUF32_TILED) {
            void *made_address = nullptr, *from_address = nullptr;
            EXPECT_EQ(
                api().buf32PointAddEx(made, 299, 199, nullptr, &made_address, nullptr, nullptr), 5);
            EXPECT_EQ(
                api().buf32PointAddEx(from, 299, 199, nullptr, &from_address, nullptr, nullptr), 5);
            EXPECT_EQ(made_address, from_address);
        }
        family.check();
    }
}

// An address is found through a cell lock, which a last lock for writing makes one for writing.
TEST_F(Duplicates, AddressesAfterAWriteLockAreTheirOwn) {
    for (uint32_t mode : {2u, 3u})
        for (size_t written : {0u, 1u}) {
            Random random(test_seed(), 13);
            Family family;
            Member &source = family.allocate(24, 300, 200, BUF32_TILED, random);
            Member &made = family.duplicate(source);
            set_word(family[written].handle(), field_access_mode, mode);
            set_word(family[1 - written].handle(), field_access_mode, 1);
            const void *address = api().buf32PointAddr(family[written].handle(), 299, 199);
            family.adopt_records();
            EXPECT_EQ(made.source, nullptr);
            EXPECT_EQ(uintptr_t(address), word(family[written].handle(), field_storage) +
                                              source.picture.geometry.pixel_offset(299, 199));
            family.check();
        }
}

TEST_F(Duplicates, TakeNoMemoryForPixels) {
    Random random(test_seed(), 4);
    Family family;
    Member &source = family.allocate(24, 2000, 1500, BUF32_TILED, random);
    const size_t used = memory_in_use();
    {
        ObservedCalls calls;
        FailingCall files("CreateFileA", 0), copies("malloc", 0);
        Member &made = family.duplicate(source);
        family.duplicate(made);
        EXPECT_EQ(calls.virtual_blocks().size(), 0u);
        EXPECT_EQ(files.calls(), 0);
        EXPECT_EQ(copies.calls(), 0);
        for (const auto &block : calls.global_blocks())
            EXPECT_LT(block.bytes, frame::by_edition(2000u, 3000u)); // records of 192 cells
    }
    EXPECT_EQ(memory_in_use(), used);
    family.check_records();
}

// The whole of a source into a new buffer, or into one of the same kind, is a duplicate too.
TEST_F(Duplicates, WholeGetBufDuplicates) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), 5);
        Buffer source(16, 150, 140, type), other(16, 150, 140, type);
        Picture picture = picture_beside(source);
        picture.image = fill(source, random);
        fill(other, random);
        HBUF32 made = 0, given = other;
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &made));
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &given));
        EXPECT_EQ(given, HBUF32(other));
        EXPECT_EQ(word(source, field_first_sharer), node_of(made));
        EXPECT_EQ(word(source, field_last_sharer), node_of(other));
        // A second time nothing is left to share, and the pixels are there already.
        EXPECT_SUCCESS(api().buf32GetBuf(source, 0, 0, 150, 140, &given));
        EXPECT_SUCCESS(api().buf32GetBuf(made, 0, 0, 150, 140, &given));
        EXPECT_EQ(word(source, field_last_sharer), node_of(other));
        for (HBUF32 buffer : {HBUF32(source), made, given}) {
            picture.buffer = buffer;
            expect_image(picture);
        }
        EXPECT_EQ(api().buf32Free(made), 1);
    }
}

// --- what is refused -------------------------------------------------------------------------

TEST_F(Duplicates, NullHandles) {
    HBUF32 handle = 0;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(0, &handle));
    EXPECT_EQ(handle, 0u);
    Buffer source(8, 10, 10);
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(source, nullptr));
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(0, nullptr));
    handle = source;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(0, &handle));
    EXPECT_EQ(handle, HBUF32(source));
    EXPECT_EQ(api().buf32CountBuf(nullptr), 1);
}

TEST_F(Duplicates, OfCallerMemoryAreRefused) {
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    Buffer source(8, 10, 10, BUF32_CALLER_MEMORY, &memory), ordinary(8, 10, 10);
    HBUF32 handle = 0;
    EXPECT_SILENT_FAILURE(api().buf32DupBuf(source, &handle));
    EXPECT_EQ(handle, 0u);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
    handle = source;
    EXPECT_REPORT(api().buf32DupBuf(ordinary, &handle), 4026, 1, 3, 6);
    EXPECT_EQ(handle, HBUF32(source));
    forget_reports();
}

TEST_F(Duplicates, OfAnotherType) {
    for (uint32_t from : sharing_types)
        for (uint32_t to : sharing_types) {
            if (from == to)
                continue;
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            Buffer source(8, 20, 10, from),
                destination(8, 21, 10, to); // the type is looked at first
            const std::vector<uintptr_t> before = fields_of(destination);
            HBUF32 handle = destination;
            EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
            expect_report(types_differ);
            EXPECT_EQ(handle, HBUF32(destination));
            EXPECT_EQ(fields_of(destination), before);
            EXPECT_EQ(word(source, field_first_sharer), 0u);
        }
}

TEST_F(Duplicates, OfAnotherSizeOrDepth) {
    const struct {
        int bits, width, height;
    } others[] = {{8, 21, 10}, {8, 20, 11}, {16, 20, 10}, {7, 20, 10}, {8, 10, 20}, {1, 160, 10}};
    for (uint32_t type : sharing_types)
        for (const auto &other : others) {
            SCOPED_TRACE(size_text(other.bits, other.width, other.height));
            Buffer source(8, 20, 10, type),
                destination(other.bits, other.width, other.height, type);
            const std::vector<uintptr_t> before = fields_of(destination);
            HBUF32 handle = destination;
            EXPECT_EQ(api().buf32DupBuf(source, &handle), 0);
            expect_report(sizes_differ);
            EXPECT_EQ(handle, HBUF32(destination));
            EXPECT_EQ(fields_of(destination), before);
            EXPECT_EQ(word(source, field_first_sharer), 0u);
        }
}

TEST_F(Duplicates, WithoutARecord) {
    for (uint32_t type : sharing_types) {
        Random random(test_seed(), 6);
        Family family;
        Member &source = family.allocate(8, 300, 200, type, random);
        Member *made = nullptr;
        for (const auto &[n, failure] : {std::pair{1, no_record}, {2, no_layout}}) {
            {
                FailingCall record("GlobalAlloc", n);
                EXPECT_FALSE(family.try_duplicate(source, made));
                EXPECT_TRUE(record.happened());
            }
            expect_report(failure);
            family.check();
        }
        FailingCall record("GlobalAlloc", 3); // there is no third
        EXPECT_TRUE(family.try_duplicate(source, made));
        EXPECT_FALSE(record.happened());
        family.check();
    }
}

// The thread runs above its own priority as long as the call takes, and at its own again after it.
TEST_F(Duplicates, AreMadeAtARaisedPriority) {
    Random random(test_seed(), 7);
    Family family;
    Member &source = family.allocate(8, 300, 200, BUF32_TILED, random);
    const HANDLE thread = GetCurrentThread();
    for (int own :
         {THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_HIGHEST}) {
        ASSERT_TRUE(SetThreadPriority(thread, own));
        int seen = -100;
        {
            frame::Replaced<frame::call::GlobalAlloc> look([&](UINT flags, SIZE_T bytes) {
                seen = GetThreadPriority(thread);
                return GlobalAlloc(flags, bytes);
            });
            HBUF32 made = 0;
            EXPECT_EQ(api().buf32DupBuf(source.handle(), &made), 1);
            EXPECT_EQ(seen, THREAD_PRIORITY_ABOVE_NORMAL);
            EXPECT_EQ(GetThreadPriority(thread), own);
            EXPECT_EQ(api().buf32Free(made), 1);
        }
        HBUF32 made = 0;
        FailingCall record("GlobalAlloc", 1);
        EXPECT_EQ(api().buf32DupBuf(source.handle(), &made), 0);
        EXPECT_EQ(GetThreadPriority(thread), own);
        expect_report(no_record);
    }
    ASSERT_TRUE(SetThreadPriority(thread, THREAD_PRIORITY_NORMAL));
}

} // namespace
} // namespace q32::test
