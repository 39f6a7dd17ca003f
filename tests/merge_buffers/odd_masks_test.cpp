// Masks that do not fit the overlay: other sizes, other cells, other depths. A mask pixel weighs
// the overlay pixel at its own place; a piece that the mask's cell of the same number does not hold
// fails, and nothing is ever read from elsewhere.
#include "tests/merge_buffers/merge_fixture.h"

namespace q32::test {
namespace {

class OddMasks : public MergeTest {};

// What becomes of a request.
struct Outcome {
    int result = 1;
    std::vector<Failure> reports;
};

Outcome merge_pieces(Picture &image, const std::vector<model::Piece> &pieces, const Side &mask,
                     const Side &overlay, const model::Call &call) {
    const Geometry weights = mask.cells();
    const Bytes bytes = storage_of(mask.picture.image, weights);
    for (const model::Piece &piece : pieces) {
        const int cell = piece.overlay_cell;
        if (cell >= weights.cell_count())
            return {0, {{5804, 0, 3, 1}}};
        const int64_t x = piece.left - weights.cell_x(cell), y = piece.top - weights.cell_y(cell);
        if (x < 0 || y < 0 || x + piece.width > weights.width_of(cell) ||
            x + piece.width > weights.row_bytes_of(cell) ||
            y + piece.height > weights.height_of(cell))
            return {0, {}};
        for (int64_t j = 0; j < piece.height; ++j)
            for (int64_t i = 0; i < piece.width; ++i)
                model::merge_pixel(call, model::pixel_of(image, piece.x + i, piece.y + j),
                                   model::pixel_of(overlay.picture, piece.left + i, piece.top + j),
                                   bytes[size_t(weights.offset_of(cell) +
                                                (y + j) * weights.row_bytes_of(cell) + x + i)]);
    }
    return {};
}

void check(MergeTest &, Side &destination, const Side &mask, const Side &overlay,
           const Request &request, const model::Call &call) {
    SCOPED_TRACE(text_of(request) + ", mask of " +
                 size_text(mask.picture.bits(), mask.width(), mask.height()));
    const Placement place = model::place(request, overlay.width(), overlay.height(),
                                         destination.width(), destination.height());
    Outcome expected;
    if (place.verdict == Placement::placed)
        expected = merge_pieces(destination.picture,
                                model::pieces_between(place, destination.cells(), overlay.cells()),
                                mask, overlay, call);
    forget_reports();
    EXPECT_EQ(merge(destination, mask, overlay, request), expected.result);
    EXPECT_EQ(frame::reports(), expected.reports);
    forget_reports();
    for (const Side *side : {static_cast<const Side *>(&destination), &mask, &overlay})
        EXPECT_EQ(side->locks(), 0u);
    destination.expect_picture();
}

TEST_F(OddMasks, Smaller) {
    Random random(test_seed(), 1);
    Side overlay(24, 100, 90, random), destination(24, 120, 110, random);
    const Request all{0, 0, {0, 0, 100, 90}}, part{5, 6, {0, 0, 40, 30}};
    for (const auto &[width, height] :
         {std::pair{40, 30}, {99, 90}, {100, 89}, {40, 200}, {200, 30}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        Side mask(8, width, height, random);
        EXPECT_SILENT_FAILURE(merge(destination, mask, overlay, all));
        destination.expect_picture();
        EXPECT_EQ(mask.locks() + overlay.locks() + destination.locks(), 0u);
        Bytes image(100 * 90 * 3), none(100 * 90 * 3);
        EXPECT_SILENT_FAILURE(merge(image.data(), 100, 90, 3, mask, overlay, all));
        EXPECT_EQ(image, none);
        EXPECT_EQ(mask.locks() + overlay.locks(), 0u);
        check(*this, destination, mask, overlay, part, call_of(part, 3));
    }
}

// The mask has fewer cells than the overlay.
TEST_F(OddMasks, WithoutTheCell) {
    Random random(test_seed(), 2);
    Side overlay(24, 200, 180, random), destination(24, 200, 180, random);
    const Request last{0, 0, {130, 130, 200, 180}};
    Side tiled(8, 128, 128, random), linear(Sort::linear, 8, 200, 180, random),
        one_colour(Sort::one_colour, 8, 128, 180, random);
    EXPECT_REPORT(merge(destination, tiled, overlay, last), 5804, 0, 3, 1);
    EXPECT_REPORT(merge(destination, linear, overlay, last), 5804, 0, 3, 1);
    EXPECT_REPORT(merge(destination, one_colour, overlay, last), 5805, 0, 2, 1);
    Bytes image(200 * 180 * 3);
    EXPECT_REPORT(merge(image.data(), 200, 180, 3, tiled, overlay, last), 5804, 0, 3, 1);
    EXPECT_REPORT(merge(image.data(), 200, 180, 3, linear, overlay, last), 5804, 0, 3, 1);
    EXPECT_REPORT(merge(image.data(), 200, 180, 3, one_colour, overlay, last), 5805, 0, 2, 1);
    for (const Side *side : {&overlay, &destination, &tiled, &linear, &one_colour})
        EXPECT_EQ(side->locks(), 0u);
    destination.expect_picture();
}

TEST_F(OddMasks, OfFewerBits) {
    Random random(test_seed(), 3);
    Side overlay(24, 100, 90, random), destination(24, 120, 110, random);
    for (int bits : {1, 2, 4, 7}) {
        Side mask(bits, 100, 90, random);
        EXPECT_SILENT_FAILURE(merge(destination, mask, overlay, {0, 0, {0, 0, 100, 90}}));
        EXPECT_EQ(mask.locks() + overlay.locks() + destination.locks(), 0u);
    }
    destination.expect_picture();
}

TEST_F(OddMasks, OfAnySizeAndDepth) {
    random_cases(600, [this](Random &random, uint64_t number) {
        SCOPED_TRACE(number);
        const int depths[] = {1, 4, 8, 8, 8, 12, 24, 32};
        const auto side = [&] { return between(random, 1, 300); };
        const auto sort = [&] { return random.below(4) == 0 ? Sort::linear : Sort::tiled; };
        const int bits = random.below(2) == 0 ? 8 : 24;
        Side overlay(sort(), bits, side(), side(), random);
        Side destination(bits, side(), side(), random);
        Side mask(sort(), depths[random.below(std::size(depths))], side(), side(), random);
        for (int i = 0; i < 3; ++i) {
            const int left = between(random, 0, overlay.width() - 1);
            const int top = between(random, 0, overlay.height() - 1);
            const Request request{between(random, -20, destination.width()),
                                  between(random, -20, destination.height()),
                                  {left, top, left + side(), top + side()},
                                  bits == 24 || random.below(2) == 0 ? MERGE_NORMAL : MERGE_ADD,
                                  between(random, 0, 100)};
            check(*this, destination, mask, overlay, request, call_of(request, bits / 8));
        }
        return !HasFailure();
    });
}

} // namespace
} // namespace q32::test
