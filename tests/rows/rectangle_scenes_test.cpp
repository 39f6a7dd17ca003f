// Rectangles of plain images to packed blocks and back, at all positions left and right of the base
// and of all widths, between fences: everything about the rectangle is compared, with and without
// the MMX flag.
#include "tests/frame/fenced_memory.h"
#include "tests/frame/random.h"
#include "tests/models/scaling.h"
#include "tests/rows/plain_rectangles_fixture.h"

namespace q32::test {
namespace {

using model::Bytes;

// --- scenes -------------------------------------------------------------------------------------

// An image whose first touched byte of the first row is the front fence's neighbour, or whose last
// one of the last row is the rear one's; and the block at either fence.
class Scene {
public:
    Scene(std::size_t image_bytes, std::size_t block_bytes)
        : image_{image_bytes}, block_{block_bytes},
          noise_(2 * std::max(image_.size(), block_.size())) {
        Random random{test_seed(), image_bytes + block_bytes};
        random.fill(noise_);
    }

    struct Shape {
        std::ptrdiff_t x; // below 0: left of the base
        std::size_t width, height;
        std::size_t gap;         // bytes between rows that no rectangle touches
        std::size_t pixel_bytes; // 0: bits

        // Of bits: the place of the first one in its byte.
        std::size_t first_bit() const { return static_cast<std::size_t>((x % 8 + 8) % 8); }
        // From the base.
        std::ptrdiff_t first_byte() const {
            if (pixel_bytes)
                return x * static_cast<std::ptrdiff_t>(pixel_bytes);
            return (x - static_cast<std::ptrdiff_t>(first_bit())) / 8;
        }
        std::size_t touched() const {
            if (pixel_bytes)
                return width * pixel_bytes;
            return width == 0 ? 0 : (first_bit() + width + 7) / 8;
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
        fill(image_, random);
        fill(block_, random);
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
                    model::put_bit(to, i, model::bit(from, shape_.first_bit() + i));
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
                    model::put_bit(to, shape_.first_bit() + i, model::bit(from, i));
        }
        return compared(block_before_, expected);
    }

    std::uint8_t *image = nullptr; // as the calls take it: row 0, pixel 0
    std::uint8_t *block = nullptr;

private:
    void fill(const FencedMemory &memory, Random &random) const {
        const std::size_t from = random.below(noise_.size() - memory.size() + 1);
        std::copy_n(noise_.data() + from, memory.size(), memory.begin());
    }

    testing::AssertionResult compared(const Bytes &wanted_block, const Bytes &wanted_image) const {
        if (!std::equal(wanted_block.begin(), wanted_block.end(), block_.begin()))
            return testing::AssertionFailure() << shape_.text() << ": the block differs";
        if (!std::equal(wanted_image.begin(), wanted_image.end(), image_.begin()))
            return testing::AssertionFailure() << shape_.text() << ": the image differs";
        return testing::AssertionSuccess();
    }

    FencedMemory image_, block_;
    Bytes noise_; // the bytes of both are somewhere in it
    Shape shape_{};
    std::uint8_t *lowest_ = nullptr, *touched_ = nullptr;
    std::ptrdiff_t step_ = 0;
    Bytes image_before_, block_before_;
};

// --- all positions ------------------------------------------------------------------------------

class PlainRectanglesInScenes : public PlainRectangles {
protected:
    static std::size_t whole(std::ptrdiff_t number) { return static_cast<std::size_t>(number); }
    // Left or right of the base, no further than `most`.
    static std::ptrdiff_t position(Random &random, std::size_t most) {
        return static_cast<std::ptrdiff_t>(random.below(2 * most + 1) - most);
    }

    testing::AssertionResult copies(Scene &scene, const Scene::Shape &shape, unsigned sides,
                                    Random &random) {
        const int x = static_cast<int>(shape.x), width = static_cast<int>(shape.width);
        const int height = static_cast<int>(shape.height);
        const int pixel_bytes = static_cast<int>(shape.pixel_bytes);
        const bool up = sides & 4;
        // Rows between the base and the rectangle need not be there: the base is moved instead.
        const int y = static_cast<int>(random.below(5)) - 2;
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

// Each at either fence, with strides above and below zero.
TEST_P(PlainRectanglesInScenes, BitsLeftAndRightOfTheBase) {
    Scene scene{1, 1};
    for (std::ptrdiff_t x = -40; x <= 40; ++x)
        for (std::size_t width = 0; width <= 70; ++width)
            for (unsigned sides = 0; sides < 8; ++sides) {
                Random random{test_seed(), whole(x + 40) * 1024 + width * 8 + sides};
                const Scene::Shape shape{x, width, 1 + random.below(4), random.below(4), 0};
                ASSERT_TRUE(copies(scene, shape, sides, random)) << "seed " << test_seed();
            }
}

TEST_P(PlainRectanglesInScenes, PixelsLeftAndRightOfTheBase) {
    Scene scene{2400, 2400};
    for (const std::size_t pixel_bytes : {1, 2, 3, 4, 5, 8})
        for (std::ptrdiff_t x = -40; x <= 40; ++x)
            for (const std::size_t width : {0, 1, 2, 3, 7, 40, 70})
                for (unsigned sides = 0; sides < 8; ++sides) {
                    Random random{test_seed(), whole(x + 40) * 1024 + width * 8 + sides};
                    const Scene::Shape shape{x, width, 1 + random.below(4), random.below(4),
                                             pixel_bytes};
                    ASSERT_TRUE(copies(scene, shape, sides, random)) << "seed " << test_seed();
                }
}

// Where the number of a bit behind the last one, or of one before the first, has no 32 bits.
TEST_P(PlainRectanglesInScenes, BitsFarFromTheBase) {
    Scene scene{1, 1};
    for (const std::ptrdiff_t x : {INT_MIN, INT_MIN + 1, INT_MIN + 13, -(1 << 30) - 3, -100003,
                                   100003, (1 << 30) + 3, INT_MAX - 75, INT_MAX - 3, INT_MAX})
        for (const std::size_t width : {0, 1, 3, 5, 8, 9, 31, 64, 70})
            for (unsigned sides = 0; sides < 8; ++sides) {
                Random random{test_seed(), width * 8 + sides};
                const Scene::Shape shape{x, width, 1 + random.below(4), random.below(4), 0};
                ASSERT_TRUE(copies(scene, shape, sides, random)) << "seed " << test_seed();
            }
}

TEST_P(PlainRectanglesInScenes, BitsOfAllWidths) {
    Scene scene{1, 1};
    for (std::ptrdiff_t x = -8; x < 8; ++x)
        for (std::size_t width = 0; width <= 300; ++width) {
            Random random{test_seed(), whole(x + 8) * 1024 + width};
            const Scene::Shape shape{x, width, 1 + random.below(3), random.below(3), 0};
            const auto sides = static_cast<unsigned>(whole(x + 8) + width);
            ASSERT_TRUE(copies(scene, shape, sides % 8, random)) << "seed " << test_seed();
            ASSERT_TRUE(copies(scene, shape, (sides + 3) % 8, random)) << "seed " << test_seed();
        }
}

TEST_P(PlainRectanglesInScenes, PixelsOfAllWidths) {
    Scene scene{8192, 8192};
    for (const std::size_t pixel_bytes : {1, 2, 3, 4, 5, 8})
        for (std::size_t width = 0; width <= 300; ++width) {
            Random random{test_seed(), pixel_bytes * 1024 + width};
            const Scene::Shape shape{position(random, 9), width, 1 + random.below(3),
                                     random.below(3), pixel_bytes};
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
        const Scene::Shape shape{position(random, 200), random.below(most), random.below(12),
                                 random.below(40), pixel_bytes};
        const testing::AssertionResult result =
            copies(scene, shape, static_cast<unsigned>(random.below(8)), random);
        EXPECT_TRUE(result) << rerun(number);
        return bool(result);
    });
}

} // namespace
} // namespace q32::test
