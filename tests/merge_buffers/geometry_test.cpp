// Any rectangle to any place: the result is that of a merge of the whole rectangle at once, by the
// model and by the library's own merge of plain memory.
#include "tests/merge_buffers/merge_fixture.h"

namespace q32::test {
namespace {

class Geometries : public MergeTestWithMmxFlag {};

// Sides around multiples of the cells' 128, and any others.
int random_side(Random &random) {
    const int around[] = {1, 2, 3, 127, 128, 129, 130, 255, 256, 257, 258, 383, 384, 385, 400};
    return random.below(2) == 0 ? around[random.below(std::size(around))] : between(random, 1, 400);
}

// A stretch that meets 0 .. side, near it.
void random_stretch(Random &random, int side, LONG &begin, LONG &end) {
    do {
        begin = between(random, -30, side);
        end = begin + between(random, 1, side + 40);
        if (random.below(4) == 0)
            begin = 0, end = side;
    } while (begin >= side || end <= 0);
}

// Where a stretch comes to lie: mostly over the destination, sometimes just beside it.
int random_place(Random &random, int side, LONG begin, LONG end) {
    const int length = int(end - begin);
    const int beside[] = {-length - 1, -length, -length + 1, -1, 0, side - 1, side, side + 1};
    return random.below(4) == 0 ? beside[random.below(std::size(beside))]
                                : between(random, -length, side);
}

int random_transparency(Random &random) {
    const int odd[] = {0, 1, 50, 99, 100, -1, -5, 101, 250, INT_MIN, INT_MAX};
    return random.below(2) == 0 ? odd[random.below(std::size(odd))] : between(random, 0, 100);
}

Request random_request(Random &random, const Side &overlay, int width, int height) {
    Request request{};
    RECT &area = request.rectangle;
    random_stretch(random, overlay.width(), area.left, area.right);
    random_stretch(random, overlay.height(), area.top, area.bottom);
    request.x = random_place(random, width, area.left, area.right);
    request.y = random_place(random, height, area.top, area.bottom);
    request.mode = between(random, 1, 15);
    request.transparency = random_transparency(random);
    return request;
}

// The same merge by i32MergeRamToRam.
void expect_like_plain_memory(const Picture &before, const Picture &after, const Side *mask,
                              const Side &overlay, const Request &request) {
    const Geometry &size = before.geometry;
    if (model::place(request, overlay.width(), overlay.height(), size.width, size.height).verdict !=
        Placement::placed)
        return;
    // Without a mask modes 2 and 3 round otherwise there.
    const Bytes full(size_t(overlay.width() * overlay.height()), 255);
    Bytes image = before.image.bytes();
    EXPECT_EQ(api().i32MergeRamToRam(
                  image.data(), int(size.width), int(size.height), overlay.bytes(), request.x,
                  request.y, overlay.picture.image.bytes().data(),
                  mask ? mask->picture.image.bytes().data() : full.data(), overlay.width(),
                  overlay.height(), request.rectangle, request.mode, request.transparency),
              overlay.bytes() == 3 || request.mode < 2 || request.mode > 5 ? 1 : 0);
    EXPECT_TRUE(image == after.image.bytes()) << "differs from the merge of plain memory";
}

Sort random_sort(Random &random) {
    return random.below(3) == 0 ? Sort::linear : Sort::tiled;
}

TEST_P(Geometries, FromBufferToBuffer) {
    random_cases(250, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        const int bits = random.below(3) == 0 ? 8 : 24;
        Side overlay(random_sort(random), bits, random_side(random), random_side(random), random);
        Side destination(random_sort(random), bits, random_side(random), random_side(random),
                         random);
        Side mask(overlay.cells().linear ? Sort::linear : Sort::tiled, 8, overlay.width(),
                  overlay.height(), random);
        make_mask(mask, random);
        for (int i = 0; i < 5; ++i) {
            Side *const weights = random.below(3) == 0 ? nullptr : &mask;
            const Request request =
                random_request(random, overlay, destination.width(), destination.height());
            const Picture before = destination.picture;
            check_buffer_to_buffer(destination, weights, overlay, request);
            expect_like_plain_memory(before, destination.picture, weights, overlay, request);
            destination.expect_picture();
        }
        mask.expect_picture();
        overlay.expect_picture();
        return !HasFailure();
    });
}

TEST_P(Geometries, FromBufferToMemory) {
    random_cases(250, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        const int bits = random.below(3) == 0 ? 8 : 24;
        Side overlay(random_sort(random), bits, random_side(random), random_side(random), random);
        Side mask(overlay.cells().linear ? Sort::linear : Sort::tiled, 8, overlay.width(),
                  overlay.height(), random);
        make_mask(mask, random);
        for (int i = 0; i < 5; ++i) {
            Picture image = plain_picture(bits, random_side(random), random_side(random), random);
            Side *const weights = random.below(3) == 0 ? nullptr : &mask;
            Request request = random_request(random, overlay, int(image.geometry.width),
                                             int(image.geometry.height));
            // Cells beyond the image are another test's.
            RECT &area = request.rectangle;
            area.right = std::min(area.right, area.left + LONG(image.geometry.width) - request.x);
            area.bottom = std::min(area.bottom, area.top + LONG(image.geometry.height) - request.y);
            const Picture before = image;
            check_buffer_to_memory(image, weights, overlay, request, random_fence(random));
            expect_like_plain_memory(before, image, weights, overlay, request);
        }
        mask.expect_picture();
        overlay.expect_picture();
        return !HasFailure();
    });
}

// Four cells of each meet in every way, in every mode.
TEST_P(Geometries, FourCellsOverFourCells) {
    Random random(test_seed(), 1);
    for (const int bits : usual_depths)
        for (bool masked : {false, true}) {
            Side overlay(bits, 200, 210, random), destination(bits, 220, 190, random);
            Side mask(8, 200, 210, random);
            make_mask(mask, random);
            for (const int mode : rectangle_modes)
                for (int transparency : {0, 40}) {
                    const Request request{between(random, 10, 127),
                                          between(random, 10, 127),
                                          {between(random, 1, 126), between(random, 1, 126),
                                           between(random, 130, 200), between(random, 130, 210)},
                                          mode,
                                          transparency};
                    check_buffer_to_buffer(destination, masked ? &mask : nullptr, overlay, request);
                    destination.expect_picture();
                }
        }
}

// Pixels of other sizes: sample by sample. At 12 bits a pixel is one byte, and rows have bytes that
// belong to no pixel.
TEST_P(Geometries, PixelsOfOtherSizes) {
    random_cases(60, [this](Random &random, uint64_t number) {
        const int depths[] = {12, 16, 20, 32, 40, 48, 56, 64};
        const int bits = depths[number % std::size(depths)];
        SCOPED_TRACE(std::to_string(number) + ": " + std::to_string(bits) + " bits");
        Side overlay(bits, random_side(random) / 2 + 1, random_side(random) / 2 + 1, random);
        Side destination(bits, random_side(random) / 2 + 1, random_side(random) / 2 + 1, random);
        Side mask(8, overlay.width(), overlay.height(), random);
        make_mask(mask, random);
        for (int i = 0; i < 6; ++i)
            check_buffer_to_buffer(
                destination, random.below(3) == 0 ? nullptr : &mask, overlay,
                random_request(random, overlay, destination.width(), destination.height()));
        destination.expect_picture();
        overlay.expect_picture();
        return !HasFailure();
    });
}

// 8 bits over 12 and the other way round: both have one byte per pixel.
TEST_P(Geometries, UnlikeDepthsOfTheSameBytes) {
    Random random(test_seed(), 2);
    for (const auto &[from, into] : {std::pair{12, 8}, {8, 12}, {24, 31}, {27, 24}}) {
        SCOPED_TRACE(std::to_string(from) + " into " + std::to_string(into));
        Side overlay(from, 200, 150, random), destination(into, 170, 190, random);
        for (int i = 0; i < 10; ++i)
            check_buffer_to_buffer(destination, nullptr, overlay,
                                   random_request(random, overlay, 170, 190));
        destination.expect_picture();
        overlay.expect_picture();
    }
}

INSTANTIATE_TEST_SUITE_P(Mmx, Geometries, testing::Bool(), mmx_flag_name);

} // namespace
} // namespace q32::test
