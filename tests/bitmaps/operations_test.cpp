// Locks, cells, rows, addresses and rectangles of bitmap buffers: one cell of the whole image, with
// rows packed to the byte between fences.
#include "tests/bitmaps/bitmap_fixture.h"

#include <climits>
#include <functional>

namespace q32::test {
namespace {

class BitmapOperations : public BitmapTest {};

// A buffer over a bare block that ends at a fence, and what its pixels must be.
class Fenced {
public:
    Fenced(const Shape &shape_in, Random &random)
        : shape(shape_in), block_(shape_in.bitmap_bytes(false)), buffer_(shape_in, filled(random)),
          pixels(packed_pixels(bitmap_, shape_in)) {}
    operator HBUF32() const { return buffer_; }
    uint8_t *storage() const { return block_.data(); }
    // Padding and tail of the block, which no operation on pixels touches.
    void expect_pixels_now() const {
        Bytes expected = bitmap_;
        std::copy(pixels.begin(), pixels.end(), expected.begin());
        EXPECT_EQ(bytes_at(block_.data(), block_.size()), expected);
    }

    const Shape shape;

private:
    void *filled(Random &random) {
        bitmap_ = random_bytes(random, block_.size());
        std::copy(bitmap_.begin(), bitmap_.end(), block_.data());
        return block_.data();
    }
    FencedBlock block_;
    Bytes bitmap_;
    Opened buffer_;

public:
    Bytes pixels;
};

// --- locks and cells -------------------------------------------------------------------------

TEST_F(BitmapOperations, LocksGiveTheStorageAndCount) {
    Random random(test_seed(), 0);
    Fenced buffer({24, 300, 200}, random);
    uint32_t count = 0;
    for (int mode : {1, 2, 3, 4, 0, 9, -1, INT_MIN}) {
        void *base = nullptr;
        EXPECT_SUCCESS(api().buf32Lock(buffer, mode, &base));
        EXPECT_EQ(base, buffer.storage());
        EXPECT_EQ(word(buffer, field_lock_count), ++count);
        EXPECT_EQ(word(buffer, field_access_mode), uint32_t(mode));
        buffer.expect_pixels_now();
    }
    while (count-- > 0)
        EXPECT_SUCCESS(api().buf32Unlock(buffer));
    EXPECT_FAILURE(api().buf32Unlock(buffer), 5804, 1, 3, 4);
    EXPECT_FAILURE(api().buf32CellUnlock(buffer, 0), 5804, 0, 3, 2);
}

TEST_F(BitmapOperations, HaveOneCell) {
    Random random(test_seed(), 1);
    for (int bits : {1, 4, 7, 8, 12, 16, 24, 64}) {
        const Shape shape{bits, 300, 200};
        SCOPED_TRACE(bits);
        Fenced buffer(shape, random);
        void *address = nullptr;
        BUF32CELL cell;
        EXPECT_SUCCESS(api().buf32CellLock(buffer, 0, &address, &cell));
        EXPECT_EQ(address, buffer.storage());
        const BUF32CELL expected{0,
                                 0,
                                 0,
                                 300,
                                 200,
                                 bits,
                                 bits / 8,
                                 int(shape.row_bytes()),
                                 size_t(shape.packed_bytes()),
                                 60000};
        EXPECT_TRUE(same_cell(cell, expected));
        EXPECT_SUCCESS(api().buf32CellUnlock(buffer, 0));
        // A row of the table is no cell.
        for (int index : {-1, 1, 2, 199, 200, INT_MAX, INT_MIN}) {
            address = &address;
            EXPECT_FAILURE(api().buf32CellLock(buffer, index, &address, nullptr), 5804, 0, 3, 1);
            EXPECT_EQ(address, nullptr);
        }
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
    }
}

// --- rows ------------------------------------------------------------------------------------

TEST_F(BitmapOperations, RowsAsStored) {
    random_cases(150, [](Random &random, uint64_t number) {
        const Shape shape{between(random, 1, 64), between(random, 1, 300), between(random, 1, 30)};
        SCOPED_TRACE(shape.text() + "; " + rerun(number));
        Fenced buffer(shape, random);
        EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
        FencedBlock row(shape.row_bytes());
        for (int i = 0; i < 10; ++i) {
            const int y = between(random, -3, shape.height + 3);
            uint8_t *const stored = buffer.pixels.data() +
                                    size_t(std::clamp(y, 0, shape.height - 1)) * shape.row_bytes();
            if (random.below(2) == 0) {
                EXPECT_SUCCESS(api().buf32Line(buffer, y, BUF32_LINE_READ, row.data()));
                EXPECT_EQ(bytes_at(row.data(), row.size()), bytes_at(stored, row.size()));
            } else {
                random.fill(std::span(row.data(), row.size()));
                EXPECT_SUCCESS(api().buf32Line(buffer, y, BUF32_LINE_WRITE, row.data()));
                std::memcpy(stored, row.data(), row.size());
            }
        }
        buffer.expect_pixels_now();
        EXPECT_SUCCESS(api().buf32Unlock(buffer));
        EXPECT_FAILURE(api().buf32Line(buffer, 0, BUF32_LINE_READ, row.data()), 5804, 1, 3, 3);
        return !::testing::Test::HasFailure();
    });
}

// Every mode, against an ordinary linear buffer with the same pixels.
TEST_F(BitmapOperations, RowsInAllModesAreThoseOfLinearBuffers) {
    Random random(test_seed(), 2);
    for (int bits : {1, 4, 8, 16, 24}) {
        const Shape shape{bits, 77, 6};
        Fenced buffer(shape, random);
        Buffer linear(bits, 77, 6, BUF32_LINEAR);
        write_pixels(linear, buffer.pixels);
        EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
        EXPECT_SUCCESS(api().buf32Lock(linear, BUF32_READ, nullptr));
        for (int mode = -1; mode <= 10; ++mode) {
            SCOPED_TRACE(size_text(bits, 77, 6) + " mode " + std::to_string(mode));
            Bytes memory = random_bytes(random, 77 * 8), same = memory;
            for (int y = -1; y <= 6; ++y) {
                EXPECT_SUCCESS(api().buf32Line(buffer, y, mode, memory.data()));
                EXPECT_SUCCESS(api().buf32Line(linear, y, mode, same.data()));
                EXPECT_EQ(memory, same);
            }
            EXPECT_EQ(word(buffer, field_access_mode), word(linear, field_access_mode));
            EXPECT_EQ(word(buffer, field_lock_count), 1u);
            buffer.pixels = pixels_of(linear);
            buffer.expect_pixels_now();
        }
        EXPECT_SUCCESS(api().buf32Unlock(buffer));
        EXPECT_SUCCESS(api().buf32Unlock(linear));
    }
}

// A 16-bit bitmap, pixel by pixel by hand: green of 5-6-5, and its 24-bit form.
TEST_F(BitmapOperations, RowsOf565Pixels) {
    Bytes pixels = {0xE0, 0x07, 0x1F, 0x00}; // green, blue
    Opened buffer(Shape{16, 2, 1}, pixels.data());
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_READ, nullptr));
    uint8_t row[6] = {};
    EXPECT_SUCCESS(api().buf32Line(buffer, 0, BUF32_LINE_READ_565, row));
    EXPECT_EQ(bytes_at(row, 6), (Bytes{7, 255, 7, 7, 3, 255}));
    const uint8_t red[6] = {255, 0, 0, 0, 0, 255};
    std::memcpy(row, red, 6);
    EXPECT_SUCCESS(api().buf32Line(buffer, 0, BUF32_LINE_WRITE_565, row));
    EXPECT_EQ(pixels, (Bytes{0x00, 0xF8, 0x1F, 0x00}));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
}

// --- addresses -------------------------------------------------------------------------------

TEST_F(BitmapOperations, AddressesOfPixels) {
    random_cases(100, [](Random &random, uint64_t number) {
        const Shape shape{between(random, 1, 64), between(random, 1, 400), between(random, 1, 300)};
        SCOPED_TRACE(shape.text() + "; " + rerun(number));
        Fenced buffer(shape, random);
        for (int i = 0; i < 40; ++i) {
            const int x = between(random, -5, shape.width + 5),
                      y = between(random, -5, shape.height + 5);
            const auto column = size_t(std::clamp(x, 0, shape.width - 1)),
                       row = size_t(std::clamp(y, 0, shape.height - 1));
            EXPECT_EQ(api().buf32PointAddr(buffer, x, y),
                      buffer.storage() + row * shape.row_bytes() + column * size_t(shape.bits) / 8);
            void *cell = nullptr, *pixel = nullptr;
            int x_in_cell = -7, y_in_cell = -7;
            const bool inside = x >= 0 && x < shape.width && y >= 0 && y < shape.height;
            EXPECT_EQ(api().buf32PointAddEx(buffer, x, y, &cell, &pixel, &x_in_cell, &y_in_cell),
                      inside ? 0 : -1);
            if (inside) {
                EXPECT_EQ(cell, buffer.storage());
                EXPECT_EQ(pixel, api().buf32PointAddr(buffer, x, y));
                EXPECT_EQ(x_in_cell, x);
                EXPECT_EQ(y_in_cell, y);
            }
        }
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
        EXPECT_EQ(word(buffer, field_access_mode), 0u);
        expect_no_report();
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BitmapOperations, AddressesWithoutStorage) {
    Bytes pixels(100);
    Opened buffer(Shape{8, 10, 8}, pixels.data());
    const uintptr_t address = cell_address_word(buffer, 0), storage = word(buffer, field_storage);
    set_word(buffer, field_cell_address, 0);
    set_word(buffer, field_storage, 0);
    EXPECT_FAILURE(api().buf32PointAddr(buffer, 0, 0), 3200, 1, 4, 184);
    set_word(buffer, field_cell_address, address);
    set_word(buffer, field_storage, storage);
}

// --- rectangles ------------------------------------------------------------------------------

// Around and across the image, and far away.
Area random_area(const Shape &shape, Random &random) {
    return {between(random, -20, shape.width + 2), between(random, -8, shape.height + 2),
            between(random, 1, shape.width + 30), between(random, 1, shape.height + 10)};
}

// Depths at which a pixel of a rectangle is the pixel of the buffer.
int random_depth(Random &random) {
    constexpr int depths[] = {1, 1, 2, 3, 4, 5, 6, 7, 8, 8, 16, 24, 24, 32, 40, 48, 56, 64};
    return depths[random.below(std::size(depths))];
}

// A rectangle of some buffer, random bytes of its size between fences, and the buffer's picture.
struct Scene {
    explicit Scene(Random &random)
        : shape{random_depth(random), between(random, 1, 150), between(random, 1, 20)},
          buffer(shape, random), area(random_area(shape, random)),
          memory(block_bytes(shape.bits, area), MemoryBlock::fence_behind, random),
          picture(Geometry(shape.width, shape.height, shape.bits, BUF32_DIB)) {
        picture.image.bytes() = buffer.pixels;
    }
    bool meets() const { return picture.meets(area); }
    void expect_after() const {
        buffer.expect_pixels_now();
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
    }

    const Shape shape;
    Fenced buffer;
    const Area area;
    MemoryBlock memory;
    Picture picture;
};

// Runs a test on many scenes.
void on_scenes(const std::function<void(Scene &, Random &)> &test) {
    random_cases(400, [&](Random &random, uint64_t number) {
        Scene scene(random);
        SCOPED_TRACE(scene.shape.text() + "; " + rerun(number));
        test(scene, random);
        return !::testing::Test::HasFailure();
    });
}

TEST_F(BitmapOperations, GetMem) {
    on_scenes([](Scene &scene, Random &) {
        const auto &[x, y, width, height] = scene.area;
        Bytes expected = scene.memory.contents();
        EXPECT_EQ(api().buf32GetMem(scene.buffer, x, y, width, height, scene.memory.data()),
                  scene.meets());
        if (!scene.meets())
            expect_report(3200, 1, 3, 13);
        scene.picture.get(scene.area, expected.data());
        EXPECT_TRUE(same_block(scene.picture.geometry, scene.area, expected, scene.memory.data()));
        scene.expect_after();
    });
}

TEST_F(BitmapOperations, MergeMem) {
    on_scenes([](Scene &scene, Random &) {
        const auto &[x, y, width, height] = scene.area;
        const Bytes given = scene.memory.contents();
        EXPECT_EQ(api().buf32MergeMem(scene.buffer, x, y, scene.memory.data(), width, height),
                  scene.meets());
        if (!scene.meets())
            expect_report(3200, 1, 3, 14);
        scene.picture.merge(scene.area, given.data());
        EXPECT_TRUE(same_rows(scene.picture.image.bytes(), scene.buffer.storage(),
                              scene.shape.row_bytes(),
                              int64_t(scene.shape.width) * scene.shape.bits));
        scene.memory.expect(given);
        // And the rest of the block is as it was.
        scene.buffer.pixels = bytes_at(scene.buffer.storage(), scene.shape.packed_bytes());
        scene.expect_after();
    });
}

TEST_F(BitmapOperations, GetMemWithBackground) {
    on_scenes([](Scene &scene, Random &random) {
        const auto &[x, y, width, height] = scene.area;
        FencedBlock colour(scene.picture.geometry.unit_bytes());
        random.fill(std::span(colour.data(), colour.size()));
        Bytes expected = scene.memory.contents();
        scene.picture.get_with_background(scene.area, expected.data(), colour.data());
        EXPECT_SUCCESS(api().buf32GetMemWithBC(scene.buffer, x, y, width, height,
                                               scene.memory.data(), colour.data()));
        EXPECT_TRUE(same_block(scene.picture.geometry, scene.area, expected, scene.memory.data()));
        scene.expect_after();
        // Under 8 bits the rectangle is read under a lock, when there is something to read.
        EXPECT_EQ(word(scene.buffer, field_access_mode),
                  scene.shape.bits < 8 && scene.meets() ? BUF32_READ : 0);
    });
}

// Depths that are no whole bytes stay inside the block as well.
TEST_F(BitmapOperations, RectanglesOfOddDepthsStayInside) {
    Random random(test_seed(), 3);
    for (int bits = 9; bits <= 63; ++bits) {
        if (bits % 8 == 0)
            continue;
        SCOPED_TRACE(bits);
        const Shape shape{bits, 21, 5};
        Fenced buffer(shape, random);
        const auto unit = size_t(bits / 8);
        FencedBlock memory(unit * 21 * 5), colour(unit);
        const uint8_t *const pixels = buffer.pixels.data();
        EXPECT_SUCCESS(api().buf32GetMem(buffer, 0, 0, 21, 5, memory.data()));
        for (size_t y = 0; y < 5; ++y) // whole bytes of a pixel, side by side
            EXPECT_EQ(bytes_at(memory.data() + y * unit * 21, unit * 21),
                      bytes_at(pixels + y * shape.row_bytes(), unit * 21));
        EXPECT_SUCCESS(api().buf32MergeMem(buffer, 0, 0, memory.data(), 21, 5));
        buffer.expect_pixels_now();
        EXPECT_SUCCESS(
            api().buf32GetMemWithBC(buffer, -1, -1, 21, 5, memory.data(), colour.data()));
    }
}

TEST_F(BitmapOperations, RectanglesOfHugeSides) {
    Random random(test_seed(), 4);
    Fenced buffer({8, 9, 4}, random);
    uint8_t memory[64] = {};
    const Area nothing[] = {{INT_MAX, 0, INT_MAX, 1},
                            {INT_MIN, 0, INT_MAX, 1},
                            {0, 0, 0, 5},
                            {0, 0, 5, 0},
                            {0, 0, -5, 5},
                            {0, 0, 5, INT_MIN},
                            {0, INT_MIN, 1, INT_MAX},
                            {9, 0, 1, 1},
                            {0, 4, 1, 1},
                            {-1, 0, 1, 1}};
    for (const Area &area : nothing) {
        SCOPED_TRACE(area.x);
        EXPECT_FAILURE(api().buf32GetMem(buffer, area.x, area.y, area.width, area.height, memory),
                       3200, 1, 3, 13);
        EXPECT_FAILURE(api().buf32MergeMem(buffer, area.x, area.y, memory, area.width, area.height),
                       3200, 1, 3, 14);
    }
    EXPECT_EQ(bytes_at(memory, 64), Bytes(64));
    buffer.expect_pixels_now();
}

TEST_F(BitmapOperations, NullArgumentsOfRectangles) {
    Random random(test_seed(), 5);
    Fenced buffer({8, 9, 4}, random);
    uint8_t memory[64] = {};
    for (HBUF32 handle : {HBUF32(0), HBUF32(buffer)}) {
        EXPECT_FAILURE(api().buf32GetMem(handle, 0, 0, 1, 1, nullptr), 3200, 0, 4, 6);
        EXPECT_FAILURE(api().buf32MergeMem(handle, 0, 0, nullptr, 1, 1), 3200, 0, 4, 6);
        EXPECT_FAILURE(api().buf32GetMemWithBC(handle, 0, 0, 1, 1, nullptr, memory), 3200, 0, 4, 6);
        EXPECT_SILENT_FAILURE(api().buf32GetMemWithBC(handle, 0, 0, 1, 1, memory, nullptr));
    }
    buffer.expect_pixels_now();
}

// --- all else --------------------------------------------------------------------------------

TEST_F(BitmapOperations, HeightsCannotBeChanged) {
    Random random(test_seed(), 6);
    Fenced buffer({8, 9, 4}, random);
    for (int rows : {1, 4, 5}) {
        EXPECT_FAILURE(api().buf32ReAlloc(buffer, rows), 3200, 0, 4, 11);
    }
    buffer.expect_pixels_now();
}

TEST_F(BitmapOperations, MemoryForRowsAndCells) {
    Random random(test_seed(), 7);
    Fenced buffer({24, 9, 4}, random);
    for (const auto &[kind, bytes] : {std::pair{1, 108u}, {2, 27u}}) {
        void *block = nullptr;
        size_t unit = 0;
        EXPECT_SUCCESS(api().buf32GetMemSpace(buffer, kind, 3, 0, &block, &unit));
        EXPECT_EQ(unit, bytes);
        frame::forget_block(block);
        GlobalFree(block);
    }
}

TEST_F(BitmapOperations, SwitchesAndLimitsMeanNothing) {
    set_memory_limit(1, 0);
    set_file_limit(1, 0);
    use_no_directory();
    Random random(test_seed(), 8);
    Fenced buffer({24, 300, 200}, random);
    EXPECT_SUCCESS(api().buf32Lock(buffer, BUF32_OVERWRITE, nullptr));
    EXPECT_SUCCESS(api().buf32Unlock(buffer));
    const HBUF32 duplicate = duplicate_of(buffer);
    EXPECT_SUCCESS(api().buf32Lock(duplicate, BUF32_WRITE, nullptr));
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_SUCCESS(api().buf32Unlock(duplicate));
    EXPECT_SUCCESS(api().buf32Free(duplicate));
    buffer.expect_pixels_now();
}

} // namespace
} // namespace q32::test
