// What becomes of storage when its buffer is freed while others share it: memory and swap files go
// to the first sharer, in every order of freeing, and nothing is left when the last user has gone.
#include "tests/sharing/family.h"

#include <algorithm>
#include <array>
#include <functional>

namespace q32::test {
namespace {

class HandOver : public BufferTest {};

constexpr int bits = 8, width = 140, height = 131;
constexpr uint32_t bytes = width * height;

// Four buffers that share, made in different ways.
struct Make {
    const char *name;
    void (*make)(Family &family, uint32_t type, Random &random);
};
constexpr Make makes[] = {
    {"new duplicates",
     [](Family &family, uint32_t type, Random &random) {
         family.allocate(bits, width, height, type, random);
         for (size_t i = 0; i < 3; ++i)
             family.duplicate(family[i]);
     }},
    {"over buffers with storage",
     [](Family &family, uint32_t type, Random &random) {
         for (size_t i = 0; i < 4; ++i)
             family.allocate(bits, width, height, type, random);
         for (size_t i = 1; i < 4; ++i)
             family.duplicate_into(family[i - 1], family[i]);
     }},
    {"the first with storage, then new ones",
     [](Family &family, uint32_t type, Random &random) {
         family.allocate(bits, width, height, type, random);
         family.allocate(bits, width, height, type, random);
         family.duplicate_into(family[0], family[1]);
         family.duplicate(family[1]);
         family.duplicate(family[0]);
     }},
    {"new ones, the last with storage",
     [](Family &family, uint32_t type, Random &random) {
         family.allocate(bits, width, height, type, random);
         family.duplicate(family[0]);
         family.duplicate(family[0]);
         family.allocate(bits, width, height, type, random);
         family.duplicate_into(family[2], family[3]);
     }},
    {"two pairs",
     [](Family &family, uint32_t type, Random &random) {
         family.allocate(bits, width, height, type, random);
         family.allocate(bits, width, height, type, random);
         family.duplicate(family[0]);
         family.duplicate(family[1]);
     }},
};

TEST_F(HandOver, InEveryOrder) {
    uint64_t number = 0;
    for (uint32_t type : sharing_types)
        for (const Make &way : makes) {
            std::array<size_t, 4> order{0, 1, 2, 3};
            do {
                if (!in_this_round(number++))
                    continue;
                SCOPED_TRACE(testing::Message() << "type " << type << ", " << way.name << ", freed "
                                                << order[0] << order[1] << order[2] << order[3]);
                Random random(test_seed(), type);
                Family family;
                way.make(family, type, random);
                family.check();
                std::array<Member *, 4> members;
                for (size_t i = 0; i < 4; ++i)
                    members[i] = &family[i];
                for (size_t which : order) {
                    family.free(*members[which]);
                    family.check();
                }
                if (HasFailure())
                    return;
            } while (std::next_permutation(order.begin(), order.end()));
        }
}

// What is left after freeing can be written, duplicated and freed like any other.
TEST_F(HandOver, WhatIsLeftWorks) {
    uint64_t number = 0;
    for (uint32_t type : sharing_types)
        for (const Make &way : makes)
            for (const WritePath &path : write_paths(type, bits)) {
                if (!in_this_round(number++))
                    continue;
                SCOPED_TRACE(testing::Message()
                             << "type " << type << ", " << way.name << ", " << path.name);
                Random random(test_seed(), type);
                Family family;
                way.make(family, type, random);
                family.free(family[0]);
                family.write(family[1], path, random);
                family.check();
                family.duplicate(family[0]);
                family.check();
                if (HasFailure())
                    return;
            }
}

// The fields that describe the storage move, one by one, and the freed buffer's are gone with it.
TEST_F(HandOver, MovesTheStorageItself) {
    for (uint32_t type : sharing_types)
        for (bool file : {false, true}) {
            SCOPED_TRACE(testing::Message() << type << ' ' << file);
            send_to_files(file);
            const bool in_file = type == BUF32_TILED_FILE || (file && type != BUF32_LINEAR_MEMORY);
            Random random(test_seed(), type);
            Buffer source(24, 300, 200, type);
            Picture picture = picture_beside(source);
            picture.image = fill(source, random);
            HBUF32 first = 0, second = 0;
            ASSERT_EQ(api().buf32DupBuf(source, &first), 1);
            ASSERT_EQ(api().buf32DupBuf(source, &second), 1);
            const size_t memory = memory_in_use(), mapped = mapped_bytes();
            EXPECT_EQ(memory, in_file ? 0u : 180000u);
            EXPECT_EQ(mapped, in_file ? 180000u : 0u);
            const uintptr_t storage = word(source, field_storage),
                            mapping = word(source, field_mapping),
                            handle = word(source, field_file),
                            entry = word(source, field_record_entry);
            const std::string name = swap_file_of(source);
            EXPECT_EQ(name.empty(), !in_file);
            {
                ObservedCalls calls;
                FailingCall files("CreateFileA", 0), views("MapViewOfFile", 0),
                    deletions("DeleteFileA", 0), releases("VirtualFree", 0);
                source.free();
                EXPECT_EQ(calls.virtual_blocks().size() + calls.global_blocks().size(), 0u);
                EXPECT_EQ(files.calls() + views.calls() + deletions.calls() + releases.calls(), 0);
            }
            EXPECT_EQ(memory_in_use(), memory);
            EXPECT_EQ(mapped_bytes(), mapped);
            EXPECT_EQ(word(first, field_storage), storage);
            EXPECT_EQ(word(first, field_mapping), mapping);
            EXPECT_EQ(word(first, field_file), handle);
            EXPECT_EQ(word(first, field_record_entry), entry);
            EXPECT_EQ(swap_file_of(first), name);
            EXPECT_EQ(word(first, field_share_marker), 0u);
            EXPECT_EQ(word(second, field_source), uintptr_t(first));
            EXPECT_EQ(word(first, field_first_sharer), node_of(second));
            for (int i = 0; i < int(picture.geometry.cell_count()); ++i)
                EXPECT_EQ(cell_address_word(first, i),
                          storage + uint32_t(picture.geometry.offset_of(i)));
            for (HBUF32 left : {first, second}) {
                picture.buffer = left;
                expect_image(picture);
            }
            EXPECT_EQ(file_exists(name), in_file);
            EXPECT_EQ(api().buf32Free(first), 1);
            EXPECT_EQ(word(second, field_storage), storage);
            picture.buffer = second;
            expect_image(picture);
            EXPECT_EQ(file_exists(name), in_file);
            EXPECT_EQ(memory_in_use(), memory);
            EXPECT_EQ(mapped_bytes(), mapped);
            EXPECT_EQ(api().buf32Free(second), 1);
            EXPECT_FALSE(in_file && file_exists(name));
            EXPECT_EQ(memory_in_use(), 0u);
            EXPECT_EQ(mapped_bytes(), 0u);
        }
}

// A first sharer with storage of its own keeps it and gets the bytes; the freed storage is
// released.
TEST_F(HandOver, CopiesIntoStorageThatIsThere) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), type);
        Family family;
        Member &source = family.allocate(bits, width, height, type, random);
        Member &first = family.allocate(bits, width, height, type, random);
        family.duplicate_into(source, first);
        Member &second = family.duplicate(source);
        const uintptr_t storage = word(first.handle(), field_storage);
        const std::string name = swap_file_of(source.handle());
        EXPECT_EQ(memory_in_use() + mapped_bytes(), 2 * bytes);
        family.free(source);
        EXPECT_EQ(memory_in_use() + mapped_bytes(), bytes);
        EXPECT_EQ(word(first.handle(), field_storage), storage);
        EXPECT_EQ(second.source, &first);
        EXPECT_FALSE(!name.empty() && file_exists(name));
        family.check();
    }
}

// A duplicate is freed without touching anything of its source's.
TEST_F(HandOver, FreeingADuplicateOnlyDetachesIt) {
    for (uint32_t type : sharing_types) {
        Random random(test_seed(), type);
        Family family;
        Member &source = family.allocate(bits, width, height, type, random);
        Member &made = family.duplicate(source);
        {
            FailingCall unmaps("UnmapViewOfFile", 0), releases("VirtualFree", 0),
                closes("CloseHandle", 0);
            family.free(made);
            EXPECT_EQ(unmaps.calls() + releases.calls() + closes.calls(), 0);
        }
        family.check();
    }
}

// A locked buffer is not freed and goes on sharing.
TEST_F(HandOver, LockedBuffersStayInTheirChain) {
    Random random(test_seed(), 1);
    Family family;
    makes[0].make(family, BUF32_TILED_FILE, random);
    for (size_t i = 0; i < family.size(); ++i) {
        const HBUF32 buffer = family[i].handle();
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
        EXPECT_REPORT(api().buf32Free(buffer), 5804, 1, 4, 12);
        forget_reports();
        family.check();
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
    }
}

// Locks of sharers do not hold their source.
TEST_F(HandOver, ToALockedSharer) {
    Random random(test_seed(), 2);
    Family family;
    Member &source = family.allocate(bits, width, height, BUF32_TILED, random);
    Member &made = family.duplicate(source);
    void *base = nullptr;
    ASSERT_EQ(api().buf32Lock(made.handle(), BUF32_READ, &base), 1);
    family.free(source);
    EXPECT_EQ(word(made.handle(), field_lock_count), 1u);
    EXPECT_EQ(word(made.handle(), field_storage), uintptr_t(base)); // the address is still good
    family.check();
    ASSERT_EQ(api().buf32Unlock(made.handle()), 1);
}

// Storage moves with the rows that it has room for.
TEST_F(HandOver, OfAnotherCapacity) {
    for (uint32_t type : {BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK})
        for (bool file : {false, true}) {
            SCOPED_TRACE(testing::Message() << type << ' ' << file);
            send_to_files(file);
            Random random(test_seed(), type);
            Family family;
            Member &high = family.allocate(bits, 300, 200, type, random);
            Member &low = family.allocate(bits, 300, 50, type, random);
            family.duplicate(low);
            ASSERT_EQ(api().buf32ReAlloc(high.handle(), 50), 1);
            high.picture.geometry.height = 50;
            high.picture.image.set_rows(50);
            family.check();
            family.duplicate_into(high, low); // its own storage is lower than what it shares
            Member &third = family.duplicate(low);
            family.check();
            family.free(high); // low has storage and gets a copy
            family.check();
            family.free(low); // third has none and takes over what low had
            EXPECT_EQ(word(third.handle(), field_capacity_rows), 50u);
            family.check();
        }
}

TEST_F(HandOver, OfTheHigherStorageToALowerRecord) {
    Random random(test_seed(), 3);
    Family family;
    Member &high = family.allocate(bits, 300, 200, BUF32_LINEAR_SHRINK, random);
    ASSERT_EQ(api().buf32ReAlloc(high.handle(), 50), 1);
    high.picture.geometry.height = 50;
    high.picture.image.set_rows(50);
    Member &low = family.allocate(bits, 300, 50, BUF32_LINEAR_SHRINK, random);
    Member &of_low = family.duplicate(low); // capacity 50, no storage
    family.duplicate_into(high, of_low);    // gets storage of 50 rows first
    family.check();
    Member &of_high = family.duplicate(of_low); // capacity of the record it is made from
    of_high.capacity = int64_t(word(of_high.handle(), field_capacity_rows));
    family.check();
    family.free(of_low);
    family.free(high);
    EXPECT_EQ(word(of_high.handle(), field_reserved_bytes), 60000u); // that of the storage it took
    family.check();
    EXPECT_EQ(memory_in_use(), 60000u + 15000u);
}

// The end of the library: chains of every kind are alive, some of them locked.
TEST_F(HandOver, UnloadingWithChainsAlive) {
    fresh_library();
    std::vector<std::string> names;
    for (uint32_t type : sharing_types)
        for (int locks = 0; locks < 2; ++locks) {
            HBUF32 source = 0, given = 0;
            ASSERT_EQ(api().buf32Alloc(&source, bits, width, height, type, nullptr), 1);
            ASSERT_EQ(api().buf32Alloc(&given, bits, width, height, type, nullptr), 1);
            ASSERT_EQ(api().buf32DupBuf(source, &given), 1);
            HBUF32 made[3] = {};
            for (HBUF32 &one : made)
                ASSERT_EQ(api().buf32DupBuf(given, &one), 1);
            ASSERT_EQ(api().buf32Lock(made[0], BUF32_WRITE, nullptr), 1);
            ASSERT_EQ(api().buf32Unlock(made[0]), 1);
            for (HBUF32 buffer : {source, given, made[2]})
                for (int lock = 0; lock < locks; ++lock)
                    ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, nullptr), 1);
            if (type == BUF32_TILED_FILE)
                names.insert(names.end(), {swap_file_of(source), swap_file_of(given)});
        }
    EXPECT_EQ(api().buf32CountBuf(nullptr), 50);
    EXPECT_EQ(names.size(), 4u);
    expect_no_report();
    fresh_library(); // checks that the old one left nothing behind
    for (const std::string &name : names)
        EXPECT_FALSE(file_exists(name));
    expect_no_report();
}

} // namespace
} // namespace q32::test
