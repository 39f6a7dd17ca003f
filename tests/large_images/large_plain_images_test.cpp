// Images of more than 4 GB in plain memory: offsets into them have more than 32 bits, whatever
// export computes them.
#include "tests/frame/canvas.h"
#include "tests/library/library_fixture.h"

#include <cstring>

namespace q32::test {
namespace {

// Memory that the system provides where it is touched.
class Reserved {
public:
    explicit Reserved(size_t bytes)
        : memory_(static_cast<uint8_t *>(
              VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))) {}
    ~Reserved() { VirtualFree(memory_, 0, MEM_RELEASE); }
    Reserved(const Reserved &) = delete;
    Reserved &operator=(const Reserved &) = delete;

    uint8_t *at(size_t offset) const { return memory_ + offset; }

private:
    uint8_t *memory_;
};

class LargePlainImages : public LibraryTest {
protected:
    static constexpr int width = 60000, height = 30000, pixel = 3; // 5.4 GB
    static constexpr size_t row = size_t(width) * pixel;
    static constexpr size_t far_offset = row * (height - 2) + size_t(width - 4) * pixel;

    void SetUp() override {
        LibraryTest::SetUp();
        start();
        ASSERT_NE(image.at(0), nullptr);
    }

    const Reserved image{row * height};
    static constexpr uint8_t colours[6] = {10, 20, 30, 40, 50, 60}; // two pixels
};

TEST_F(LargePlainImages, AreReadAndWrittenInRectangles) {
    uint8_t block[6] = {};
    EXPECT_EQ(
        api().mem32MergeMem(image.at(0), width - 4, height - 2, colours, 2, 1, pixel, int(row)), 1);
    EXPECT_EQ(std::memcmp(image.at(far_offset), colours, 6), 0);
    EXPECT_EQ(api().mem32GetMem(image.at(0), width - 4, height - 2, 2, 1, pixel, int(row), block),
              1);
    EXPECT_EQ(std::memcmp(block, colours, 6), 0);

    // From the last row on, upwards.
    std::memset(block, 0, sizeof block);
    EXPECT_EQ(api().mem32GetMem(image.at(row * (height - 1)), 0, height - 1, 2, 1, pixel, -int(row),
                                block),
              1);
    EXPECT_EQ(std::memcmp(block, image.at(0), 6), 0);

    // A pixel of bits.
    uint8_t bit = 0xFF;
    *image.at(row * 29999 + 100) = 0x10;
    EXPECT_EQ(api().mem32GetMem(image.at(0), 803, 29999, 1, 1, 0, int(row), &bit), 1);
    EXPECT_EQ(bit, 0x80);
}

TEST_F(LargePlainImages, AreMergedInto) {
    const RECT all = {0, 0, width, height}, part = {width - 4, height - 2, width - 2, height - 1};
    EXPECT_EQ(api().i32MergeEx(image.at(0), width, height, nullptr, &all, colours, &part, pixel,
                               MERGE_NORMAL, 0),
              1);
    EXPECT_EQ(std::memcmp(image.at(far_offset), colours, 6), 0);
    EXPECT_EQ(api().i32MergeRamToRam(image.at(0), width, height, pixel, width - 2, height - 1,
                                     colours, nullptr, 2, 1, RECT{0, 0, 2, 1}, MERGE_NORMAL, 0),
              1);
    EXPECT_EQ(std::memcmp(image.at(far_offset + row + 6), colours, 6), 0);
    // And as an overlay.
    uint8_t base[6] = {};
    EXPECT_EQ(api().i32MergeRamToRam(base, 2, 1, pixel, 0, 0, image.at(0), nullptr, width, height,
                                     RECT{width - 4, height - 2, width - 2, height - 1},
                                     MERGE_NORMAL, 0),
              1);
    EXPECT_EQ(std::memcmp(base, colours, 6), 0);
}

TEST_F(LargePlainImages, AreMergedFromBuffers) {
    const HBUF32 overlay = allocate(24, 200, 200, BUF32_TILED);
    EXPECT_EQ(api().buf32MergeMem(overlay, 130, 131, colours, 2, 1), 1);
    const RECT part = {130, 131, 132, 132};
    EXPECT_EQ(api().i32MergeBufToRam(image.at(0), width - 4, height - 2, width, height, pixel, 0,
                                     overlay, &part, MERGE_NORMAL, 0),
              1);
    EXPECT_EQ(std::memcmp(image.at(far_offset), colours, 6), 0);
    free(overlay);
}

TEST_F(LargePlainImages, AreReadAsBuffers) {
    const BUF32MEMORY memory = {0, image.at(0)};
    const HBUF32 buffer = allocate(24, 32000, 32000, BUF32_CALLER_MEMORY, &memory); // 3 GB of it
    std::memcpy(image.at((size_t(31999) * 32000 + 31998) * pixel), colours, 6);
    uint8_t block[6] = {};
    EXPECT_EQ(api().buf32GetMem(buffer, 31998, 31999, 2, 1, block), 1);
    EXPECT_EQ(std::memcmp(block, colours, 6), 0);
    EXPECT_EQ(word(buffer, field_external_data), uintptr_t(image.at(0)));
    free(buffer);
}

TEST_F(LargePlainImages, AreScaledAsFrames) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biBitCount = 24;
    std::memcpy(image.at(row * height - 3), colours, 3); // reducing, the ends meet
    for (int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC}) {
        SCOPED_TRACE(method);
        uint8_t small[2 * 8] = {};
        EXPECT_EQ(api().vcResample(0, image.at(0), &header, small, 2, 2, method), 1);
        EXPECT_EQ(std::memcmp(small + 8 + 3, colours, 3), 0);
    }
}

TEST_F(LargePlainImages, AreShown) {
    frame::Canvas canvas(4, 2);
    std::memcpy(image.at(far_offset), colours, 6);
    HDISPRUN run = 0;
    EXPECT_EQ(api().disp32ShowInit(&run, canvas.dc(), 24, 0, 0, 4, 2, nullptr, 0, 0), 1);
    EXPECT_EQ(api().disp32ShowData(run, image.at(0), width - 4, height - 2, 2, int(row)), 1);
    EXPECT_EQ(api().disp32ShowEnd(run), 1);
    const Bytes shown = canvas.contents();
    EXPECT_EQ(Bytes(shown.begin(), shown.begin() + 6), (Bytes{30, 20, 10, 60, 50, 40}));
}

TEST_F(LargePlainImages, AreReducedByWholeFactors) {
    *image.at(row * (height - 1)) = 77;
    *image.at(row * height - 1) = 78;
    uint8_t reduced[2 * 2] = {};
    // Of a byte a pixel: the first and the last row, and of each the first and the last pixel.
    EXPECT_EQ(api().mem32ReduceExt(reduced, image.at(0), int(row), height, int(row) - 1, height - 1,
                                   1, 0),
              2 * (height - 1));
    EXPECT_EQ(reduced[2], 77);
    EXPECT_EQ(reduced[3], 78);
}

} // namespace
} // namespace q32::test
