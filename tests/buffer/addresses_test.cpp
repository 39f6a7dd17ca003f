// Pixel addresses: buf32PointAddr, buf32PointAddEx and the PointAddress entry.
#include "tests/buffer/buffer_fixture.h"

#include <climits>

namespace q32::test {
namespace {

class BufferAddresses : public BufferTest {};

constexpr uint8_t colour[8] = {1, 2, 3, 4, 5, 6, 7, 8};
constexpr Failure null_handle{3200, 1, 4, 181}, no_address{3200, 1, 4, 182},
    no_block{3200, 1, 4, 183}, no_linear{3200, 1, 4, 184};

uintptr_t address_of(const void *pointer) {
    return uintptr_t(pointer);
}
uintptr_t point(HBUF32 buffer, int x, int y) {
    return address_of(api().buf32PointAddr(buffer, x, y));
}
uintptr_t entry_point(HBUF32 buffer, int x, int y) {
    return address_of(
        entry_of<void *(HBUF32, int, int)>(buffer, entry_point_address)(buffer, x, y));
}

struct Place {
    int cell;
    uintptr_t cell_address, pixel_address;
    int x, y;
    bool operator==(const Place &) const = default;
};
void PrintTo(const Place &place, std::ostream *to) {
    *to << "cell " << place.cell << " at " << place.cell_address << ", pixel at "
        << place.pixel_address << ", (" << place.x << ", " << place.y << ")";
}

Place place_of(HBUF32 buffer, int x, int y) {
    void *cell = nullptr, *pixel = nullptr;
    Place place{};
    place.cell = api().buf32PointAddEx(buffer, x, y, &cell, &pixel, &place.x, &place.y);
    place.cell_address = address_of(cell);
    place.pixel_address = address_of(pixel);
    return place;
}

int clamped(int value, int count) {
    return std::clamp(value, 0, count - 1);
}

constexpr uint32_t addressed_types[] = {BUF32_TILED, BUF32_LINEAR, BUF32_LINEAR_MEMORY,
                                        BUF32_LINEAR_SHRINK};

TEST_F(BufferAddresses, FollowTheLayout) {
    random_cases(250, [](Random &random, uint64_t number) {
        const int bits = between(random, 1, 64);
        const int width = between(random, 1, 500), height = between(random, 1, 400);
        const uint32_t type = addressed_types[random.below(std::size(addressed_types))];
        SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type) + "; " +
                     rerun(number));
        Buffer buffer(bits, width, height, type);
        EXPECT_TRUE(buffer);
        const Geometry model(width, height, bits, type);
        const uintptr_t storage = word(buffer, field_storage);
        const int outside[] = {-1, -1000, INT_MIN, 32000, INT_MAX};
        for (int i = 0; i < 60; ++i) {
            int x = between(random, 0, width - 1), y = between(random, 0, height - 1);
            if (random.below(4) == 0)
                x = outside[random.below(5)];
            if (random.below(4) == 0)
                y = outside[random.below(5)];
            const int inside_x = clamped(x, width), inside_y = clamped(y, height);
            const auto expected = storage + uint32_t(model.pixel_offset(inside_x, inside_y));
            EXPECT_EQ(point(buffer, x, y), expected) << x << ", " << y;
            EXPECT_EQ(entry_point(buffer, x, y), expected) << x << ", " << y;
        }
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
        EXPECT_EQ(word(buffer, field_access_mode), 1u);
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BufferAddresses, ClampAtTheEdges) {
    for (uint32_t type : addressed_types) {
        Buffer buffer(24, 300, 200, type);
        EXPECT_EQ(point(buffer, 300, 0), point(buffer, 299, 0));
        EXPECT_EQ(point(buffer, -1, 0), point(buffer, 0, 0));
        EXPECT_EQ(point(buffer, 0, 200), point(buffer, 0, 199));
        EXPECT_EQ(point(buffer, 0, -1), point(buffer, 0, 0));
        EXPECT_EQ(point(buffer, INT_MAX, INT_MAX), point(buffer, 299, 199));
        EXPECT_EQ(point(buffer, INT_MIN, INT_MIN), word(buffer, field_storage));
    }
}

TEST_F(BufferAddresses, InCell5Of300By200At8Bits) {
    Buffer buffer(8, 300, 200);
    const Place place = place_of(buffer, 299, 199);
    EXPECT_EQ(place.cell, 5);
    EXPECT_EQ(place.x, 43);
    EXPECT_EQ(place.y, 71);
    EXPECT_EQ(place.cell_address, cell_address_word(buffer, 5));
    EXPECT_EQ(place.pixel_address - place.cell_address, 71u * 44 + 43);
    EXPECT_EQ(point(buffer, 299, 199), place.pixel_address);
}

// The byte offset of x truncates.
TEST_F(BufferAddresses, UnderEightBitsAreThoseOfTheByte) {
    Buffer bits(1, 300, 3), pairs(2, 300, 3), nibbles(4, 300, 3, BUF32_LINEAR);
    EXPECT_EQ(point(bits, 7, 0) - point(bits, 0, 0), 0u);
    EXPECT_EQ(point(bits, 8, 0) - point(bits, 0, 0), 1u);
    EXPECT_EQ(point(bits, 127, 0) - point(bits, 0, 0), 15u);
    EXPECT_EQ(point(bits, 128, 0), cell_address_word(bits, 1));
    EXPECT_EQ(point(bits, 299, 2) - cell_address_word(bits, 2), 2u * 6 + 5);
    EXPECT_EQ(point(pairs, 3, 0) - point(pairs, 0, 0), 0u);
    EXPECT_EQ(point(pairs, 4, 0) - point(pairs, 0, 0), 1u);
    EXPECT_EQ(point(nibbles, 299, 2) - point(nibbles, 0, 0), 2u * 150 + 149);
}

TEST_F(BufferAddresses, OfNullHandles) {
    EXPECT_EQ(api().buf32PointAddr(0, 0, 0), nullptr);
    expect_report(null_handle);
    EXPECT_EQ(api().buf32PointAddEx(0, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
    void *address = nullptr;
    int value = 0;
    EXPECT_EQ(api().buf32PointAddEx(0, 0, 0, &address, &address, &value, &value), -1);
    expect_no_report();
}

TEST_F(BufferAddresses, OfTypesThatHaveNone) {
    const uint8_t pixels[4] = {};
    const BUF32PATTERN pattern{2, 2, pixels};
    uint8_t image[100] = {};
    const BUF32MEMORY memory{0, image};
    Buffer patterned(8, 10, 10, BUF32_PATTERN, &pattern);
    Buffer over(8, 10, 10, BUF32_CALLER_MEMORY, &memory);
    Buffer file(8, 300, 200, BUF32_TILED_FILE), small(8, 10, 10, BUF32_TILED_FILE);
    Buffer other(8, 10, 10, 0x100);
    for (HBUF32 buffer :
         {HBUF32(patterned), HBUF32(over), HBUF32(file), HBUF32(small), HBUF32(other)}) {
        EXPECT_EQ(api().buf32PointAddr(buffer, 0, 0), nullptr) << word(buffer, field_type);
        expect_report(no_address);
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
    }
}

// Buffers that have lost their cell addresses, as no export leaves them.
TEST_F(BufferAddresses, WithoutCellAddress) {
    for (uint32_t type : addressed_types) {
        Buffer buffer(8, 300, 200, type);
        const uintptr_t address = cell_address_word(buffer, 0);
        set_word(buffer, field_cell_address, 0);
        EXPECT_EQ(api().buf32PointAddr(buffer, 0, 0), nullptr);
        expect_report(type == BUF32_TILED ? no_address : no_linear);
        EXPECT_EQ(api().buf32PointAddEx(buffer, 0, 0, nullptr, nullptr, nullptr, nullptr), -1);
        expect_no_report();
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
        set_word(buffer, field_cell_address, address);
        EXPECT_EQ(point(buffer, 0, 0), address);
    }
}

TEST_F(BufferAddresses, OfOneColourAreItsBlock) {
    for (const auto &[width, height] : {std::pair{300, 200}, {10, 10}}) {
        Buffer buffer(24, width, height, BUF32_ONE_COLOUR, colour);
        EXPECT_EQ(api().buf32PointAddr(buffer, 0, 0), nullptr);
        expect_report(no_block);
        EXPECT_EQ(api().buf32PointAddr(buffer, -1, 9999), nullptr);
        expect_report(no_block);
        void *block = nullptr;
        ASSERT_EQ(api().buf32Lock(buffer, BUF32_READ, &block), 1);
        ASSERT_EQ(api().buf32Unlock(buffer), 1);
        for (int x : {0, 5, 299, -1, 9999})
            EXPECT_EQ(point(buffer, x, x), address_of(block));
        EXPECT_EQ(entry_point(buffer, 3, 3), address_of(block));
    }
}

// --- buf32PointAddEx -------------------------------------------------------------------------

TEST_F(BufferAddresses, PlacesFollowTheLayout) {
    random_cases(200, [](Random &random, uint64_t number) {
        const int bits = between(random, 1, 64);
        const int width = between(random, 1, 500), height = between(random, 1, 400);
        const uint32_t type = random.below(8) == 0 ? BUF32_TILED_FILE : BUF32_TILED;
        SCOPED_TRACE(size_text(bits, width, height) + " type " + std::to_string(type) + "; " +
                     rerun(number));
        Buffer buffer(bits, width, height, type);
        const Geometry model(width, height, bits, type);
        const uintptr_t storage = word(buffer, field_storage);
        for (int i = 0; i < 60; ++i) {
            const int x = between(random, 0, width - 1), y = between(random, 0, height - 1);
            const int cell = y / 128 * int(model.columns()) + x / 128;
            EXPECT_EQ(place_of(buffer, x, y),
                      (Place{cell, storage + uint32_t(model.offset_of(cell)),
                             storage + uint32_t(model.pixel_offset(x, y)), x % 128, y % 128}));
        }
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
        EXPECT_EQ(word(buffer, field_access_mode), 1u);
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BufferAddresses, PlacesOutsideAreMinusOne) {
    for (uint32_t type : {BUF32_TILED, BUF32_TILED_FILE, BUF32_ONE_COLOUR}) {
        Buffer buffer(8, 300, 200, type, colour);
        const struct {
            int x, y;
        } outside[] = {{300, 0},     {0, 200},     {-1, 0},      {0, -1},  {300, 200}, {INT_MAX, 0},
                       {0, INT_MAX}, {INT_MIN, 0}, {0, INT_MIN}, {383, 0}, {0, 255}};
        for (const auto &at : outside) {
            EXPECT_EQ(api().buf32PointAddEx(buffer, at.x, at.y, nullptr, nullptr, nullptr, nullptr),
                      -1);
            EXPECT_EQ(place_of(buffer, at.x, at.y).cell, -1) << at.x << ", " << at.y;
        }
        expect_no_report();
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
    }
}

TEST_F(BufferAddresses, PlacesStoreWhatIsAskedFor) {
    Buffer buffer(8, 300, 200);
    const Place all = place_of(buffer, 150, 140);
    ASSERT_EQ(all.cell, 4);
    void *address = nullptr;
    int value = -7;
    EXPECT_EQ(api().buf32PointAddEx(buffer, 150, 140, nullptr, nullptr, nullptr, nullptr), 4);
    EXPECT_EQ(api().buf32PointAddEx(buffer, 150, 140, &address, nullptr, nullptr, nullptr), 4);
    EXPECT_EQ(address_of(address), all.cell_address);
    EXPECT_EQ(api().buf32PointAddEx(buffer, 150, 140, nullptr, &address, nullptr, nullptr), 4);
    EXPECT_EQ(address_of(address), all.pixel_address);
    EXPECT_EQ(api().buf32PointAddEx(buffer, 150, 140, nullptr, nullptr, &value, nullptr), 4);
    EXPECT_EQ(value, 22);
    EXPECT_EQ(api().buf32PointAddEx(buffer, 150, 140, nullptr, nullptr, nullptr, &value), 4);
    EXPECT_EQ(value, 12);
}

// Linear buffers have one cell: the place is that of the image.
TEST_F(BufferAddresses, PlacesOfLinearBuffersAreInCell0) {
    for (uint32_t type : {BUF32_LINEAR, BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK}) {
        Buffer buffer(24, 300, 200, type);
        for (const auto &[x, y] : {std::pair{0, 0}, {100, 100}, {299, 0}, {0, 199}, {299, 199}}) {
            const uintptr_t storage = word(buffer, field_storage);
            EXPECT_EQ(place_of(buffer, x, y),
                      (Place{0, storage, storage + uint32_t(y * 900 + x * 3), x, y}));
        }
    }
}

// One colour: the call makes the block, and every cell is the block.
TEST_F(BufferAddresses, PlacesOfOneColourAreInItsBlock) {
    Buffer buffer(8, 300, 200, BUF32_ONE_COLOUR, colour);
    const Place place = place_of(buffer, 299, 199);
    EXPECT_EQ(place.cell, 5);
    EXPECT_EQ(place.cell_address, word(buffer, field_storage));
    EXPECT_NE(place.cell_address, 0u);
    EXPECT_EQ(place.pixel_address, place.cell_address + 71 * 44 + 43);
    EXPECT_EQ(memory_in_use(), 16384u);
    EXPECT_EQ(word(buffer, field_lock_count), 0u);
}

// An address found is an address to write to.
TEST_F(BufferAddresses, ReachThePixels) {
    for (uint32_t type : addressed_types) {
        Buffer buffer(24, 300, 200, type);
        PlainImage image(Geometry(300, 200, 24, type));
        Random random(test_seed(), type);
        random.fill(image.bytes());
        for (int y = 0; y < 200; ++y)
            for (int x = 0; x < 300; ++x)
                std::memcpy(api().buf32PointAddr(buffer, x, y), image.row(size_t(y)) + 3 * x, 3);
        expect_pixels(buffer, image);
    }
}

} // namespace
} // namespace q32::test
