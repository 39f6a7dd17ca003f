// Duplicating into buffers that exist: they keep what storage they have, provide for their own
// sharers, and refuse in silence what would be a circle.
#include "tests/sharing/family.h"

namespace q32::test {
namespace {

class Destinations : public BufferTest {};

constexpr int bits = 8, width = 140, height = 131;
constexpr uint32_t bytes = width * height;

WritePath a_write() {
    return write_paths(BUF32_TILED, bits)[0];
}

// Nothing about sharing and storage may change.
void expect_refused_in_silence(Family &family, Member &source, Member &destination) {
    EXPECT_FALSE(family.try_duplicate_into(source, destination));
    expect_no_report();
    family.check();
}

TEST_F(Destinations, KeepTheirStorageAndTakeNoMore) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), type);
        Family family;
        Member &source = family.allocate(bits, width, height, type, random);
        Member &destination = family.allocate(bits, width, height, type, random);
        const uintptr_t storage = word(destination.handle(), field_storage);
        {
            ObservedCalls calls;
            family.duplicate_into(source, destination);
            EXPECT_EQ(calls.virtual_blocks().size() + calls.global_blocks().size(), 0u);
        }
        EXPECT_EQ(word(destination.handle(), field_storage), storage);
        EXPECT_EQ(memory_in_use() + mapped_bytes(), 2 * bytes);
        family.check();
        expect_read_everywhere(destination.picture);
        // Pixels of its own take only a copy.
        ObservedCalls calls;
        FailingCall files("CreateFileA", 0);
        family.write(destination, a_write(), random);
        EXPECT_EQ(calls.virtual_blocks().size() + size_t(files.calls()), 0u);
        EXPECT_EQ(word(destination.handle(), field_storage), storage);
        family.check();
    }
}

// Lock count and access mode of an existing buffer are its own.
TEST_F(Destinations, KeepTheirLocks) {
    Random random(test_seed(), 1);
    Family family;
    Member &source = family.allocate(bits, width, height, BUF32_TILED, random);
    Member &destination = family.allocate(bits, width, height, BUF32_TILED, random);
    ASSERT_EQ(api().buf32Lock(destination.handle(), BUF32_READ, nullptr), 1);
    family.duplicate_into(source, destination);
    EXPECT_EQ(word(destination.handle(), field_lock_count), 1u);
    EXPECT_EQ(word(destination.handle(), field_access_mode), 1u);
    ASSERT_EQ(api().buf32Unlock(destination.handle()), 1);
    family.check();
}

TEST_F(Destinations, ASecondTimeIsRefusedInSilence) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), type);
        Family family;
        Member &source = family.allocate(bits, width, height, type, random);
        Member &destination = family.allocate(bits, width, height, type, random);
        Member &made = family.duplicate(source);
        family.duplicate_into(source, destination);
        for (Member *sharer : {&destination, &made}) {
            expect_refused_in_silence(family, source, *sharer);
            expect_refused_in_silence(family, made, *sharer); // whose source is the same
            expect_refused_in_silence(family, destination, *sharer);
        }
        // Once it has pixels of its own it can share again.
        family.write(destination, a_write(), random);
        family.duplicate_into(made, destination);
        family.check();
    }
}

TEST_F(Destinations, OfItselfAndItsOwnSourceAreRefusedInSilence) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), type);
        Family family;
        Member &source = family.allocate(bits, width, height, type, random);
        expect_refused_in_silence(family, source, source); // nothing shares yet
        Member &made = family.duplicate(source), &third = family.duplicate(made);
        expect_refused_in_silence(family, source, source);
        expect_refused_in_silence(family, made, made);
        expect_refused_in_silence(family, made, source); // the source of what would be its source
        expect_refused_in_silence(family, third, source);
    }
}

// A duplicate that is to share with another source gets pixels, and storage, of its own first.
TEST_F(Destinations, ThatShareAnotherSource) {
    for (uint32_t type : sharing_types) {
        SCOPED_TRACE(type);
        Random random(test_seed(), type);
        Family family;
        Member &first = family.allocate(bits, width, height, type, random);
        Member &second = family.allocate(bits, width, height, type, random);
        Member &made = family.duplicate(first), &other = family.duplicate(first);
        EXPECT_EQ(memory_in_use() + mapped_bytes(), 2 * bytes);
        family.duplicate_into(second, made);
        EXPECT_EQ(memory_in_use() + mapped_bytes(), 3 * bytes);
        EXPECT_EQ(made.source, &second);
        EXPECT_EQ(other.source, &first);
        family.check();
        family.duplicate_into(first, made); // and back: it has storage now
        EXPECT_EQ(memory_in_use() + mapped_bytes(), 3 * bytes);
        EXPECT_EQ(word(first.handle(), field_last_sharer), node_of(made.handle()));
        family.check();
    }
}

// Its sharers keep the pixels that it gives up.
TEST_F(Destinations, WithSharersOfTheirOwn) {
    for (uint32_t type : sharing_types)
        for (int sharers = 1; sharers <= 4; ++sharers) {
            SCOPED_TRACE(testing::Message() << type << ' ' << sharers);
            Random random(test_seed(), type);
            Family family;
            Member &source = family.allocate(bits, width, height, type, random);
            Member &destination = family.allocate(bits, width, height, type, random);
            for (int i = 0; i < sharers; ++i)
                family.duplicate(destination);
            family.duplicate_into(source, destination);
            family.check();
            EXPECT_EQ(family[2].source, nullptr);
            if (sharers > 1) {
                EXPECT_EQ(family[3].source, &family[2]);
            }
            // Round in a circle: what was a sharer becomes the source of what was its source.
            family.duplicate_into(family[2], source);
            family.check();
            EXPECT_EQ(source.source, &family[2]);
            EXPECT_EQ(destination.source, nullptr);
        }
}

TEST_F(Destinations, OfSourcesThatAreDuplicates) {
    Random random(test_seed(), 2);
    Family family;
    Member &source = family.allocate(bits, width, height, BUF32_TILED, random);
    Member &made = family.duplicate(source);
    Member &destination = family.allocate(bits, width, height, BUF32_TILED, random);
    Member &of_destination = family.duplicate(destination);
    family.duplicate_into(made, destination);
    EXPECT_EQ(destination.source, &source);
    EXPECT_EQ(of_destination.source, nullptr);
    family.check();
    family.duplicate_into(of_destination, made);
    EXPECT_EQ(made.source, &of_destination);
    family.check();
}

// Cells at other places cannot be shared: such a destination gets a copy. At 128 columns cells
// differ in their heights only.
TEST_F(Destinations, OfAnotherLayout) {
    for (const int columns : {width, 128}) {
        SCOPED_TRACE(columns);
        Random random(test_seed(), 4);
        Family family;
        Member &tiled = family.allocate(24, columns, height, BUF32_TILED, random);
        Member &linear = family.allocate(24, columns, height, BUF32_LINEAR, random);
        for (const WritePath &path : write_paths(BUF32_LINEAR, 24))
            if (path.outcome == WritePath::one_colour)
                family.write(linear, path, random);
        family.write(linear, write_paths(BUF32_ONE_COLOUR, 24)[0], random);
        ASSERT_EQ(word(linear.handle(), field_type), BUF32_TILED);
        ASSERT_EQ(word(linear.handle(), field_cell_count), 1u);
        Member &of_tiled = family.duplicate(tiled), &of_linear = family.duplicate(linear);
        for (const auto &[from, to] : {std::pair{&tiled, &of_linear},
                                       {&linear, &of_tiled},
                                       {&of_linear, &linear},
                                       {&of_tiled, &tiled}}) {
            const Bytes shown = from->picture.image.bytes();
            family.duplicate_into(*from, *to);
            EXPECT_EQ(to->picture.image.bytes(), shown);
            family.check();
            expect_read_everywhere(to->picture);
            family.write(*to, a_write(), random);
            family.check();
        }
    }
}

// Every mismatch is reported before sharing is looked at, and changes nothing.
TEST_F(Destinations, MismatchesLeaveChainsAlone) {
    Random random(test_seed(), 3);
    Family family;
    Member &source = family.allocate(bits, width, height, BUF32_TILED, random);
    family.duplicate(source);
    Member &other_type = family.allocate(bits, width, height, BUF32_LINEAR, random);
    Member &other_size = family.allocate(bits, width, height + 1, BUF32_TILED, random);
    Member &of_type = family.duplicate(other_type), &of_size = family.duplicate(other_size);
    for (Member *from : {&source, &family[1]}) {
        for (Member *to : {&other_type, &of_type}) {
            EXPECT_FALSE(family.try_duplicate_into(*from, *to));
            expect_report(4026, 1, 3, 6);
        }
        for (Member *to : {&other_size, &of_size}) {
            EXPECT_FALSE(family.try_duplicate_into(*from, *to));
            expect_report(4026, 1, 3, 7);
        }
        family.check();
    }
}

// Into a special buffer, and from one: the types differ.
TEST_F(Destinations, OfSpecialTypes) {
    const uint8_t colour[1] = {7};
    const BUF32PATTERN pattern{1, 1, colour};
    Buffer ordinary(8, 20, 10), one_colour(8, 20, 10, BUF32_ONE_COLOUR, colour),
        patterned(8, 20, 10, BUF32_PATTERN, &pattern);
    for (HBUF32 special : {HBUF32(one_colour), HBUF32(patterned)}) {
        HBUF32 handle = special;
        EXPECT_REPORT(api().buf32DupBuf(ordinary, &handle), 4026, 1, 3, 6);
        EXPECT_EQ(handle, special);
    }
    HBUF32 handle = ordinary;
    EXPECT_REPORT(api().buf32DupBuf(patterned, &handle), 4026, 1, 3, 6);
    EXPECT_REPORT(api().buf32DupBuf(one_colour, &handle), 3200, 0, 2, 7);
    EXPECT_EQ(handle, HBUF32(ordinary));
    forget_reports();
}

} // namespace
} // namespace q32::test
