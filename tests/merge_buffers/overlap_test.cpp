// Buffers merged onto themselves, and buffers whose pixels lie in the caller's memory or the
// caller's image in theirs: cells from top to bottom and from left to right, in each cell the rows
// and their pixels, and what a pixel reads is what came before it.
#include "tests/merge_buffers/merge_fixture.h"
#include "tests/merge_buffers/overlap_model.h"

#include <cstdio>

namespace q32::test {
namespace {

class BufferOverlap : public MergeTestWithMmxFlag {
protected:
    void SetUp() override {
        std::printf("seed: %llu\n", static_cast<unsigned long long>(test_seed()));
        MergeTestWithMmxFlag::SetUp();
    }

    // i32MergeBufToBuf, where any two sides may be the same.
    void check(Side &destination, Side *mask, Side &overlay, const Request &request) {
        SCOPED_TRACE(text_of(request) + (mask ? ", mask" : ", no mask"));
        const Placement place = model::place(request, overlay.width(), overlay.height(),
                                             destination.width(), destination.height());
        if (place.verdict == Placement::placed)
            model::merge_pictures_in_order(
                destination.picture, mask ? &mask->picture : nullptr, overlay.picture,
                model::pieces_between(place, destination.cells(), overlay.cells()),
                call_of(request, overlay.bytes()));
        EXPECT_SUCCESS(merge(destination, mask ? HBUF32(*mask) : 0, overlay, request));
        destination.expect_picture();
        for (const Side *side :
             {static_cast<const Side *>(&destination), static_cast<const Side *>(&overlay)})
            EXPECT_EQ(side->locks(), 0u);
    }
};
INSTANTIATE_TEST_SUITE_P(Mmx, BufferOverlap, testing::Bool(), mmx_flag_name);

int some_transparency(Random &random) {
    const int usual[] = {0, 0, 1, 50, 99, 100};
    return random.below(3) == 0 ? between(random, 0, 100) : usual[random.below(std::size(usual))];
}

int some_mode(Random &random, int bits) {
    const int mode = between(random, 1, 15);
    return bits == 8 && is_of_colour(mode) ? MERGE_ADD : mode;
}

// Small bytes take long to add up to white.
void make_small(Side &side) {
    for (uint8_t &byte : side.picture.image.bytes())
        byte &= 7;
    store(side, side.picture.image);
}

// --- by hand ---------------------------------------------------------------------------------

// Rows of 300 pixels: three cells.
Bytes moved_row(const Bytes &first, int x, int mode) {
    Buffer both(8, 300, 1);
    Picture row(geometry_of(both));
    std::copy(first.begin(), first.end(), row.image.bytes().begin());
    store(both, row.image);
    EXPECT_SUCCESS(merge(both, 0, both, {x, 0, {0, 0, 300, 1}, mode}));
    return read_rows(both).bytes();
}

TEST_P(BufferOverlap, TheFirstPixelSmearsThroughAllCells) {
    EXPECT_EQ(moved_row({77, 1, 2, 3}, 1, MERGE_NORMAL), Bytes(300, 77));
    Bytes turns(300);
    for (size_t x = 0; x < 300; ++x)
        turns[x] = x % 2 == 0 ? 5 : 6;
    EXPECT_EQ(moved_row({5, 6}, 2, MERGE_NORMAL), turns);
    // Ones add up to what stands before each; from 255 on all is white.
    Bytes sums(300, 255);
    for (size_t x = 0; x < 255; ++x)
        sums[x] = uint8_t(x + 1);
    EXPECT_EQ(moved_row(Bytes(300, 1), 1, MERGE_ADD), sums);
}

TEST_P(BufferOverlap, NothingSmearsToTheLeft) {
    Bytes row(300), moved(300);
    for (size_t x = 0; x < 300; ++x) {
        row[x] = uint8_t(x % 251);
        moved[x] = uint8_t(std::min<size_t>(x + 1, 299) % 251);
    }
    EXPECT_EQ(moved_row(row, -1, MERGE_NORMAL), moved);
}

TEST_P(BufferOverlap, TheFirstRowSmearsDown) {
    Random random(test_seed(), 1);
    Side both(24, 150, 270, random);
    Picture expected = both.picture;
    for (size_t y = 1; y < 270; ++y)
        std::memcpy(expected.image.row(y), expected.image.row(0), expected.image.row_bytes());
    EXPECT_SUCCESS(merge(both, 0, both, {0, 1, {0, 0, 150, 270}}));
    expect_rows(both, expected);
}

// To the right and up by one. What lies left of the second column of cells and a row down has been
// merged before, and so has that column's first pixel for its second, whose overlay is in the next
// cell: there pixels come from further to the left and down.
TEST_P(BufferOverlap, CellsComeOneAfterTheOther) {
    Buffer both(8, 130, 4);
    Picture image(geometry_of(both)), expected(geometry_of(both));
    for (size_t y = 0; y < 4; ++y)
        for (size_t x = 0; x < 130; ++x)
            image.image.row(y)[x] = uint8_t(60 * y + x % 60);
    store(both, image.image);
    EXPECT_SUCCESS(merge(both, 0, both, {1, -1, {0, 0, 130, 4}}));
    expected = image;
    for (size_t y = 0; y < 3; ++y)
        for (size_t x = 1; x < 130; ++x) {
            const size_t steps = x < 128 ? 1 : std::min(x - 126, 3 - y);
            expected.image.row(y)[x] = image.image.row(y + steps)[x - steps];
        }
    expect_rows(both, expected);
}

// --- one buffer as two -----------------------------------------------------------------------

TEST_P(BufferOverlap, OfABufferMovedALittle) {
    Random random(test_seed(), 2);
    for (int x = -40; x <= 40; ++x)
        for (int y = -2; y <= 2; ++y)
            for (const int bits : {8, 24, 24}) {
                const Sort sort = random.below(3) == 0 ? Sort::linear : Sort::tiled;
                const int width = between(random, 129, 280), height = between(random, 5, 140);
                Side both(sort, bits, width, height, random), mask(sort, 8, width, height, random);
                make_mask(mask, random);
                if (random.below(3) == 0)
                    make_small(both);
                check(both, random.below(2) == 0 ? &mask : nullptr, both,
                      {x, y, whole(both), some_mode(random, bits), some_transparency(random)});
                if (HasFailure())
                    return;
            }
}

TEST_P(BufferOverlap, OfEveryModeMovedByOne) {
    Random random(test_seed(), 3);
    for (const int mode : rectangle_modes)
        for (const int bits : usual_depths)
            for (int x = -1; x <= 1; ++x)
                for (int y = -1; y <= 1; ++y) {
                    if (bits == 8 && is_of_colour(mode))
                        continue;
                    Side both(bits, 260, 131, random), mask(8, 260, 131, random);
                    make_mask(mask, random);
                    for (Side *weights : {static_cast<Side *>(nullptr), &mask})
                        check(both, weights, both,
                              {x, y, whole(both), mode, some_transparency(random)});
                    if (HasFailure())
                        return;
                }
}

// Any part to any place, across the borders of cells.
TEST_P(BufferOverlap, OfRectanglesAtRandom) {
    random_cases(250, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const int bits = random.below(3) == 0 ? 8 : 24;
        const Sort sort = random.below(3) == 0 ? Sort::linear : Sort::tiled;
        const int width = between(random, 1, 400), height = between(random, 1, 300);
        Side both(sort, bits, width, height, random), mask(sort, 8, width, height, random);
        make_mask(mask, random);
        for (int i = 0; i < 4; ++i) {
            const LONG left = between(random, -10, width - 1),
                       top = between(random, -10, height - 1);
            const RECT area{left, top, between(random, std::max<int>(left, 0) + 1, width + 10),
                            between(random, std::max<int>(top, 0) + 1, height + 10)};
            check(both, random.below(2) == 0 ? &mask : nullptr, both,
                  {int(left) + between(random, -150, 150), int(top) + between(random, -150, 150),
                   area, some_mode(random, bits), some_transparency(random)});
        }
        return !HasFailure();
    });
}

TEST_P(BufferOverlap, OfEverySort) {
    Random random(test_seed(), 4);
    for (Sort sort : all_sorts)
        for (const int bits : usual_depths)
            for (const auto &[x, y] :
                 {std::pair{1, 0}, {-1, 0}, {3, 1}, {-3, 2}, {2, -1}, {0, 1}}) {
                SCOPED_TRACE(std::string(name_of(sort)) + ", " + std::to_string(bits) + " bits");
                Side both(sort, bits, 190, 150, random);
                check(both, nullptr, both,
                      {x, y, whole(both), some_mode(random, bits), some_transparency(random)});
            }
}

// The destination is its own mask, its overlay's mask, or all three.
TEST_P(BufferOverlap, OfMasksThatAreMergedInto) {
    random_cases(250, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const Sort sort = random.below(3) == 0 ? Sort::linear : Sort::tiled;
        const int width = between(random, 100, 300), height = between(random, 3, 150);
        Side both(sort, 8, width, height, random), overlay(sort, 8, width, height, random);
        make_mask(both, random);
        check(both, &both, random.below(2) == 0 ? both : overlay,
              {between(random, -40, 40), between(random, -2, 2), whole(both), some_mode(random, 8),
               some_transparency(random)});
        return !HasFailure();
    });
}

// --- pixels in the caller's memory -----------------------------------------------------------

// Images within one block: buffers over it, whose rows lie one behind the other, and plain ones.
struct InBlock {
    int width, height;
    size_t at;
};

size_t end_of(const InBlock &image, int bytes) {
    return image.at + size_t((image.width * bytes + 3) / 4 * 4 * image.height);
}

InBlock some_image(Random &random, int widest) {
    return {between(random, 1, widest), between(random, 1, 6), random.below(400)};
}

Buffer buffer_over(const MemoryBlock &block, const InBlock &image, int bytes) {
    HBUF32 handle = 0;
    EXPECT_EQ(api().buf32DIBMemBufAlloc(&handle, 8 * bytes, image.width, image.height,
                                        block.data() + image.at),
              1);
    return Buffer(handle);
}

// A rectangle about the whole overlay, near its place in the destination.
Request some_request(Random &random, const InBlock &overlay, const InBlock &destination,
                     int bytes) {
    const LONG left = between(random, -5, overlay.width - 1), top = between(random, -1, 1);
    return {between(random, -20, destination.width - 1),
            between(random, -2, 2),
            {left, top < overlay.height ? top : 0, overlay.width + between(random, 0, 3),
             overlay.height + between(random, 0, 1)},
            some_mode(random, 8 * bytes),
            some_transparency(random)};
}

// From buffer to buffer and from buffer to memory, all in one block, at any byte.
TEST_P(BufferOverlap, OfPixelsInOneBlock) {
    random_cases(4000, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const int bytes = random.below(3) == 0 ? 1 : 3;
        const int widest = random.below(50) == 0 ? 3000 : 100;
        const bool to_memory = random.below(2) == 0, masked = random.below(2) == 0;
        const InBlock result = some_image(random, widest), over = some_image(random, widest);
        const InBlock weights{over.width, over.height, random.below(600)};
        MemoryBlock block(
            std::max({end_of(result, bytes), end_of(over, bytes), end_of(weights, 1)}),
            random_fence(random), random);
        const Buffer destination = buffer_over(block, result, bytes);
        const Buffer overlay = buffer_over(block, over, bytes);
        const Buffer mask = buffer_over(block, weights, 1);
        // Making the buffers has rearranged what was there.
        Bytes memory(block.size());
        for (uint8_t &byte : memory)
            byte = random.below(4) == 0 ? uint8_t(255 * random.below(2)) : random.byte();
        block.set(memory);

        const Request request = some_request(random, over, result, bytes);
        SCOPED_TRACE(text_of(request) + (to_memory ? ", to memory " : ", to a buffer ") +
                     std::to_string(result.at) + ", overlay " + std::to_string(over.at) +
                     ", mask " + (masked ? std::to_string(weights.at) : "none"));
        const Placement place =
            model::place(request, over.width, over.height, result.width, result.height);
        const model::Storage from{memory.data() + over.at,
                                  Geometry(over.width, over.height, 8 * bytes, BUF32_DIB)};
        const model::Storage by{memory.data() + weights.at,
                                Geometry(over.width, over.height, 8, BUF32_DIB)};
        if (place.verdict == Placement::placed)
            model::merge_storage_in_order({memory.data() + result.at, result.width, bytes},
                                          masked ? &by : nullptr, from, place,
                                          call_of(request, bytes));
        EXPECT_SUCCESS(to_memory ? merge(block.data() + result.at, result.width, result.height,
                                         bytes, masked ? HBUF32(mask) : 0, overlay, request)
                                 : merge(destination, masked ? HBUF32(mask) : 0, overlay, request));
        block.expect(memory);
        return !HasFailure();
    });
}

// --- an image in a buffer's storage ----------------------------------------------------------

// The storage of a locked buffer, and what it must become.
class LockedStorage {
public:
    explicit LockedStorage(const Side &side) : side_(side), geometry_(side.cells()) {
        void *base = nullptr;
        EXPECT_EQ(api().buf32Lock(side, BUF32_READ, &base), 1);
        base_ = static_cast<uint8_t *>(base);
        expected_ = Bytes(base_, base_ + size());
    }
    ~LockedStorage() { EXPECT_EQ(api().buf32Unlock(side_), 1); }
    LockedStorage(const LockedStorage &) = delete;
    LockedStorage &operator=(const LockedStorage &) = delete;

    size_t size() const { return size_t(geometry_.image_bytes()); }
    uint8_t *base() const { return base_; }
    uint8_t *expected() { return expected_.data(); }
    model::Storage model() { return {expected_.data(), geometry_}; }
    bool holds_expected() const { return std::equal(expected_.begin(), expected_.end(), base_); }

private:
    const Side &side_;
    Geometry geometry_;
    uint8_t *base_ = nullptr;
    Bytes expected_;
};

TEST_P(BufferOverlap, OfAnImageInTheStorage) {
    random_cases(400, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const int bits = random.below(3) == 0 ? 8 : 24, bytes = bits / 8;
        const Sort sort = random.below(3) == 0 ? Sort::linear : Sort::tiled;
        const int width = between(random, 20, 300), height = between(random, 4, 200);
        Side overlay(sort, bits, width, height, random), mask(sort, 8, width, height, random);
        make_mask(mask, random);
        LockedStorage overlay_storage(overlay), mask_storage(mask);
        LockedStorage &around = random.below(3) == 0 ? mask_storage : overlay_storage;

        // An image that lies somewhere in one of the two.
        const int image_width = between(random, 1, width / bytes);
        const int image_height = between(random, 1, height);
        const size_t image_bytes = size_t(image_width * image_height * bytes);
        const size_t at = random.below(around.size() - image_bytes + 1);
        const int x = between(random, 0, image_width - 1), y = between(random, 0, image_height - 1);
        const LONG left = between(random, 0, width - 1), top = between(random, 0, height - 1);
        const Request request{x,
                              y,
                              {left, top, std::min(left + image_width - x, LONG(width)),
                               std::min(top + image_height - y, LONG(height))},
                              some_mode(random, bits),
                              some_transparency(random)};
        SCOPED_TRACE(text_of(request) + ", an image of " + std::to_string(image_width) + " x " +
                     std::to_string(image_height) + " at byte " + std::to_string(at));
        const bool masked = &around == &mask_storage || random.below(2) == 0;
        const model::Storage by = mask_storage.model();
        model::merge_storage_in_order(
            {around.expected() + at, image_width, bytes}, masked ? &by : nullptr,
            overlay_storage.model(),
            model::place(request, width, height, image_width, image_height),
            call_of(request, bytes));
        EXPECT_SUCCESS(merge(around.base() + at, image_width, image_height, bytes,
                             masked ? HBUF32(mask) : 0, overlay, request));
        EXPECT_TRUE(overlay_storage.holds_expected()) << "the overlay's storage";
        EXPECT_TRUE(mask_storage.holds_expected()) << "the mask's storage";
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
