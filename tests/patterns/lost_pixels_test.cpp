// Buffers that have lost their pixels to a failed fill: every export must stand them, whoever
// shares with them gets on, and they can be filled again.
#include "tests/patterns/lost_pixels.h"

namespace q32::test {
namespace {

using namespace lost;

// --- alone -----------------------------------------------------------------------------------

// A probe alone, on a buffer that has just lost its pixels.
void probe_one(const Start &start, int depth, const Loss &loss, const Probe &probe,
               bool good_goes_first) {
    SCOPED_TRACE(std::string(start.name) + ", " + std::to_string(depth) + " bits, " + loss.name +
                 ", " + probe.name);
    Random random(test_seed(), 1);
    const frame::Census before = frame::Census::now();
    {
        auto lost = start.make(depth, width, height, random);
        auto good = start.make(depth, width, height, random);
        Scene scene{*lost,
                    start,
                    depth,
                    *good,
                    picture_shown_by(*good, Geometry(width, height, depth, start.type)),
                    is_special(start.type),
                    random};
        ASSERT_TRUE(loss.take(*lost));
        probe.take(scene);
        forget_reports(); // every call's have been looked at where it was made
        (good_goes_first ? good : lost).reset();
    }
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(frame::Census::now(), before);
    expect_no_swap_files();
}

// Depths whose rectangles are copied by bits, whose rows are converted, and whole samples.
class LostPixelsOf : public LostPixels, public ::testing::WithParamInterface<int> {};

TEST_P(LostPixelsOf, EveryExportStandsThem) {
    uint64_t number = 0;
    for (const Start &start : starts()) {
        bool good_goes_first = false;
        for (const Loss &loss : losses_of(start)) {
            for (const Probe &probe : probes()) {
                if (in_this_round(number++))
                    probe_one(start, GetParam(), loss, probe, good_goes_first);
                if (HasFailure())
                    return;
            }
            good_goes_first = !good_goes_first;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, LostPixelsOf, ::testing::Values(1, 16, 24));

// --- sharing ---------------------------------------------------------------------------------

// A source and two duplicates: one of the three loses its pixels, the others keep them, whoever
// goes first.
TEST_F(LostPixels, SharersKeepTheirs) {
    uint64_t number = 0;
    for (const Start &start : starts()) {
        if (is_special(start.type))
            continue; // share nothing
        for (const Loss &loss : losses_of(start))
            for (size_t lost = 0; lost < 3; ++lost)
                for (size_t first = 0; first < 3; ++first) {
                    if (!in_this_round(number++))
                        continue;
                    SCOPED_TRACE(testing::Message() << start.name << ", " << loss.name << " of "
                                                    << lost << ", freed from " << first);
                    Random random(test_seed(), 2);
                    const frame::Census before = frame::Census::now();
                    auto source = start.make(plain_bits, width, height, random);
                    const Picture shown =
                        picture_shown_by(*source, Geometry(width, height, plain_bits, start.type));
                    std::unique_ptr<Buffer> family[3] = {std::move(source)};
                    for (size_t i = 1; i < 3; ++i) {
                        HBUF32 made = 0;
                        ASSERT_EQ(api().buf32DupBuf(*family[0], &made), 1);
                        family[i] = std::make_unique<Buffer>(made);
                    }
                    set_memory_limit(start.to_files ? 1 : 0, 0);
                    EXPECT_TRUE(loss.take(*family[lost]));
                    EXPECT_EQ(memory_in_use() + mapped_bytes(), plain_row_bytes * height); // once
                    EXPECT_EQ(word(*family[lost], field_storage), 0u);
                    EXPECT_EQ(word(*family[lost], field_share_marker), 0u);
                    EXPECT_EQ(word(*family[lost], field_source), 0u);
                    EXPECT_EQ(word(*family[lost], field_first_sharer), 0u);
                    EXPECT_EQ(word(*family[lost], field_last_sharer), 0u);
                    const auto expect_pictures = [&] {
                        for (size_t i = 0; i < 3; ++i) {
                            if (!family[i])
                                continue;
                            Picture picture = shown;
                            picture.buffer = *family[i];
                            if (i == lost)
                                expect_no_image(picture);
                            else
                                expect_read_everywhere(picture);
                        }
                    };
                    expect_pictures();
                    for (size_t i = 0; i < 3; ++i) {
                        family[(first + i) % 3].reset();
                        expect_pictures();
                    }
                    set_memory_limit(0, 0);
                    EXPECT_EQ(memory_in_use(), 0u);
                    EXPECT_EQ(mapped_bytes(), 0u);
                    EXPECT_EQ(frame::Census::now(), before);
                    if (HasFailure())
                        return;
                }
    }
}

// What the sharers need comes first: without it nothing is given up.
TEST_F(LostPixels, NothingIsLostWhileSharersCannotBeServed) {
    use_no_directory();
    for (const Start &start : starts()) {
        if (is_special(start.type) || start.to_files || start.type == BUF32_TILED_FILE)
            continue;
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 3);
        auto source = start.make(plain_bits, width, height, random);
        Picture shown = picture_shown_by(*source, Geometry(width, height, plain_bits, start.type));
        HBUF32 made = 0;
        ASSERT_EQ(api().buf32DupBuf(*source, &made), 1);
        const Buffer sharer(made);
        const BUF32PATTERN pattern{1, 1, colour};
        for (bool by_pattern : {false, true}) {
            FailingCall memory("VirtualAlloc", 1, FailingCall::from_there_on);
            const Failure failure{1001, 0, 4, start.type == BUF32_LINEAR_MEMORY ? 4 : 3};
            if (by_pattern)
                EXPECT_REPORTS(api().buf32FillPattern(*source, &pattern), failure);
            else
                EXPECT_REPORTS(api().buf32FillOneColor(*source, colour), failure);
        }
        forget_reports();
        EXPECT_EQ(memory_in_use(), plain_row_bytes * height);
        EXPECT_EQ(word(made, field_source), uint32_t(*source));
        expect_read_everywhere(shown);
        shown.buffer = made;
        expect_read_everywhere(shown);
    }
}

} // namespace
} // namespace q32::test
