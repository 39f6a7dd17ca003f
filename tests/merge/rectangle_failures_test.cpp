// What the rectangle functions refuse, and every block of memory that they cannot get: the report
// or the silence, the image as it was, nothing left behind.
#include "tests/frame/small_memory.h"
#include "tests/merge/rectangle_fixture.h"

namespace q32::test {
namespace {

using frame::Failure;

// Which function a test is about; both are given the same work.
enum class Form { ex, ram_to_ram };

std::string form_name(const testing::TestParamInfo<std::tuple<Form, bool>> &info) {
    return std::string(std::get<0>(info.param) == Form::ex ? "Ex" : "RamToRam") +
           (std::get<1>(info.param) ? "WithMmx" : "WithoutMmx");
}

// The overlay lies at (-2, 1) to (8, 6) of an image of 12 x 5, both of 3 bytes: 8 x 4 meet.
constexpr int width = 12, height = 5, left = -2, top = 1, over_width = 10, over_height = 5;
constexpr int common_width = 8, common_height = 4;

class RectangleFailures : public MergeTest,
                          public testing::WithParamInterface<std::tuple<Form, bool>> {
protected:
    RectangleFailures() : MergeTest(std::get<1>(GetParam())) {}

    struct Arguments {
        void *image;
        const void *overlay, *mask;
        int bytes = 3, mode = MERGE_NORMAL, transparency = 0;
        int width = test_width, height = test_height;
        RECT over{left, top, left + over_width, top + over_height};

        static constexpr int test_width = q32::test::width, test_height = q32::test::height;
    };
    Arguments arguments(int mode = MERGE_NORMAL, bool masked = true) const {
        Arguments a{.image = image_.data(),
                    .overlay = overlay_.data(),
                    .mask = masked ? mask_.data() : nullptr};
        a.mode = mode;
        return a;
    }
    static bool is_ex() { return std::get<0>(GetParam()) == Form::ex; }
    static int call(const Arguments &a) {
        if (is_ex())
            return api().i32MergeEx(a.image, a.width, a.height, a.mask, &a.over, a.overlay, &a.over,
                                    a.bytes, a.mode, a.transparency);
        const int w = a.over.right - a.over.left, h = a.over.bottom - a.over.top;
        return api().i32MergeRamToRam(a.image, a.width, a.height, a.bytes, a.over.left, a.over.top,
                                      a.overlay, a.mask, w, h, RECT{0, 0, w, h}, a.mode,
                                      a.transparency);
    }
    void expect_untouched() const {
        image_.expect(image_bytes_);
        overlay_.expect(overlay_bytes_);
        mask_.expect(mask_bytes_);
    }
    void expect_refused(const Arguments &a) const {
        EXPECT_SILENT_FAILURE(call(a));
        expect_untouched();
    }
    void expect_refused_at_once(const Arguments &a) const {
        const FailingCall priority("SetThreadPriority", 0), memory("GlobalAlloc", 0);
        expect_refused(a);
        EXPECT_EQ(priority.calls(), 0);
        EXPECT_EQ(memory.calls(), 0);
    }
    void expect_point(const Arguments &a, int point) const {
        const FailingCall priority("SetThreadPriority", 0), memory("GlobalAlloc", 0);
        EXPECT_REPORT(call(a), 4026, 2, 61, point);
        expect_untouched();
        EXPECT_EQ(priority.calls(), 0);
        EXPECT_EQ(memory.calls(), 0);
        frame::forget_reports();
    }

    Random random_{test_seed(), 0};
    // Room for pixels of 9 bytes.
    Bytes image_bytes_ = some_bytes(random_, width *height * 9);
    Bytes overlay_bytes_ = some_bytes(random_, over_width *over_height * 9);
    Bytes mask_bytes_ = some_mask(random_, over_width *over_height);
    Block image_{image_bytes_}, overlay_{overlay_bytes_}, mask_{mask_bytes_};
};
INSTANTIATE_TEST_SUITE_P(Of, RectangleFailures,
                         testing::Combine(testing::Values(Form::ex, Form::ram_to_ram),
                                          testing::Bool()),
                         form_name);

// --- arguments -------------------------------------------------------------------------------

TEST_P(RectangleFailures, PixelSizes) {
    for (const int bytes : {0, -1, -3, INT_MIN, 9, 10, 256 + 1, 65536 + 3, INT_MAX})
        for (const int mode : {0, 1, 2, 6, 8, 9, 15, 16})
            for (const bool masked : {true, false})
                for (const int transparency : {0, 100}) {
                    Arguments a = arguments(mode, masked);
                    a.bytes = bytes;
                    a.transparency = transparency;
                    expect_refused_at_once(a);
                }
}

// Rectangles that do not meet are found first.
TEST_P(RectangleFailures, PointsBeforePixelSizesAndModes) {
    for (const int bytes : {0, -1, 9})
        for (const int mode : {0, 1, 16}) {
            Arguments a = arguments(mode);
            a.bytes = bytes;
            a.width = 0;
            expect_point(a, 3);
        }
}

TEST_P(RectangleFailures, Modes) {
    for (const int mode : {0, 16, 17, 18, -1, 256 + 1, 65536 + 1, INT_MIN, INT_MIN + 1, INT_MAX})
        for (const int bytes : {1, 3, 8})
            for (const bool masked : {true, false})
                for (const int transparency : {0, 50, 100}) {
                    Arguments a = arguments(mode, masked);
                    a.bytes = bytes;
                    a.transparency = transparency;
                    expect_refused(a);
                }
}

TEST_P(RectangleFailures, ColourModesOfPixelsWithoutColour) {
    for (const int mode : {2, 3, 4, 5})
        for (const int bytes : {1, 2, 4, 5, 6, 7, 8})
            for (const bool masked : {true, false})
                for (const int transparency : {0, 50, 100}) {
                    Arguments a = arguments(mode, masked);
                    a.bytes = bytes;
                    a.transparency = transparency;
                    expect_refused(a);
                }
}

TEST_P(RectangleFailures, NullPointers) {
    for (const int mode : rectangle_modes)
        for (const bool masked : {true, false})
            for (const int transparency : {0, 50, 100}) {
                Arguments a = arguments(mode, masked);
                a.transparency = transparency;
                a.image = nullptr;
                expect_refused_at_once(a);
                a = arguments(mode, masked);
                a.transparency = transparency;
                a.overlay = nullptr;
                expect_refused_at_once(a);
                a.image = nullptr;
                expect_refused_at_once(a);
            }
}

// --- rectangles that do not meet -------------------------------------------------------------

TEST_P(RectangleFailures, ImagesWithoutPixels) {
    for (const auto &[w, h] : {std::pair{0, 5},
                               {12, 0},
                               {0, 0},
                               {-1, 5},
                               {12, -1},
                               {-12, -5},
                               {INT_MIN, 5},
                               {12, INT_MIN},
                               {INT_MIN, INT_MIN}}) {
        Arguments a = arguments();
        a.width = w;
        a.height = h;
        expect_point(a, 3);
    }
}

TEST_P(RectangleFailures, OverlayBesideTheImage) {
    for (const RECT &over : {RECT{12, 0, 22, 5},
                             {-10, 0, 0, 5},
                             {0, 5, 10, 10},
                             {0, -5, 10, 0},
                             {12, 5, 20, 9},
                             {13, 0, 14, 1},
                             {INT_MAX - 5, 0, INT_MAX, 5},
                             {INT_MIN, 0, INT_MIN + 5, 5},
                             {0, INT_MAX - 5, 5, INT_MAX},
                             {0, INT_MIN, 5, INT_MIN + 5}}) {
        SCOPED_TRACE(text_of(over));
        Arguments a = arguments();
        a.over = over;
        expect_point(a, 3);
    }
}

class RectanglesThatMiss : public MergeTestWithMmxFlag {
protected:
    void expect_point(const RECT *mask_rectangle, const RECT *overlay_rectangle, int point) {
        const FailingCall priority("SetThreadPriority", 0), memory("GlobalAlloc", 0);
        for (const bool masked : {true, false})
            for (const int mode : {1, 2, 16}) {
                image_.hold(Bytes(12, 7));
                EXPECT_REPORT(api().i32MergeEx(image_.data(), 4, 3, masked ? mask_.data() : nullptr,
                                               mask_rectangle, overlay_.data(), overlay_rectangle,
                                               1, mode, 0),
                              4026, 2, 61, point);
                image_.expect(Bytes(12, 7));
                frame::forget_reports();
            }
        EXPECT_EQ(priority.calls(), 0);
        EXPECT_EQ(memory.calls(), 0);
    }
    void expect_image_point(int x, int y, int w, int h, const RECT &rectangle, int point) {
        SCOPED_TRACE("(" + std::to_string(x) + ", " + std::to_string(y) + ") " +
                     text_of(rectangle));
        const FailingCall priority("SetThreadPriority", 0), memory("GlobalAlloc", 0);
        image_.hold(Bytes(12, 7));
        EXPECT_REPORT(api().i32MergeRamToRam(image_.data(), 4, 3, 1, x, y, overlay_.data(), nullptr,
                                             w, h, rectangle, 1, 0),
                      4026, 2, 61, point);
        image_.expect(Bytes(12, 7));
        frame::forget_reports();
        EXPECT_EQ(priority.calls(), 0);
        EXPECT_EQ(memory.calls(), 0);
    }

    Block image_, overlay_{Bytes(12, 1)}, mask_{Bytes(12, 255)};
};
INSTANTIATE_TEST_SUITE_P(Mmx, RectanglesThatMiss, testing::Bool(), mmx_flag_name);

TEST_P(RectanglesThatMiss, MaskAndImage) {
    const RECT all{0, 0, 4, 3};
    for (const RECT &mask : {RECT{4, 0, 8, 3},
                             {-4, 0, 0, 3},
                             {0, 3, 4, 6},
                             {0, -3, 4, 0},
                             {2, 2, 2, 3},
                             {1, 1, 3, 1},
                             {3, 0, 1, 3},
                             {0, 3, 4, 0},
                             {0, 0, 0, 0},
                             {INT_MAX, 0, INT_MIN, 3},
                             {INT_MIN, INT_MIN, 0, INT_MAX},
                             {4, INT_MIN, INT_MAX, INT_MAX}}) {
        SCOPED_TRACE(text_of(mask));
        expect_point(&mask, &all, 3);
        expect_point(&mask, &mask, 3);
    }
    expect_point(nullptr, &all, 3);
    expect_point(nullptr, nullptr, 3);
}

TEST_P(RectanglesThatMiss, OverlayAndMask) {
    const RECT all{0, 0, 4, 3}, left_half{0, 0, 2, 3};
    for (const RECT &overlay : {RECT{2, 0, 4, 3}, {2, 0, 6, 3}, {-2, 0, 0, 3}, {0, 3, 2, 4}})
        expect_point(&left_half, &overlay, 4);
    for (const RECT &overlay : {RECT{4, 0, 8, 3},
                                {0, -3, 4, 0},
                                {2, 2, 2, 3},
                                {3, 0, 1, 3},
                                {0, 3, 4, 0},
                                {INT_MAX, 0, INT_MIN, 3},
                                {5, 5, INT_MAX, INT_MAX}})
        expect_point(&all, &overlay, 4);
    expect_point(&all, nullptr, 4);
    // They meet, but not in the image.
    const RECT mask{-4, 0, 2, 3}, overlay{-4, 0, 0, 3};
    expect_point(&mask, &overlay, 4);
}

TEST_P(RectanglesThatMiss, PlacedRectangleAndImage) {
    expect_image_point(4, 0, 4, 3, {0, 0, 4, 3}, 3);
    expect_image_point(-4, 0, 4, 3, {0, 0, 4, 3}, 3);
    expect_image_point(0, 3, 4, 3, {0, 0, 4, 3}, 3);
    expect_image_point(0, -1, 4, 3, {0, 2, 4, 3}, 3);
    expect_image_point(0, 0, 4, 3, {2, 0, 2, 3}, 3);
    expect_image_point(0, 0, 4, 3, {3, 0, 2, 3}, 3);
    expect_image_point(0, 0, 4, 3, {0, 3, 4, 0}, 3);
    expect_image_point(INT_MAX, 0, 4, 3, {0, 0, 4, 3}, 3);
    expect_image_point(0, INT_MIN, 4, 3, {0, 0, 4, 3}, 3);
    expect_image_point(INT_MAX, INT_MAX, 4, 3, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, 3);
    expect_image_point(INT_MIN, INT_MIN, 4, 3, {0, 0, 4, 3}, 3);
}

TEST_P(RectanglesThatMiss, PlacedRectangleAndOverlayImage) {
    expect_image_point(0, 0, 4, 3, {4, 0, 8, 3}, 4);
    expect_image_point(0, 0, 4, 3, {-4, 0, 0, 3}, 4);
    expect_image_point(0, 0, 4, 3, {0, 3, 4, 4}, 4);
    // Only what falls out of the image would be in both.
    expect_image_point(0, 0, 4, 3, {-4, 0, 4, 3}, 4);
    expect_image_point(0, -1, 4, 3, {0, 2, 4, 9}, 4);
    expect_image_point(0, 0, 0, 3, {0, 0, 4, 3}, 4);
    expect_image_point(0, 0, 4, -3, {0, 0, 4, 3}, 4);
    expect_image_point(0, 0, INT_MIN, INT_MIN, {0, 0, 4, 3}, 4);
    expect_image_point(0, 0, 4, 3, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, 4);
    expect_image_point(0, 0, 4, 3, {INT_MAX - 4, 0, INT_MAX, 3}, 4);
}

// --- memory that cannot be had ---------------------------------------------------------------

struct Want {
    UINT flags;
    SIZE_T size;
    bool reported; // 1001, 2, 61, 2
};

std::vector<Want> wants_of(int mode, int bytes, bool masked) {
    std::vector<Want> wants;
    if (!masked && mode != 2 && mode != 3)
        wants.push_back({GMEM_MOVEABLE | GMEM_ZEROINIT, common_width * common_height + 2, false});
    if (is_of_colour(mode) && bytes == 3) {
        wants.push_back({GMEM_ZEROINIT, 3 * common_width * 4, true});
        wants.push_back({GMEM_ZEROINIT, 3 * common_width * 4, true});
        wants.push_back({GMEM_ZEROINIT, 3 * common_width, true});
    }
    return wants;
}

TEST_P(RectangleFailures, MemoryIsAskedForAsStated) {
    for (int mode = 0; mode <= 16; ++mode)
        for (const int bytes : {1, 3, 8})
            for (const bool masked : {true, false}) {
                std::vector<std::pair<UINT, SIZE_T>> asked, expected;
                for (const Want &want : wants_of(mode, bytes, masked))
                    expected.emplace_back(want.flags, want.size);
                const Replaced<frame::call::GlobalAlloc> watch([&](UINT flags, SIZE_T size) {
                    asked.emplace_back(flags, size);
                    return GlobalAlloc(flags, size);
                });
                const FailingCall malloc("malloc", 0), calloc("calloc", 0);
                Arguments a = arguments(mode, masked);
                a.bytes = bytes;
                EXPECT_NO_REPORT(call(a));
                EXPECT_EQ(asked, expected) << "mode " << mode << ", " << bytes << " bytes";
                EXPECT_EQ(malloc.calls() + calloc.calls(), 0);
                image_.hold(image_bytes_);
            }
}

TEST_P(RectangleFailures, EachBlockFailingInTurn) {
    for (int mode = 0; mode <= 16; ++mode)
        for (const int bytes : {1, 3, 8})
            for (const bool masked : {true, false})
                for (const int transparency : {0, 50, 100}) {
                    SCOPED_TRACE("mode " + std::to_string(mode) + ", " + std::to_string(bytes) +
                                 " bytes, " + (masked ? "mask" : "no mask"));
                    Arguments a = arguments(mode, masked);
                    a.bytes = bytes;
                    a.transparency = transparency;
                    const std::vector<Want> wants = wants_of(mode, bytes, masked);
                    for (std::size_t i = 0; i < wants.size(); ++i)
                        for (const auto extent :
                             {FailingCall::only_there, FailingCall::from_there_on}) {
                            const Census held = Census::now();
                            const FailingCall failing("GlobalAlloc", int(i) + 1, extent);
                            frame::forget_reports();
                            EXPECT_EQ(call(a), 0);
                            EXPECT_TRUE(failing.happened());
                            EXPECT_EQ(frame::reports(),
                                      (wants[i].reported ? std::vector<Failure>{{1001, 2, 61, 2}}
                                                         : std::vector<Failure>{}));
                            frame::forget_reports();
                            expect_untouched();
                            EXPECT_EQ(Census::now(), held);
                        }
                    // What failed once works the next time, and nothing more is asked for.
                    const FailingCall none_left("GlobalAlloc", int(wants.size()) + 1);
                    frame::forget_reports();
                    EXPECT_EQ(call(a) != 0, model::rectangles_have({mode, bytes, 0, mmx()}));
                    EXPECT_FALSE(none_left.happened());
                    image_.hold(image_bytes_);
                }
}

// A moveable block that cannot be locked is one that cannot be had.
TEST_P(RectangleFailures, MaskThatCannotBeLocked) {
    for (const int mode : {1, 4, 5, 6, 7, 8, 9, 15}) {
        const Census held = Census::now();
        const FailingCall failing("GlobalLock");
        expect_refused(arguments(mode, false));
        EXPECT_TRUE(failing.happened());
        EXPECT_EQ(Census::now(), held);
    }
}

TEST_P(RectangleFailures, SubstituteMaskIsLockedAndUnlocked) {
    for (const int mode : {1, 4, 5, 6, 7, 8, 9, 15, 16}) {
        const FailingCall lock("GlobalLock", 0), unlock("GlobalUnlock", 0);
        EXPECT_NO_REPORT(call(arguments(mode, false)));
        EXPECT_EQ(lock.calls(), 1);
        EXPECT_EQ(unlock.calls(), 1);
    }
}

// No block of a size that has come round is taken, and nothing is touched: there cannot be an image
// of that size.
TEST_P(RectangleFailures, SizesOverThirtyTwoBits) {
    const frame::SmallMemory small;
    std::vector<SIZE_T> asked;
    const Replaced<frame::call::GlobalAlloc> nothing([&](UINT, SIZE_T size) -> HGLOBAL {
        asked.push_back(size);
        return nullptr;
    });
    const auto spoil = [&](int mode, bool masked, int w, int h) {
        Arguments a = arguments(mode, masked);
        a.bytes = is_of_colour(mode) ? 3 : 1;
        a.width = w;
        a.height = h;
        a.over = {0, 0, w, h};
        return a;
    };
    for (const auto &[w, h] : {std::pair{65536, 65536},
                               {65536, 65535},
                               {INT_MAX, INT_MAX},
                               {INT_MAX, 2},
                               {INT_MAX, 3},
                               {0x40000000, 4}})
        for (const int mode : {1, 4, 6, 8, 9, 14})
            expect_refused(spoil(mode, false, w, h));
    for (const int w : {0x15555555, 0x15555556, 0x2AAAAAAB, 0x55555556, INT_MAX})
        for (const int mode : {2, 3, 4, 5}) {
            EXPECT_REPORT(call(spoil(mode, true, w, 1)), 1001, 2, 61, 2);
            expect_untouched();
            frame::forget_reports();
        }
    for (const SIZE_T size : asked)
        EXPECT_GE(size, 0x10000000u);
}

} // namespace
} // namespace q32::test
