// Colour management of what runs draw on: applied when a run is opened, undone when it has ended,
// and not tried again where the system refuses.
#include "tests/display_runs/run_fixture.h"

namespace q32::test {
namespace {

class RunColours : public RunTest {
protected:
    // Settings on a display with this profile.
    void set(const DispIcmMode &settings,
             const std::string &profile = "C:\\windows\\color\\screen.icm") {
        const Replaced<call::GetICMProfileA> tell([&](HDC, DWORD *size, char *path) -> BOOL {
            if (profile.empty())
                return FALSE;
            std::strcpy(path, profile.c_str());
            *size = DWORD(profile.size() + 1);
            return TRUE;
        });
        EXPECT_SUCCESS(api().disp32SetICMMode(&settings));
    }
    void set_flags(std::uint32_t flags) {
        set({0, nullptr, "two.icm", nullptr, nullptr, "five.icm", flags, 0, 0});
    }
    std::uint32_t flags() {
        DispIcmMode got{};
        EXPECT_SUCCESS(api().disp32GetICMMode(&got));
        return got.flags;
    }
    // What an opening and an end call.
    Lines opening(GdiWatch &watch, int depth = 24) {
        watch.take_calls();
        setup.depth = depth;
        run = open(setup);
        return watch.take_calls();
    }
    Lines ending(GdiWatch &watch) {
        watch.take_calls();
        end(run);
        return watch.take_calls();
    }
    RunSetup setup{.type = 4, .right = 9, .bottom = 9};
    HDISPRUN run = 0;
    static inline const Lines applied{"SetICMProfileA(dc, C:\\windows\\color\\two.icm)",
                                      "SetICMMode(dc, on)"};
    static inline const Lines matched{"SetICMProfileA(target, C:\\windows\\color\\five.icm)",
                                      "SetICMMode(target, on)",
                                      "ColorMatchToTarget(dc, target, enable)"};
    static inline const Lines undone{"SetICMMode(dc, off)"};
    static inline const Lines unmatched{"ColorMatchToTarget(dc, target, delete)"};
    static inline const Lines made{"CreateDCA(DISPLAY)"};
    static Lines joined(std::initializer_list<Lines> parts) {
        Lines all;
        for (const Lines &part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    }
};

TEST_F(RunColours, WithoutSettings) {
    prepare(setup);
    GdiWatch watch(dc());
    EXPECT_EQ(opening(watch), Lines{});
    EXPECT_EQ(ending(watch), Lines{});
    for (std::uint32_t flags : {0u, 2u, 0xFFFFFFFEu}) {
        set_flags(flags);
        EXPECT_EQ(opening(watch), Lines{});
        EXPECT_EQ(ending(watch), Lines{});
        EXPECT_EQ(this->flags(), flags);
    }
}

TEST_F(RunColours, OfTheDisplay) {
    prepare(setup);
    set_flags(1);
    for (int depth : {8, 16, 24})
        for (int i = 0; i < 2; ++i) {
            GdiWatch watch(dc());
            EXPECT_EQ(opening(watch, depth), applied);
            EXPECT_EQ(ending(watch), undone);
        }
    EXPECT_EQ(flags(), 1u);
    GdiWatch watch(dc());
    const Lines first = opening(watch, 1);
    ASSERT_EQ(first.size(), 5u);
    EXPECT_EQ(Lines(first.begin() + 3, first.end()), applied); // after the set-up
    const Lines calls = ending(watch);
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[3], "SetICMMode(dc, off)"); // after the release
}

TEST_F(RunColours, OfTheTarget) {
    prepare(setup);
    set_flags(3);
    const Census before = Census::now();
    GdiWatch watch(dc());
    EXPECT_EQ(opening(watch), joined({applied, made, matched}));
    EXPECT_EQ(ending(watch), joined({unmatched, undone}));
    // The target's context is kept; its profile and mode are set for each run.
    EXPECT_EQ(Census::now().device_contexts, before.device_contexts + 1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(opening(watch), joined({applied, matched}));
        EXPECT_EQ(ending(watch), joined({unmatched, undone}));
    }
    EXPECT_EQ(Census::now().device_contexts, before.device_contexts + 1);
    EXPECT_EQ(flags(), 3u);
}

TEST_F(RunColours, WithoutATarget) {
    prepare(setup);
    set({0, "one", "two.icm", "three", "four", nullptr, 3, 0, 0});
    GdiWatch watch(dc());
    EXPECT_EQ(opening(watch), applied);
    EXPECT_EQ(ending(watch), undone);
    EXPECT_EQ(flags(), 3u);
}

// Without a folder profiles go by their names alone.
TEST_F(RunColours, WithoutAFolder) {
    prepare(setup);
    set({0, nullptr, "two.icm", nullptr, nullptr, "five.icm", 3, 0, 0}, "");
    GdiWatch watch(dc());
    EXPECT_EQ(opening(watch),
              (Lines{"SetICMProfileA(dc, two.icm)", "SetICMMode(dc, on)", "CreateDCA(DISPLAY)",
                     "SetICMProfileA(target, five.icm)", "SetICMMode(target, on)",
                     "ColorMatchToTarget(dc, target, enable)"}));
    EXPECT_EQ(ending(watch), joined({unmatched, undone}));
}

// The handle is stored before.
TEST_F(RunColours, AfterTheHandle) {
    prepare(setup);
    set_flags(3);
    HDISPRUN handle = 0x5A5A5A5A;
    GdiWatch watch(dc());
    int calls = 0;
    watch.at_each_call = [&](const std::string &call) {
        ++calls;
        EXPECT_NE(handle, 0u) << call;
        EXPECT_NE(handle, 0x5A5A5A5Au) << call;
    };
    EXPECT_SUCCESS(api().disp32ShowInit(&handle, dc(), 24, 0, 0, 9, 9, nullptr, 0, 0));
    EXPECT_EQ(calls, 6);
    watch.at_each_call = {};
    end(handle);
}

// Undone after the last drawing, and before the record is freed.
TEST_F(RunColours, UndoneAfterTheLastDrawing) {
    set_flags(3);
    Random random{test_seed(), 101};
    const Source source(random, 24, 9, 9);
    GdiWatch watch(dc());
    for (int type : {2, 3, 4}) {
        setup.type = type;
        prepare(setup);
        opening(watch);
        EXPECT_SUCCESS(show(run, source));
        int frees_after = 0;
        bool undone_yet = false;
        watch.at_each_call = [&](const std::string &call) {
            undone_yet |= call == "SetICMMode(dc, off)";
        };
        const Replaced<call::GlobalFree> free([&](HGLOBAL block) {
            frees_after += undone_yet;
            return call::GlobalFree::real(block);
        });
        const Lines calls = ending(watch);
        EXPECT_EQ(frees_after, 1);
        ASSERT_GE(calls.size(), 3u);
        EXPECT_EQ(calls[calls.size() - 2], unmatched[0]);
        EXPECT_EQ(calls.back(), undone[0]);
        const auto drawing = std::ranges::find_if(calls, [](const std::string &call) {
            return call.starts_with("SetDIBits") || call.starts_with("BitBlt");
        });
        EXPECT_NE(drawing, calls.end());
    }
}

TEST_F(RunColours, RefusedOpeningsApplyNothing) {
    prepare(setup);
    set_flags(3);
    GdiWatch watch(dc());
    HDISPRUN handle;
    EXPECT_SILENT_FAILURE(api().disp32ShowInit(&handle, dc(), 4, 0, 0, 9, 9, nullptr, 0, 0));
    EXPECT_SILENT_FAILURE(api().disp32ShowInit(nullptr, dc(), 24, 0, 0, 9, 9, nullptr, 0, 0));
    const FailingCall memory{"GlobalAlloc", 2};
    EXPECT_SILENT_FAILURE(api().disp32ShowInit(&handle, dc(), 24, 0, 0, 9, 9, nullptr, 0, 0));
    EXPECT_EQ(watch.take_calls(), Lines{});
    EXPECT_EQ(flags(), 3u);
}

TEST_F(RunColours, OfEmptyRectangles) {
    setup.bottom = 0;
    prepare(setup);
    set_flags(1);
    GdiWatch watch(dc());
    EXPECT_EQ(opening(watch), applied);
    EXPECT_EQ(ending(watch), undone);
}

// --- refusals --------------------------------------------------------------------------------

// Without the profile nothing more is done; the flags stay, so that the mode is set back.
TEST_F(RunColours, ProfileRefused) {
    prepare(setup);
    set_flags(3);
    GdiWatch watch(dc());
    for (int i = 0; i < 2; ++i) {
        watch.profile_works = false;
        EXPECT_EQ(opening(watch), Lines{applied[0]});
        EXPECT_EQ(flags(), 3u);
        EXPECT_EQ(ending(watch), undone); // there is no target yet
    }
    watch.profile_works = true;
    EXPECT_EQ(opening(watch), joined({applied, made, matched}));
    EXPECT_EQ(ending(watch), joined({unmatched, undone}));
}

// A path of 259 characters is the longest; the folder and its separator have 17 of them.
TEST_F(RunColours, ProfileWithALongName) {
    prepare(setup);
    GdiWatch watch(dc());
    const std::string longest(242, 'p'), too_long(243, 'p');
    set({0, nullptr, longest.c_str(), nullptr, nullptr, nullptr, 1, 0, 0});
    EXPECT_EQ(opening(watch), (Lines{"SetICMProfileA(dc, C:\\windows\\color\\" + longest + ")",
                                     "SetICMMode(dc, on)"}));
    EXPECT_EQ(ending(watch), undone);
    set({0, nullptr, too_long.c_str(), nullptr, nullptr, nullptr, 1, 0, 0});
    EXPECT_EQ(opening(watch), Lines{});
    EXPECT_EQ(flags(), 1u);
    EXPECT_EQ(ending(watch), undone);
}

TEST_F(RunColours, ModeRefused) {
    prepare(setup);
    set_flags(3);
    GdiWatch watch(dc());
    watch.mode_works = false;
    EXPECT_EQ(opening(watch), applied);
    EXPECT_EQ(flags(), 2u);
    EXPECT_EQ(ending(watch), Lines{});
    watch.mode_works = true;
    EXPECT_EQ(opening(watch), Lines{}); // it stays so
    EXPECT_EQ(ending(watch), Lines{});
    set_flags(3);
    EXPECT_EQ(opening(watch), joined({applied, made, matched}));
    EXPECT_EQ(ending(watch), joined({unmatched, undone}));
}

TEST_F(RunColours, TargetRefused) {
    prepare(setup);
    GdiWatch watch(dc());
    for (int refused = 0; refused < 4; ++refused) {
        SCOPED_TRACE(refused);
        set_flags(3);
        watch.target_exists = refused != 0;
        watch.target_profile_works = refused != 1;
        watch.target_mode_works = refused != 2;
        watch.matching_works = refused != 3;
        const Lines tried(matched.begin(), matched.begin() + refused);
        // The target is made when it first can be.
        EXPECT_EQ(opening(watch),
                  refused <= 1 ? joined({applied, made, tried}) : joined({applied, tried}))
            << refused;
        EXPECT_EQ(flags(), 1u);
        EXPECT_EQ(ending(watch), undone);
        watch.target_exists = watch.target_profile_works = watch.target_mode_works =
            watch.matching_works = true;
        EXPECT_EQ(opening(watch), applied); // it stays so
        EXPECT_EQ(ending(watch), undone);
    }
}

// --- drawings --------------------------------------------------------------------------------

// With the real mode of a context: what the run has set is what its drawings see.
TEST_F(RunColours, DrawingsSeeTheMode) {
    setup.type = 3;
    prepare(setup);
    Random random{test_seed(), 102};
    const Source source(random, 24, 9, 9);
    int mode = ICM_OFF;
    std::vector<UINT> usages;
    for (std::uint32_t flags : {1u, 0u, 1u}) {
        set_flags(flags);
        GdiWatch watch(dc());
        const Replaced<call::SetICMMode> remember([&](HDC, int wanted) {
            if (wanted == ICM_QUERY)
                return mode;
            mode = wanted;
            return 1;
        });
        run = open(setup);
        EXPECT_SUCCESS(show(run, source));
        end(run);
        EXPECT_EQ(mode, ICM_OFF);
        for (const Drawing &drawing : watch.drawings())
            usages.push_back(drawing.usage);
        EXPECT_EQ(drawn(watch, setup).size(), 1u);
    }
    EXPECT_EQ(usages, (std::vector<UINT>{DIB_RGB_COLORS, DIB_PAL_COLORS, DIB_RGB_COLORS}));
}

} // namespace
} // namespace q32::test
