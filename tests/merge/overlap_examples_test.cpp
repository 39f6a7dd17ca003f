// Merging within one memory in plain numbers: what a pixel reads is what the pixels before it have
// written.
#include "tests/merge/rectangle_fixture.h"

namespace q32::test {
namespace {

// --- runs ------------------------------------------------------------------------------------

struct Places {
    std::size_t result, base, overlay;
};

class OverlapExamples : public MergeTest {
protected:
    explicit OverlapExamples(bool mmx = false) : MergeTest(mmx) {}

    // What a block becomes by i32Merge of so many of its pixels, under a full mask unless told.
    static Bytes merged(unsigned mode, int bytes, const Bytes &memory, const Places &at, int pixels,
                        int transparency = 0, const std::optional<Bytes> &mask_bytes = {}) {
        Block block(memory), mask(mask_bytes.value_or(Bytes(std::size_t(pixels), 255)));
        EXPECT_SUCCESS(api().i32Merge(block.data() + at.result, block.data() + at.base,
                                      mask.size() == 0 ? nullptr : mask.data(),
                                      block.data() + at.overlay, bytes, pixels, mode,
                                      transparency));
        return block.contents();
    }

    static Bytes grey(unsigned mode, const Bytes &memory, const Places &at, int pixels,
                      int transparency = 0, const std::optional<Bytes> &mask = {}) {
        return merged(mode, 1, memory, at, pixels, transparency, mask);
    }

    // The pixels behind the first under those before them: everything one pixel to the right.
    static Bytes grey_to_the_right(unsigned mode, const Bytes &memory, int transparency = 0,
                                   const std::optional<Bytes> &mask = {}) {
        return grey(mode, memory, {1, 1, 0}, int(memory.size()) - 1, transparency, mask);
    }
    static Bytes colour_to_the_right(unsigned mode, const Bytes &memory, int transparency = 0,
                                     const std::optional<Bytes> &mask = {}) {
        return merged(mode, 3, memory, {3, 3, 0}, int(memory.size()) / 3 - 1, transparency, mask);
    }

    // The same with a mask that lies in the block.
    static Bytes masked(int bytes, const Bytes &memory, std::size_t result, std::size_t mask,
                        const Bytes &overlay, unsigned mode = MERGE_NORMAL, int transparency = 0) {
        Block block(memory), over(overlay);
        EXPECT_SUCCESS(api().i32Merge(block.data() + result, block.data() + result,
                                      block.data() + mask, over.data(), bytes,
                                      int(overlay.size()) / bytes, mode, transparency));
        return block.contents();
    }
};

inline const std::optional<Bytes> no_mask = Bytes{};

class OverlapExamplesWithMmx : public OverlapExamples {
protected:
    OverlapExamplesWithMmx() : OverlapExamples(true) {}
};

class OverlapExamplesEitherWay : public OverlapExamples, public testing::WithParamInterface<bool> {
protected:
    OverlapExamplesEitherWay() : OverlapExamples(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(Mmx, OverlapExamplesEitherWay, testing::Bool(), mmx_flag_name);

TEST_P(OverlapExamplesEitherWay, TheFirstPixelSmearsToTheRight) {
    EXPECT_EQ(grey_to_the_right(MERGE_NORMAL, {10, 20, 30, 40, 50}), (Bytes{10, 10, 10, 10, 10}));
    EXPECT_EQ(colour_to_the_right(MERGE_NORMAL, {1, 2, 3, 4, 5, 6, 7, 8, 9}),
              (Bytes{1, 2, 3, 1, 2, 3, 1, 2, 3}));
    // Two pixels take turns.
    EXPECT_EQ(grey(MERGE_NORMAL, {10, 20, 30, 40, 50}, {2, 2, 0}, 3), (Bytes{10, 20, 10, 20, 10}));
    // Where the mask keeps a pixel, it goes on from there.
    EXPECT_EQ(grey_to_the_right(MERGE_NORMAL, {10, 20, 30, 40, 50}, 0, Bytes{255, 0, 255, 255}),
              (Bytes{10, 10, 30, 30, 30}));
}

// Without a mask and transparency nothing is merged: the overlay is copied, as a whole.
TEST_P(OverlapExamplesEitherWay, TheOverlayMovesAsAWhole) {
    for (const unsigned mode : {1, 9, 10, 11, 12, 13, 14, 15})
        EXPECT_EQ(grey_to_the_right(mode, {10, 20, 30, 40, 50}, 0, no_mask),
                  (Bytes{10, 10, 20, 30, 40}));
    for (const unsigned mode : {14, 15})
        EXPECT_EQ(colour_to_the_right(mode, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, no_mask),
                  (Bytes{1, 2, 3, 1, 2, 3, 4, 5, 6}));
}

TEST_F(OverlapExamples, TheOverlayMovesAsAWhole) {
    for (const unsigned mode : {1, 9, 10, 11, 12, 13})
        EXPECT_EQ(colour_to_the_right(mode, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, no_mask),
                  (Bytes{1, 2, 3, 1, 2, 3, 4, 5, 6}));
}

// Where the processor has MMX colour is merged all the same.
TEST_F(OverlapExamplesWithMmx, TheFirstPixelSmearsWithoutAMask) {
    EXPECT_EQ(colour_to_the_right(MERGE_NORMAL, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, no_mask),
              (Bytes{1, 2, 3, 1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(colour_to_the_right(MERGE_ADD, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, no_mask),
              (Bytes{1, 2, 3, 5, 7, 9, 12, 15, 18}));
}

TEST_P(OverlapExamplesEitherWay, NothingSmearsToTheLeft) {
    EXPECT_EQ(grey(MERGE_NORMAL, {10, 20, 30, 40, 50}, {0, 0, 1}, 4), (Bytes{20, 30, 40, 50, 50}));
    EXPECT_EQ(grey(MERGE_ADD, {1, 2, 3, 4}, {0, 0, 1}, 3), (Bytes{3, 5, 7, 4}));
    EXPECT_EQ(merged(MERGE_NORMAL, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 0, 3}, 2),
              (Bytes{4, 5, 6, 7, 8, 9, 7, 8, 9}));
    EXPECT_EQ(merged(MERGE_NORMAL, 3, {1, 2, 3, 4, 5, 6, 7}, {0, 0, 1}, 2),
              (Bytes{2, 3, 4, 5, 6, 7, 7}));
}

// 100 x 127 / 255 = 49, 49 x 127 / 255 = 24, 24 x 127 / 255 = 11.
TEST_P(OverlapExamplesEitherWay, HalfOfWhatCameBefore) {
    EXPECT_EQ(grey_to_the_right(MERGE_NORMAL, {100, 0, 0, 0}, 50, no_mask),
              (Bytes{100, 49, 24, 11}));
    EXPECT_EQ(grey_to_the_right(MERGE_NORMAL, {100, 0, 0, 0}, 50), (Bytes{100, 49, 24, 11}));
}

// 100 x 127 >> 8 = 49, one more; 50 x 127 >> 8 = 24, one more; 25 x 127 >> 8 = 12, one more.
TEST_F(OverlapExamplesWithMmx, HalfOfWhatCameBeforeInColour) {
    EXPECT_EQ(
        colour_to_the_right(MERGE_NORMAL, {100, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 50, no_mask),
        (Bytes{100, 0, 8, 50, 0, 4, 25, 0, 2, 13, 0, 1}));
}

TEST_F(OverlapExamples, HalfOfWhatCameBeforeInColour) {
    EXPECT_EQ(
        colour_to_the_right(MERGE_NORMAL, {100, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 50, no_mask),
        (Bytes{100, 0, 8, 49, 0, 3, 24, 0, 1, 11, 0, 0}));
}

TEST_P(OverlapExamplesEitherWay, EveryModeGoesOnFromThePixelBefore) {
    EXPECT_EQ(grey_to_the_right(MERGE_LIGHTEN, {5, 9, 7, 8}), (Bytes{5, 9, 9, 9}));
    EXPECT_EQ(grey_to_the_right(MERGE_DARKEN, {5, 9, 3, 8}), (Bytes{5, 5, 3, 3}));
    EXPECT_EQ(grey_to_the_right(MERGE_RELIEF, {255, 10, 10, 10}), (Bytes{255, 137, 19, 0}));
    EXPECT_EQ(grey_to_the_right(MERGE_DIFFERENCE, {10, 3, 4, 5}), (Bytes{10, 7, 3, 2}));
    EXPECT_EQ(grey_to_the_right(MERGE_ADD, {1, 2, 3, 4}), (Bytes{1, 3, 6, 10}));
    EXPECT_EQ(grey_to_the_right(MERGE_SUBTRACT, {90, 30, 20, 50}), (Bytes{90, 60, 40, 0}));
    EXPECT_EQ(grey_to_the_right(MERGE_MULTIPLY, {128, 128, 128, 255}), (Bytes{128, 64, 32, 32}));
    EXPECT_EQ(grey_to_the_right(MERGE_SCREEN, {127, 127, 127, 0}), (Bytes{127, 191, 223, 223}));
    EXPECT_EQ(grey_to_the_right(MERGE_MASK_SUBTRACT, {5, 9, 7, 20}, 0, no_mask),
              (Bytes{5, 4, 3, 17}));
    const Bytes colour{1, 2, 3, 10, 20, 30, 100, 100, 100};
    EXPECT_EQ(colour_to_the_right(MERGE_ADD, colour), (Bytes{1, 2, 3, 11, 22, 33, 111, 122, 133}));
    EXPECT_EQ(colour_to_the_right(MERGE_LIGHTEN, {9, 9, 9, 1, 1, 1, 5, 5, 5}),
              (Bytes{9, 9, 9, 9, 9, 9, 9, 9, 9}));
}

// One byte to the right: samples go in order, and where the processor has MMX a pixel is read as a
// whole before it is written.
TEST_F(OverlapExamples, ColourByOneByte) {
    EXPECT_EQ(merged(MERGE_NORMAL, 3, {1, 2, 3, 4, 5, 6, 7}, {1, 1, 0}, 2),
              (Bytes{1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(merged(MERGE_ADD, 3, {1, 2, 3, 4, 5, 6, 7}, {1, 1, 0}, 2),
              (Bytes{1, 3, 6, 10, 15, 21, 28}));
}

TEST_F(OverlapExamplesWithMmx, ColourByOneByte) {
    EXPECT_EQ(merged(MERGE_NORMAL, 3, {1, 2, 3, 4, 5, 6, 7}, {1, 1, 0}, 2),
              (Bytes{1, 1, 2, 3, 3, 5, 6}));
    EXPECT_EQ(merged(MERGE_ADD, 3, {1, 2, 3, 4, 5, 6, 7}, {1, 1, 0}, 2),
              (Bytes{1, 3, 5, 7, 12, 11, 13}));
}

// All of a run comes back from HSV when all of it has been read.
TEST_P(OverlapExamplesEitherWay, ColourModesReadTheWholeRunFirst) {
    const Bytes reds{200, 0, 0, 100, 0, 0, 50, 0, 0};
    EXPECT_EQ(colour_to_the_right(MERGE_VALUE, reds), (Bytes{200, 0, 0, 200, 0, 0, 100, 0, 0}));
    EXPECT_EQ(colour_to_the_right(MERGE_VALUE, reds, 0, no_mask),
              (Bytes{200, 0, 0, 200, 0, 0, 100, 0, 0}));
    EXPECT_EQ(colour_to_the_right(MERGE_HUE, {255, 0, 0, 0, 255, 0, 0, 0, 255}),
              (Bytes{255, 0, 0, 255, 0, 0, 0, 255, 0}));
}

// The base comes to the result as a whole, and the overlay is what lies there then.
TEST_P(OverlapExamplesEitherWay, TheBaseComesFirst) {
    // 1 1 2 3 4, and from there on.
    EXPECT_EQ(grey(MERGE_ADD, {1, 2, 3, 4, 5}, {1, 0, 0}, 4), (Bytes{1, 2, 4, 7, 11}));
    // 2 3 4 5 5
    EXPECT_EQ(grey(MERGE_ADD, {1, 2, 3, 4, 5}, {0, 1, 1}, 4), (Bytes{5, 7, 9, 10, 5}));
    // 10 1 2 3, and the overlay is 1 2 3 from the second byte on.
    EXPECT_EQ(grey(MERGE_ADD, {1, 2, 3, 10}, {1, 0, 2}, 2), (Bytes{1, 3, 12, 10}));
}

// But for an overlay that is the result: that is read as it was before the call.
TEST_P(OverlapExamplesEitherWay, AnOverlayAtTheResultIsReadBefore) {
    EXPECT_EQ(grey(MERGE_ADD, {1, 2, 3, 4}, {1, 0, 1}, 3), (Bytes{1, 3, 5, 7}));
    EXPECT_EQ(grey(MERGE_NORMAL, {1, 2, 3, 4}, {1, 0, 1}, 3), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(grey(MERGE_LIGHTEN, {5, 2, 9, 4}, {0, 1, 0}, 3), (Bytes{5, 9, 9, 4}));
}

TEST_P(OverlapExamplesEitherWay, FullTransparencyMovesTheBase) {
    EXPECT_EQ(grey(MERGE_NORMAL, {1, 2, 3, 4, 5}, {1, 0, 2}, 4, 100), (Bytes{1, 1, 2, 3, 4}));
    EXPECT_EQ(grey(MERGE_NORMAL, {1, 2, 3, 4, 5}, {0, 1, 2}, 4, 100), (Bytes{2, 3, 4, 5, 5}));
}

// Each pixel's mask byte is read before the pixel, and after those before it.
TEST_P(OverlapExamplesEitherWay, AMaskWithinTheResult) {
    EXPECT_EQ(masked(1, {255, 0, 128}, 0, 0, {1, 2, 3}), (Bytes{1, 0, 65}));
    // Under 255; under 0; 200 x 9 + 9 x 246 = 4014; 50 x 15 + 9 x 240 = 2910.
    EXPECT_EQ(masked(1, {255, 9, 9, 9, 9}, 1, 0, {0, 100, 200, 50}), (Bytes{255, 0, 9, 15, 11}));
    EXPECT_EQ(masked(1, {9, 255, 0, 255}, 0, 1, {1, 2, 3}), (Bytes{1, 255, 3, 255}));
    EXPECT_EQ(masked(3, {255, 0, 0, 10, 20, 30}, 0, 0, {7, 255, 9, 1, 2, 3}),
              (Bytes{7, 255, 9, 1, 2, 3}));
    EXPECT_EQ(masked(3, {255, 255, 0, 10, 20, 30}, 0, 0, {7, 0, 9, 1, 2, 3}),
              (Bytes{7, 0, 9, 10, 20, 30}));
}

// The one mask byte of mask subtract is read again for every pixel: 40 x 200 x 90 / 25500 = 28,
// then 30 x 172 x 90 / 25500 = 18.
TEST_P(OverlapExamplesEitherWay, TheFirstMaskByteWithinTheResult) {
    EXPECT_EQ(masked(1, {200, 100, 100}, 0, 0, {40, 30, 30}, MERGE_MASK_SUBTRACT, 10),
              (Bytes{172, 82, 82}));
}

// --- rectangles ------------------------------------------------------------------------------

// An image merged onto itself, moved, by either function, which must agree.
Bytes moved(int mode, int bytes, int width, const Bytes &pixels, int x, int y,
            int transparency = 0) {
    const int height = int(pixels.size()) / bytes / width;
    const RECT whole{0, 0, width, height}, there{x, y, x + width, y + height};
    Block image(pixels);
    EXPECT_SUCCESS(api().i32MergeEx(image.data(), width, height, nullptr, &whole, image.data(),
                                    &there, bytes, mode, transparency));
    const Bytes made = image.contents();
    image.hold(pixels);
    EXPECT_SUCCESS(api().i32MergeRamToRam(image.data(), width, height, bytes, x, y, image.data(),
                                          nullptr, width, height, whole, mode, transparency));
    image.expect(made);
    return made;
}

TEST_P(OverlapExamplesEitherWay, AnImageOntoItself) {
    const Bytes grey{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 4, grey, 1, 0), (Bytes{1, 1, 1, 1, 5, 5, 5, 5}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 4, grey, -1, 0), (Bytes{2, 3, 4, 4, 6, 7, 8, 8}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 2, grey, 0, 1), (Bytes{1, 2, 1, 2, 1, 2, 1, 2}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 2, grey, 0, -1), (Bytes{3, 4, 5, 6, 7, 8, 7, 8}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 4, grey, 1, -1), (Bytes{1, 5, 6, 7, 5, 6, 7, 8}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 2, grey, 1, 1), (Bytes{1, 2, 3, 1, 5, 3, 7, 5}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 2, grey, -1, 1), (Bytes{1, 2, 2, 4, 4, 6, 6, 8}));
    EXPECT_EQ(moved(MERGE_ADD, 1, 4, grey, 1, 0), (Bytes{1, 3, 6, 10, 5, 11, 18, 26}));
    EXPECT_EQ(moved(MERGE_ADD, 1, 2, grey, 0, 1), (Bytes{1, 2, 4, 6, 9, 12, 16, 20}));
    EXPECT_EQ(moved(MERGE_ADD, 1, 4, grey, 0, 0), (Bytes{2, 4, 6, 8, 10, 12, 14, 16}));
    EXPECT_EQ(moved(MERGE_NORMAL, 1, 4, {100, 0, 0, 0}, 1, 0, 50), (Bytes{100, 49, 24, 11}));
    const Bytes colour{1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(moved(MERGE_NORMAL, 3, 3, colour, 1, 0), (Bytes{1, 2, 3, 1, 2, 3, 1, 2, 3}));
    EXPECT_EQ(moved(MERGE_ADD, 3, 1, colour, 0, 1), (Bytes{1, 2, 3, 5, 7, 9, 12, 15, 18}));
}

// Row by row the colour modes read what they write; from row to row they go on.
TEST_P(OverlapExamplesEitherWay, ColourModesReadAWholeRowFirst) {
    const Bytes reds{200, 0, 0, 100, 0, 0, 50, 0, 0};
    EXPECT_EQ(moved(MERGE_VALUE, 3, 3, reds, 1, 0), (Bytes{200, 0, 0, 200, 0, 0, 100, 0, 0}));
    EXPECT_EQ(moved(MERGE_VALUE, 3, 1, reds, 0, 1), (Bytes{200, 0, 0, 200, 0, 0, 200, 0, 0}));
}

// The same memory as an image and as an overlay of another width.
TEST_P(OverlapExamplesEitherWay, RowsOfAnotherWidth) {
    const RECT rectangle{0, 0, 2, 2};
    Block image(Bytes{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_SUCCESS(api().i32MergeEx(image.data(), 4, 2, nullptr, &rectangle, image.data(),
                                    &rectangle, 1, MERGE_ADD, 0));
    image.expect({2, 4, 3, 4, 8, 10, 7, 8});
}

// A mask that is the image, one pixel behind: 255 takes the overlay's 0, and that keeps the rest.
TEST_P(OverlapExamplesEitherWay, AMaskWithinTheImage) {
    const RECT whole{0, 0, 3, 1};
    Block image(Bytes{255, 9, 9, 9}), overlay(Bytes{0, 100, 200});
    EXPECT_SUCCESS(api().i32MergeEx(image.data() + 1, 3, 1, image.data(), &whole, overlay.data(),
                                    &whole, 1, MERGE_NORMAL, 0));
    image.expect({255, 0, 9, 15});
}

} // namespace
} // namespace q32::test
