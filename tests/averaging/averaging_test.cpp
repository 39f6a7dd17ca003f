// Averaging from buffers into buffers: rows of all kinds arrive where they belong, and a callback
// that throws leaves nothing locked.
#include "apps/pictures/area_average.h"
#include "apps/pictures/averaging.h"
#include "tests/frame/random.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace apps {
namespace {

using q32::test::Random;

constexpr int width = 150, height = 131; // more than a cell
constexpr int new_width = 33, new_height = 130;

using Pixels = std::vector<uint8_t>;

Buffer buffer_of(int columns, int rows, int bytes, uint32_t type, Pixels &pixels) {
    HBUF32 handle = 0;
    EXPECT_EQ(buf32Alloc(&handle, bytes * 8, columns, rows, type, nullptr), 1);
    EXPECT_EQ(buf32MergeMem(handle, 0, 0, pixels.data(), columns, rows), 1);
    return Buffer(handle);
}

Pixels pixels_of(HBUF32 buffer, int bytes) {
    Pixels pixels(size_t(new_width) * new_height * size_t(bytes));
    EXPECT_EQ(buf32GetMem(buffer, 0, 0, new_width, new_height, pixels.data()), 1);
    return pixels;
}

int locks_of(HBUF32 buffer) {
    BUF32INFO info = {};
    EXPECT_EQ(buf32GetInfo(buffer, &info), 1);
    return info.lock_count;
}

// What a picture of so many bytes for each pixel, colours and opacity, is averaged to.
struct Case {
    Case(int colour_bytes, bool has_opacity, uint32_t type, Random &random)
        : bytes(colour_bytes), colour_pixels(size_t(width) * height * size_t(bytes)),
          opacity_pixels(has_opacity ? size_t(width) * height : 0) {
        random.fill(colour_pixels);
        random.fill(opacity_pixels);
        Pixels empty(size_t(new_width) * new_height * size_t(bytes));
        colours = buffer_of(width, height, bytes, type, colour_pixels);
        new_colours = buffer_of(new_width, new_height, bytes, type, empty);
        if (!has_opacity)
            return;
        opacity = buffer_of(width, height, 1, type, opacity_pixels);
        new_opacity = buffer_of(new_width, new_height, 1, type, empty);
    }

    void average(Light light, const std::function<void(int)> &row_done) {
        apps::average({colours.get(), opacity.get()}, {new_colours.get(), new_opacity.get()}, light,
                      "the picture", row_done);
    }

    // The same through rows in memory.
    void expect_averaged(Light light) {
        const bool has_opacity = !opacity_pixels.empty();
        const size_t channels = size_t(bytes) + (has_opacity ? 1 : 0);
        AreaAverage sums({width, height}, {new_width, new_height}, int(channels), light);
        Pixels row(width * channels), wanted_colours, wanted_opacity;
        for (size_t y = 0; y < height; ++y) {
            for (size_t i = 0; i < row.size(); ++i) {
                const size_t pixel = y * width + i / channels, channel = i % channels;
                row[i] = channel < size_t(bytes) ? colour_pixels[pixel * size_t(bytes) + channel]
                                                 : opacity_pixels[pixel];
            }
            const uint8_t *made = sums.take(row.data());
            for (size_t i = 0; made != nullptr && i < new_width * channels; ++i)
                (i % channels < size_t(bytes) ? wanted_colours : wanted_opacity).push_back(made[i]);
        }
        EXPECT_EQ(pixels_of(new_colours.get(), bytes), wanted_colours);
        if (has_opacity) {
            EXPECT_EQ(pixels_of(new_opacity.get(), 1), wanted_opacity);
        }
    }

    void expect_unlocked() {
        for (const Buffer *buffer : {&colours, &opacity, &new_colours, &new_opacity})
            if (*buffer) {
                EXPECT_EQ(locks_of(buffer->get()), 0);
            }
    }

    int bytes;
    Pixels colour_pixels, opacity_pixels;
    Buffer colours, opacity, new_colours, new_opacity;
};

TEST(Averaging, OfBuffersIsThatOfTheirRows) {
    Random random{q32::test::test_seed(), 0};
    for (const uint32_t type : {BUF32_TILED, BUF32_LINEAR})
        for (const int bytes : {1, 3})
            for (const bool has_opacity : {false, true})
                for (const Light light : {Light::as_stored, Light::linear}) {
                    SCOPED_TRACE(testing::Message() << bytes << ' ' << has_opacity);
                    Case picture(bytes, has_opacity, type, random);
                    int done = 0;
                    picture.average(light, [&](int rows) { EXPECT_EQ(rows, ++done); });
                    EXPECT_EQ(done, height);
                    picture.expect_averaged(light);
                    picture.expect_unlocked();
                }
}

TEST(Averaging, EndsWhereItIsStopped) {
    struct Stop : std::runtime_error {
        using runtime_error::runtime_error;
    };
    Random random{q32::test::test_seed(), 1};
    for (const int last : {1, 70, height}) {
        Case picture(3, true, BUF32_TILED, random);
        int done = 0;
        const auto stop = [&](int rows) {
            if ((done = rows) == last)
                throw Stop("stop");
        };
        EXPECT_THROW(picture.average(Light::as_stored, stop), Stop);
        EXPECT_EQ(done, last);
        picture.expect_unlocked();
    }
}

} // namespace
} // namespace apps
