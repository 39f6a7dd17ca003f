// Rectangles of plain images to packed blocks and back: hand-worked bytes, then all positions and
// widths of bits and pixels between fences, with everything about the rectangle compared, with and
// without the MMX flag.
#include "tests/rows/row_fixture.h"

#include "tests/frame/fenced_memory.h"
#include "tests/frame/misaligned.h"
#include "tests/frame/random.h"
#include "tests/kernels/scaling_models.h"

namespace q32::test {
namespace {

using model::Bytes;

class PlainRectangles : public RowTestWithMmxFlag {
protected:
    // The copies always return 1.
    void get(const std::uint8_t *image, int x, int y, int width, int height, int bytes_per_pixel,
             int stride, std::uint8_t *block) {
        EXPECT_EQ(rows().mem32GetMem(image, x, y, width, height, bytes_per_pixel, stride, block),
                  1);
    }
    void merge(std::uint8_t *image, int x, int y, const std::uint8_t *block, int width, int height,
               int bytes_per_pixel, int stride) {
        EXPECT_EQ(rows().mem32MergeMem(image, x, y, block, width, height, bytes_per_pixel, stride),
                  1);
    }
};

INSTANTIATE_TEST_SUITE_P(Mmx, PlainRectangles, testing::Bool(), mmx_flag_name);

Bytes counted(std::size_t count) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

Bytes padded(Bytes bytes, std::size_t size) {
    bytes.resize(size, 0xEE);
    return bytes;
}

// --- examples -----------------------------------------------------------------------------------

TEST_P(PlainRectangles, RowsOfFifteenBytesBackToBack) {
    const Bytes image = counted(120); // rows of 24
    Bytes block(32, 0xEE);
    get(image.data(), 2, 1, 5, 2, 3, 24, block.data());
    EXPECT_EQ(block, padded({30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44,
                             54, 55, 56, 57, 58, 59, 60, 61, 62, 63, 64, 65, 66, 67, 68},
                            32));
}

TEST_P(PlainRectangles, FifteenBytesARowIntoTheImage) {
    const Bytes block = counted(30);
    Bytes image(72, 0xEE);
    merge(image.data(), 2, 1, block.data(), 5, 2, 3, 24);
    Bytes wanted(72, 0xEE);
    std::iota(wanted.begin() + 30, wanted.begin() + 45, std::uint8_t{0});
    std::iota(wanted.begin() + 54, wanted.begin() + 69, std::uint8_t{15});
    EXPECT_EQ(image, wanted);
}

// Any number of bytes is taken as it stands.
TEST_P(PlainRectangles, PixelsOfAnySize) {
    const Bytes image = counted(200);
    for (const int pixel_bytes : {1, 2, 3, 4, 5, 6, 7, 8, 12, 20}) {
        Bytes block(90, 0xEE);
        get(image.data(), 1, 1, 2, 2, pixel_bytes, 60, block.data());
        Bytes wanted;
        for (int row = 1; row <= 2; ++row)
            for (int byte = 0; byte < 2 * pixel_bytes; ++byte)
                wanted.push_back(static_cast<std::uint8_t>(60 * row + pixel_bytes + byte));
        EXPECT_EQ(block, padded(wanted, 90)) << pixel_bytes;

        Bytes target(200, 0xEE);
        merge(target.data(), 1, 1, block.data(), 2, 2, pixel_bytes, 60);
        for (std::size_t at = 0; at < 200; ++at) {
            const int column = static_cast<int>(at % 60);
            const bool inside =
                at >= 60 && at < 180 && column >= pixel_bytes && column < 3 * pixel_bytes;
            EXPECT_EQ(target[at], inside ? at : 0xEE) << pixel_bytes << ", byte " << at;
        }
    }
}

TEST_P(PlainRectangles, BitsFromTheMiddleOfBytes) {
    const Bytes image{0xFF, 0xFF, 0xFF, 0x12, 0xA5, 0xC3, 0xFE, 0xDC, 0xBA};
    Bytes block(6, 0xEE);
    get(image.data(), 4, 1, 10, 2, 0, 3, block.data());
    // 0010 1010|0101: 0010101001; 1110 1101|1100: 1110110111
    EXPECT_EQ(block, (Bytes{0x2A, 0x40, 0xED, 0xC0, 0xEE, 0xEE}));
    get(image.data(), 7, 1, 3, 1, 0, 3, block.data());
    EXPECT_EQ(block, (Bytes{0x40, 0x40, 0xED, 0xC0, 0xEE, 0xEE})); // 0 10
    get(image.data(), 11, 2, 8, 1, 0, 3, block.data());
    EXPECT_EQ(block, (Bytes{0xE5, 0x40, 0xED, 0xC0, 0xEE, 0xEE})); // 11100|101, and no second byte
}

TEST_P(PlainRectangles, BitsAroundTheRectangleAreKept) {
    const Bytes block{0x2A, 0x7F, 0xED, 0xFF}; // 0010101001 and 1110110111; the others do not count
    Bytes ones(9, 0xFF);
    merge(ones.data(), 4, 1, block.data(), 10, 2, 0, 3);
    EXPECT_EQ(ones, (Bytes{0xFF, 0xFF, 0xFF, 0xF2, 0xA7, 0xFF, 0xFE, 0xDF, 0xFF}));
    Bytes zeros(9, 0x00);
    merge(zeros.data(), 4, 1, block.data(), 10, 2, 0, 3);
    EXPECT_EQ(zeros, (Bytes{0x00, 0x00, 0x00, 0x02, 0xA4, 0x00, 0x0E, 0xDC, 0x00}));
    Bytes within(3, 0xFF);
    const Bytes low{0x00};
    merge(within.data(), 10, 0, low.data(), 3, 1, 0, 3);
    EXPECT_EQ(within, (Bytes{0xFF, 0xC7, 0xFF}));
}

TEST_P(PlainRectangles, AStrideBelowZeroGoesUpwards) {
    const Bytes image = counted(40); // the first row is the last in memory: 30 to 39
    Bytes block(8, 0xEE);
    get(image.data() + 30, 3, 1, 3, 2, 1, -10, block.data());
    EXPECT_EQ(block, (Bytes{23, 24, 25, 13, 14, 15, 0xEE, 0xEE}));
    get(image.data() + 30, 8, 2, 8, 2, 0, -10, block.data()); // the second byte of rows 2 and 3
    EXPECT_EQ(block, (Bytes{11, 1, 25, 13, 14, 15, 0xEE, 0xEE}));

    Bytes target(40, 0xEE);
    const Bytes given{1, 2, 3, 4};
    merge(target.data() + 30, 4, 1, given.data(), 2, 2, 1, -10);
    merge(target.data() + 30, 16, 3, given.data(), 8, 1, 0, -10);
    Bytes wanted(40, 0xEE);
    wanted[24] = 1;
    wanted[25] = 2;
    wanted[14] = 3;
    wanted[15] = 4;
    wanted[2] = 1;
    EXPECT_EQ(target, wanted);
}

TEST_P(PlainRectangles, NothingIsCopied) {
    Bytes image(40, 0x55);
    Bytes block(40, 0xEE);
    const auto nothing = [&](int width, int height, int pixel_bytes) {
        get(image.data(), 1, 1, width, height, pixel_bytes, 10, block.data());
        EXPECT_EQ(block, Bytes(40, 0xEE)) << width << " x " << height << ", " << pixel_bytes;
        merge(image.data(), 1, 1, block.data(), width, height, pixel_bytes, 10);
        EXPECT_EQ(image, Bytes(40, 0x55)) << width << " x " << height << ", " << pixel_bytes;
    };
    for (const int none : {0, -1, -9, -1000, INT_MIN})
        for (const int pixel_bytes : {0, 1, 2, 3, 4, 7}) {
            nothing(3, none, pixel_bytes);
            nothing(none, 3, pixel_bytes);
            nothing(none, none, pixel_bytes);
        }
    for (const int below : {-1, -2, -3, -100, INT_MIN})
        nothing(3, 2, below);
}

// --- all positions, between fences --------------------------------------------------------------

// An image whose first touched byte of the first row is the front fence's neighbour, or whose last
// one of the last row is the rear one's; and the block at either fence.
class Scene {
public:
    Scene(std::size_t image_bytes, std::size_t block_bytes)
        : image_{image_bytes}, block_{block_bytes} {}

    struct Shape {
        std::size_t x, width, height, gap; // gap: bytes between rows that no rectangle touches
        std::size_t pixel_bytes;           // 0: bits

        std::size_t first_byte() const { return pixel_bytes ? x * pixel_bytes : x / 8; }
        std::size_t touched() const {
            if (pixel_bytes)
                return width * pixel_bytes;
            return width == 0 ? 0 : (x % 8 + width + 7) / 8;
        }
        std::size_t stride() const { return touched() + gap; }
        std::size_t image_bytes() const {
            return height == 0 ? 0 : (height - 1) * stride() + touched();
        }
        std::size_t block_row() const {
            return pixel_bytes ? width * pixel_bytes : model::row_of_bits(width);
        }
        std::size_t block_bytes() const { return block_row() * height; }
        std::string text() const {
            return std::to_string(width) + " x " + std::to_string(height) + " at " +
                   std::to_string(x) + ", " + std::to_string(pixel_bytes) + " bytes, gap " +
                   std::to_string(gap);
        }
    };

    // Fills both with random bytes and puts them at their fences. up: the first row is the last in
    // memory.
    void set(const Shape &shape, bool image_at_end, bool block_at_end, bool up, Random &random) {
        shape_ = shape;
        random.fill({image_.begin(), image_.size()});
        random.fill({block_.begin(), block_.size()});
        lowest_ = image_at_end ? image_.end() - shape.image_bytes() : image_.begin();
        block = block_at_end ? block_.end() - shape.block_bytes() : block_.begin();
        const std::size_t first = up && shape.height > 0 ? (shape.height - 1) * shape.stride() : 0;
        step_ = static_cast<std::ptrdiff_t>(shape.stride()) * (up ? -1 : 1);
        touched_ = lowest_ + first;
        image = touched_ - shape.first_byte();
        image_before_.assign(image_.begin(), image_.end());
        block_before_.assign(block_.begin(), block_.end());
    }

    int stride() const { return static_cast<int>(step_); }

    testing::AssertionResult block_holds_the_rectangle() const {
        Bytes expected = block_before_;
        std::uint8_t *const packed = expected.data() + (block - block_.begin());
        for (std::size_t row = 0; row < shape_.height; ++row) {
            const std::uint8_t *const from = touched_ + static_cast<std::ptrdiff_t>(row) * step_;
            std::uint8_t *const to = packed + row * shape_.block_row();
            std::fill(to, to + shape_.block_row(), std::uint8_t{0});
            if (shape_.pixel_bytes)
                std::copy_n(from, shape_.block_row(), to);
            else
                for (std::size_t i = 0; i < shape_.width; ++i)
                    model::put_bit({to, shape_.block_row()}, i,
                                   model::bit({from, shape_.touched()}, shape_.x % 8 + i));
        }
        return compared(expected, image_before_);
    }

    testing::AssertionResult image_holds_the_block() const {
        Bytes expected = image_before_;
        std::uint8_t *const first = expected.data() + (touched_ - image_.begin());
        for (std::size_t row = 0; row < shape_.height; ++row) {
            const std::uint8_t *const from = block + row * shape_.block_row();
            std::uint8_t *const to = first + static_cast<std::ptrdiff_t>(row) * step_;
            if (shape_.pixel_bytes)
                std::copy_n(from, shape_.block_row(), to);
            else
                for (std::size_t i = 0; i < shape_.width; ++i)
                    model::put_bit({to, shape_.touched()}, shape_.x % 8 + i,
                                   model::bit({from, shape_.block_row()}, i));
        }
        return compared(block_before_, expected);
    }

    std::uint8_t *image = nullptr; // as the calls take it: row 0, pixel 0
    std::uint8_t *block = nullptr;

private:
    testing::AssertionResult compared(const Bytes &wanted_block, const Bytes &wanted_image) const {
        if (!std::equal(wanted_block.begin(), wanted_block.end(), block_.begin()))
            return testing::AssertionFailure() << shape_.text() << ": the block differs";
        if (!std::equal(wanted_image.begin(), wanted_image.end(), image_.begin()))
            return testing::AssertionFailure() << shape_.text() << ": the image differs";
        return testing::AssertionSuccess();
    }

    FencedMemory image_, block_;
    Shape shape_{};
    std::uint8_t *lowest_ = nullptr, *touched_ = nullptr;
    std::ptrdiff_t step_ = 0;
    Bytes image_before_, block_before_;
};

class PlainRectanglesInScenes : public PlainRectangles {
protected:
    testing::AssertionResult copies(Scene &scene, const Scene::Shape &shape, unsigned sides,
                                    Random &random) {
        const int x = static_cast<int>(shape.x), width = static_cast<int>(shape.width);
        const int height = static_cast<int>(shape.height);
        const int pixel_bytes = static_cast<int>(shape.pixel_bytes);
        const bool up = sides & 4;
        // Rows above the rectangle need not be there for the call: the base is moved instead.
        const int y = static_cast<int>(random.below(3));
        scene.set(shape, sides & 1, sides & 2, up, random);
        std::uint8_t *const base = scene.image - y * scene.stride();
        get(base, x, y, width, height, pixel_bytes, scene.stride(), scene.block);
        if (const auto result = scene.block_holds_the_rectangle(); !result)
            return result;
        scene.set(shape, sides & 1, sides & 2, up, random);
        merge(base, x, y, scene.block, width, height, pixel_bytes, scene.stride());
        return scene.image_holds_the_block();
    }
};

INSTANTIATE_TEST_SUITE_P(Mmx, PlainRectanglesInScenes, testing::Bool(), mmx_flag_name);

TEST_P(PlainRectanglesInScenes, BitsAtAllPositionsAndWidths) {
    Scene scene{1, 1};
    for (std::size_t x = 0; x < 16; ++x)
        for (std::size_t width = 0; width <= 300; ++width) {
            Random random{test_seed(), x * 1024 + width};
            const Scene::Shape shape{x, width, 1 + random.below(3), random.below(3), 0};
            const auto sides = static_cast<unsigned>(x + width);
            ASSERT_TRUE(copies(scene, shape, sides % 8, random)) << "seed " << test_seed();
            ASSERT_TRUE(copies(scene, shape, (sides + 3) % 8, random)) << "seed " << test_seed();
        }
}

TEST_P(PlainRectanglesInScenes, PixelsOfAllWidths) {
    Scene scene{8192, 8192};
    for (const std::size_t pixel_bytes : {1, 2, 3, 4, 5, 8})
        for (std::size_t width = 0; width <= 300; ++width) {
            Random random{test_seed(), pixel_bytes * 1024 + width};
            const Scene::Shape shape{random.below(9), width, 1 + random.below(3), random.below(3),
                                     pixel_bytes};
            const auto sides = static_cast<unsigned>(width + pixel_bytes);
            ASSERT_TRUE(copies(scene, shape, sides % 8, random)) << "seed " << test_seed();
            ASSERT_TRUE(copies(scene, shape, (sides + 3) % 8, random)) << "seed " << test_seed();
        }
}

TEST_P(PlainRectanglesInScenes, RandomRectangles) {
    Scene scene{60000, 60000};
    random_cases(600, [&](Random &random, std::uint64_t number) {
        const std::size_t pixel_bytes = random.below(7);
        const std::size_t most = pixel_bytes ? 3000 / pixel_bytes : 24000;
        const Scene::Shape shape{random.below(200), random.below(most), random.below(12),
                                 random.below(40), pixel_bytes};
        const testing::AssertionResult result =
            copies(scene, shape, static_cast<unsigned>(random.below(8)), random);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

// --- calls --------------------------------------------------------------------------------------

TEST_P(PlainRectangles, OnEveryStack) {
    const Bytes image = counted(250);
    for (const std::uint32_t stack : {0u, 4u, 8u, 12u})
        for (const int pixel_bytes : {0, 1, 3, 4}) {
            Bytes wanted(160), block(160);
            get(image.data(), 3, 1, 12, 3, pixel_bytes, 60, wanted.data());
            EXPECT_EQ(frame::call_at(stack, rows().mem32GetMem, image.data(), 3, 1, 12, 3,
                                     pixel_bytes, 60, block.data()),
                      1);
            EXPECT_EQ(block, wanted) << stack;
            Bytes merged(250), target(250);
            merge(merged.data(), 3, 1, block.data(), 12, 3, pixel_bytes, 60);
            EXPECT_EQ(frame::call_at(stack, rows().mem32MergeMem, target.data(), 3, 1, block.data(),
                                     12, 3, pixel_bytes, 60),
                      1);
            EXPECT_EQ(target, merged) << stack;
        }
}

// The tag word of the floating-point unit: two bits a register, all set when all are free.
TEST_P(PlainRectangles, TheFloatingPointRegistersStayFree) {
    const Bytes image = counted(250);
    Bytes block(250);
    std::uint32_t environment[7];
    for (const int pixel_bytes : {0, 1, 2, 3, 4}) {
        get(image.data(), 1, 0, 19, 3, pixel_bytes, 80, block.data());
        asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment));
        EXPECT_EQ(environment[2] & 0xFFFF, 0xFFFFu) << pixel_bytes;
        merge(block.data(), 1, 0, image.data(), 19, 3, pixel_bytes, 80);
        asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment));
        EXPECT_EQ(environment[2] & 0xFFFF, 0xFFFFu) << pixel_bytes;
    }
}

} // namespace
} // namespace q32::test
