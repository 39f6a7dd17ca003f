// Which path a request takes, told by the pixels that come out; and what methods without a number
// of their own do before and after the first bicubic call of a process.
#include "tests/resample_buffers/resample_fixture.h"

namespace q32::test {
namespace {

class ResamplePaths : public ResampleTest {};
class FreshResamplePaths : public FreshResampleTest {};

constexpr int odd_methods[] = {0, 3, 5, 6, 7, 8, -1, INT_MAX, INT_MIN, 0x101, 0x10004};

std::vector<Manner> all_manners() {
    std::vector<Manner> manners{{false}};
    for (int row_path : {0, 1, 2, -1, 0x100, INT_MIN}) {
        for (int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC})
            manners.push_back({true, row_path, method});
        for (int method : odd_methods)
            manners.push_back({true, row_path, method});
    }
    return manners;
}

// Pixels tell every path that a depth could take from every other.
TEST_F(ResamplePaths, AreToldByTheirPixels) {
    Random random(test_seed(), 1);
    for (int bits : {8, 16, 20, 24, 48}) {
        const Side source(bits, 21, 19, random);
        for (const auto &[width, height] : {std::pair{13, 11}, {29, 37}}) {
            std::vector<Bytes> pixels;
            for (Path path : all_paths) {
                const bool of_words = path == Path::bilinear_rows || path == Path::bicubic_rows;
                if ((of_words && bits / 8 != 2) ||
                    (is_of_cells(path) && !model::cells_take(bits, bits)))
                    continue;
                Picture result(Geometry(width, height, bits, BUF32_TILED));
                model::resample(path, source.picture, result, result.geometry);
                for (const Bytes &other : pixels)
                    EXPECT_NE(result.image.bytes(), other) << bits << " bits, " << name_of(path);
                pixels.push_back(result.image.bytes());
            }
            EXPECT_GE(pixels.size(), 2u);
        }
    }
}

TEST_F(ResamplePaths, OfEveryManner) {
    Random random(test_seed(), 2);
    for (int bits : {1, 2, 4, 7, 8, 16, 20, 23, 24}) {
        const Side source(bits, 21, 19, random);
        for (const Manner &manner : all_manners()) {
            check_new(manner, 13, 11, source);
            check_new(manner, 29, 37, source);
        }
        if (HasFailure())
            return;
    }
}

TEST_F(ResamplePaths, OfDepthsForRowsOnly) {
    Random random(test_seed(), 3);
    for (int bits : {9, 12, 15, 25, 32, 40, 48, 56, 63, 64}) {
        const Side source(bits, 21, 19, random);
        for (const Manner &manner : all_manners()) {
            if (manner.ex && manner.row_path != 0) {
                check_new(manner, 13, 11, source);
                check_new(manner, 29, 37, source);
                continue;
            }
            HBUF32 handle = 0;
            const int point = !manner.ex || manner.method == RESAMPLE_BILINEAR ? 918
                              : manner.method == RESAMPLE_NEAREST              ? 643
                                                                               : 1627;
            EXPECT_REPORT(resample(manner, 13, 11, source, &handle), 5206, 1, 12, point);
            EXPECT_EQ(handle, 0u);
        }
        if (HasFailure())
            return;
    }
}

// The source's depth decides, whatever the destination's.
TEST_F(ResamplePaths, OfGivenDestinationsOfOtherDepths) {
    Random random(test_seed(), 4);
    for (int from : {1, 4, 8, 12, 16, 20, 24, 32, 48})
        for (int into : {1, 2, 4, 7, 8, 12, 16, 20, 24, 32, 48, 64}) {
            SCOPED_TRACE("from " + std::to_string(from) + " to " + std::to_string(into) + " bits");
            const Side source(from, 21, 19, random);
            for (const Manner &manner : {Manner{false}, {true, 1, 4}, {true, 0, 1}, {true, 0, 4}})
                for (const auto &[width, height] : {std::pair{13, 11}, {29, 37}, {300, 5}}) {
                    const Path path = path_of(manner, from, true);
                    if (is_of_cells(path) && !model::cells_take(from, into))
                        continue; // refused
                    Side given(into, width, height, random);
                    check_given(manner, given, source);
                }
            if (HasFailure())
                return;
        }
}

// --- the first bicubic call ------------------------------------------------------------------

// Bicubic cells without coefficients are bilinear, with all that comes of it.
void expect_unknown_methods_are(Path path, const Failure &depth, const Failure &refused,
                                Random &random) {
    for (int method : odd_methods) {
        SCOPED_TRACE("method " + std::to_string(method));
        const Manner manner{true, 0, method};
        for (int bits : {8, 24}) {
            const Side source(bits, 21, 19, random);
            Side given(bits, 29, 37, random);
            EXPECT_SUCCESS(resample_into(given, manner, source));
            model::resample(path, source.picture, given.picture, given.cells());
            given.expect_picture();
        }
        const Side deep(32, 21, 19, random), source(24, 21, 19, random);
        HBUF32 handle = 0;
        EXPECT_REPORT(resample(manner, 29, 37, deep, &handle), depth.message, depth.severity,
                      depth.module, depth.point);
        Listener listener(0, 100);
        listener.refuses = 2;
        EXPECT_REPORT(resample(manner, 29, 37, source, &handle, listener), refused.message,
                      refused.severity, refused.module, refused.point);
        EXPECT_EQ(handle, 0u);
    }
}
void expect_unknown_methods_are_bilinear(Random &random) {
    SCOPED_TRACE("before");
    expect_unknown_methods_are(Path::bilinear_cells, {5206, 1, 12, 918}, {5200, 2, 12, 1019},
                               random);
}
void expect_unknown_methods_are_bicubic(Random &random) {
    SCOPED_TRACE("after");
    expect_unknown_methods_are(Path::bicubic_cells, {5206, 1, 12, 1627}, {5200, 2, 12, 1680},
                               random);
}

TEST_F(FreshResamplePaths, UnknownMethodsWaitForABicubicCall) {
    Random random(test_seed(), 5);
    expect_unknown_methods_are_bilinear(random);
    const Side source(24, 21, 19, random);
    check_new({true, 0, RESAMPLE_BICUBIC}, 13, 11, source);
    expect_unknown_methods_are_bicubic(random);
}

// None of these makes the table: unknown methods on words are bicubic without it.
TEST_F(FreshResamplePaths, OtherCallsDoNotCount) {
    Random random(test_seed(), 6);
    const Side bits(1, 21, 19, random), bytes(8, 21, 19, random), words(16, 21, 19, random);
    const frame::Census before = frame::Census::now();
    for (int method : {0, 3, RESAMPLE_NEAREST, RESAMPLE_BILINEAR, -1})
        check_new({true, 0, method}, 13, 11, words);
    for (int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR})
        check_new({true, 0, method}, 13, 11, bytes);
    for (int bits_method : {RESAMPLE_BICUBIC, 3})
        check_new({true, 0, bits_method}, 13, 11, bits);
    for (const Side *side : {&bytes, &words})
        check_new({true, 1, RESAMPLE_BICUBIC}, 13, 11, *side);
    for (const Side *side : {&bits, &bytes, &words})
        check_new({false}, 13, 11, *side);
    const Side colour(Sort::one_colour, 24, 21, 19, random);
    HBUF32 handle = 0;
    EXPECT_SUCCESS(resample({true, 0, RESAMPLE_BICUBIC}, 13, 11, colour, &handle));
    const Buffer made(handle);
    Listener listener(0, 100);
    listener.refuses = 1;
    handle = 0;
    EXPECT_REPORT(resample({true, 0, RESAMPLE_BICUBIC}, 13, 11, bytes, &handle, listener), 5808, 2,
                  8, 24);
    EXPECT_EQ(frame::Census::now().global_locks, before.global_locks);
    expect_unknown_methods_are_bilinear(random);
}

// The block of 65,536 bytes is moveable and locked, and made once.
TEST_F(FreshResamplePaths, BicubicRowsMakeTheTable) {
    Random random(test_seed(), 7);
    const Side source(16, 21, 19, random), bytes(8, 21, 19, random);
    const auto tables_made = [&](const Side &side) {
        const ObservedCalls calls;
        check_new({true, 0, RESAMPLE_BICUBIC}, 13, 11, side);
        return std::count_if(calls.global_blocks().begin(), calls.global_blocks().end(),
                             [](const ObservedCalls::GlobalBlock &block) {
                                 return block.bytes == 65536 && (block.flags & GMEM_MOVEABLE) != 0;
                             });
    };
    const frame::Census before = frame::Census::now();
    EXPECT_EQ(tables_made(source), 1);
    EXPECT_EQ(frame::Census::now().global_blocks, before.global_blocks + 1);
    EXPECT_EQ(frame::Census::now().global_locks, before.global_locks + 1);
    for (const Side *side : {&source, &bytes})
        EXPECT_EQ(tables_made(*side), 0);
    expect_unknown_methods_are_bicubic(random);
}

// The table comes before the depth is looked at.
TEST_F(FreshResamplePaths, ABicubicCallOfARefusedDepthMakesTheTable) {
    Random random(test_seed(), 8);
    const Side source(32, 21, 19, random);
    HBUF32 handle = 0;
    EXPECT_REPORT(resample({true, 0, RESAMPLE_BICUBIC}, 13, 11, source, &handle), 5206, 1, 12,
                  1627);
    expect_unknown_methods_are_bicubic(random);
}

TEST_F(FreshResamplePaths, FramesShareTheTable) {
    Random random(test_seed(), 9);
    expect_unknown_methods_are_bilinear(random);
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = header.biHeight = 4;
    header.biBitCount = 8;
    header.biPlanes = 1;
    const Bytes from(16);
    Bytes to(16);
    VCRESAMPLE record{&header, 4, 4, RESAMPLE_BICUBIC, nullptr, nullptr, nullptr, nullptr};
    EXPECT_SUCCESS(api().vcResampleInit(&record));
    expect_unknown_methods_are_bilinear(random);
    EXPECT_SUCCESS(
        api().vcResampleEx(0, from.data(), &header, to.data(), 4, 4, RESAMPLE_BICUBIC, &record));
    api().vcResampleEnd(&record);
    expect_unknown_methods_are_bicubic(random);
}

TEST_F(FreshResamplePaths, ATableThatCannotBeHadIsTriedAgain) {
    Random random(test_seed(), 10);
    const Side bytes(8, 21, 19, random), words(16, 21, 19, random), deep(32, 21, 19, random);
    const Manner bicubic{true, 0, RESAMPLE_BICUBIC};
    const auto expect_no_table = [&](const Side &source) {
        SCOPED_TRACE(std::to_string(source.picture.bits()) + " bits");
        for (const char *function : {"GlobalAlloc", "GlobalLock"}) {
            SCOPED_TRACE(function);
            const bool rows = source.bytes() == 2;
            const Side given(source.picture.bits(), 13, 11, random);
            const frame::Census before = frame::Census::now();
            // Rows make their position tables first, and the row that they read into.
            const int n = !rows ? 1 : function == std::string("GlobalAlloc") ? 6 : 5;
            const FailingCall failing(function, n);
            const LockBalance lock;
            Listener listener(0, 100);
            EXPECT_REPORT(resample_into(given, bicubic, source, listener), 1001, 0, 8, 17);
            EXPECT_TRUE(failing.happened());
            EXPECT_TRUE(lock.balanced());
            EXPECT_EQ(listener.heard(), (std::vector<Message>{{1, 0}, {4, 100}}));
            EXPECT_EQ(frame::Census::now(), before);
            EXPECT_EQ(source.locks(), 0u);
            EXPECT_EQ(given.locks(), 0u);
            given.expect_picture();
        }
    };
    for (int round = 0; round < 2; ++round)
        for (const Side *source : {&bytes, &words, &deep})
            expect_no_table(*source);
    expect_unknown_methods_are_bilinear(random);
    has_coefficients = true;
    check_new(bicubic, 13, 11, bytes);
    check_new(bicubic, 13, 11, words);
    expect_unknown_methods_are_bicubic(random);
}

// --- the table given back --------------------------------------------------------------------

TEST_F(FreshResamplePaths, BicubicCallsGoOnWithoutTheTable) {
    Random random(test_seed(), 11);
    const Side bytes(8, 21, 19, random), words(16, 21, 19, random), pixels(24, 21, 19, random);
    EXPECT_EQ(api().q32FreeBiCubicTable(), 1); // there is none yet
    expect_unknown_methods_are_bilinear(random);
    has_coefficients = true;
    const frame::Census before = frame::Census::now();
    check_new({true, 0, RESAMPLE_BICUBIC}, 13, 11, bytes);
    for (int round = 0; round < 3; ++round) {
        {
            const FailingCall unlocks("GlobalUnlock", 0), frees("GlobalFree", 0);
            EXPECT_EQ(api().q32FreeBiCubicTable(), 1);
            EXPECT_EQ(unlocks.calls(), round == 0 ? 1 : 0);
            EXPECT_EQ(frees.calls(), round == 0 ? 1 : 0);
        }
        EXPECT_EQ(frame::Census::now(), before);
        const ObservedCalls calls;
        for (const Side *side : {&bytes, &words, &pixels}) {
            check_new({true, 0, RESAMPLE_BICUBIC}, 13, 11, *side);
            check_new({true, 0, RESAMPLE_BICUBIC}, 29, 37, *side);
        }
        for (const ObservedCalls::GlobalBlock &block : calls.global_blocks())
            EXPECT_NE(block.bytes, 65536u);
        EXPECT_EQ(frame::Census::now(), before);
        expect_unknown_methods_are_bicubic(random);
    }
}

// Unloading gives the table back once, and a library loaded again begins anew.
TEST_F(FreshResamplePaths, UnloadingEndsTheTable) {
    Random random(test_seed(), 12);
    for (bool freed_before : {false, true}) {
        {
            const Side bytes(8, 21, 19, random);
            expect_unknown_methods_are_bilinear(random);
            EXPECT_SUCCESS(resample_into(bytes, {true, 0, RESAMPLE_BICUBIC}, bytes));
            expect_unknown_methods_are_bicubic(random);
        }
        if (freed_before) {
            EXPECT_EQ(api().q32FreeBiCubicTable(), 1);
        }
        fresh_library(); // nothing is left behind
    }
    expect_unknown_methods_are_bilinear(random);
}

} // namespace
} // namespace q32::test
