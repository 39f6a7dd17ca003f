// Settings of colour management: kept as they are given, with texts of the library's own.
#include "tests/display/display_fixture.h"

namespace q32::test {
namespace {

// Where the library splits path names, which it asks of the common library.
std::vector<std::string> split_paths;
void (*real_split)(const char *, char *, char *, char *, char *);
void split_path(const char *path, char *drive, char *directory, char *name, char *extension) {
    split_paths.push_back(path);
    real_split(path, drive, directory, name, extension);
}

std::vector<std::string> cut_paths;
void (*real_cut)(char *);
void cut_path(char *path) {
    cut_paths.push_back(path);
    real_cut(path);
}

class ColourManagement : public DisplayTest {
protected:
    void SetUp() override {
        DisplayTest::SetUp();
        start();
    }
    DispIcmMode settings() {
        DispIcmMode got;
        std::memset(&got, 0xA5, sizeof got);
        EXPECT_SUCCESS(api().disp32GetICMMode(&got));
        return got;
    }
    void set(const DispIcmMode &wanted) { EXPECT_SUCCESS(api().disp32SetICMMode(&wanted)); }
    void expect_none() {
        DispIcmMode got, zeros;
        std::memset(&got, 0xA5, sizeof got);
        std::memset(&zeros, 0, sizeof zeros);
        EXPECT_SILENT_FAILURE(api().disp32GetICMMode(&got));
        EXPECT_EQ(std::memcmp(&got, &zeros, sizeof got), 0);
    }
    void expect_settings(const DispIcmMode &wanted) {
        const DispIcmMode got = settings();
        EXPECT_EQ(got.value, wanted.value);
        EXPECT_STREQ(got.text1, wanted.text1);
        EXPECT_STREQ(got.display_profile, wanted.display_profile);
        EXPECT_STREQ(got.text3, wanted.text3);
        EXPECT_STREQ(got.text4, wanted.text4);
        EXPECT_STREQ(got.target_profile, wanted.target_profile);
        EXPECT_EQ(got.flags, wanted.flags);
        EXPECT_EQ(got.value2, wanted.value2);
        EXPECT_EQ(got.value3, wanted.value3);
    }
    // What the library holds, blocks of any kind.
    static int blocks() {
        const Census census = Census::now();
        return census.global_blocks + census.runtime_blocks;
    }
    static constexpr DispIcmMode complete{1,          "one", "two.icm", "three", "four",
                                          "five.icm", 3,     7,         8};
};

using TextField = const char *DispIcmMode::*;
constexpr TextField texts[] = {&DispIcmMode::text1, &DispIcmMode::display_profile,
                               &DispIcmMode::text3, &DispIcmMode::text4,
                               &DispIcmMode::target_profile};

TEST_F(ColourManagement, HasNoSettingsAtFirst) {
    expect_none();
    EXPECT_SILENT_FAILURE(api().disp32GetICMMode(nullptr));
    EXPECT_SILENT_FAILURE(api().disp32SetICMMode(nullptr));
    expect_none(); // a null pointer sets nothing
    set(complete);
    expect_settings(complete);
    EXPECT_SILENT_FAILURE(api().disp32GetICMMode(nullptr));
    EXPECT_SILENT_FAILURE(api().disp32SetICMMode(nullptr));
    expect_settings(complete);
}

TEST_F(ColourManagement, KeepsEveryField) {
    set(complete);
    const DispIcmMode got = settings();
    EXPECT_EQ(got.value, 1);
    EXPECT_STREQ(got.text1, "one");
    EXPECT_STREQ(got.display_profile, "two.icm");
    EXPECT_STREQ(got.text3, "three");
    EXPECT_STREQ(got.text4, "four");
    EXPECT_STREQ(got.target_profile, "five.icm");
    EXPECT_EQ(got.flags, 3u);
    EXPECT_EQ(got.value2, 7);
    EXPECT_EQ(got.value3, 8);

    const DispIcmMode others{-1, nullptr, "", nullptr, "4", nullptr, 0xFFFFFFFF, -2, -3};
    set(others);
    expect_settings(others);
    const DispIcmMode zeros{};
    set(zeros);
    expect_settings(zeros); // 1, and all of them zeros
}

TEST_F(ColourManagement, CopiesTheTexts) {
    char text[5][16] = {"one", "two", "three", "four", "five"};
    const DispIcmMode given{0, text[0], text[1], text[2], text[3], text[4], 0, 0, 0};
    set(given);
    const DispIcmMode got = settings();
    for (TextField field : texts) {
        EXPECT_NE(got.*field, given.*field);
        EXPECT_STREQ(got.*field, given.*field);
    }
    std::memset(text, 'x', sizeof text);
    expect_settings({0, "one", "two", "three", "four", "five", 0, 0, 0});
}

// Long ones, and one that ends at the end of its memory.
TEST_F(ColourManagement, CopiesTextsOfAnyLength) {
    for (std::size_t length : {0u, 1u, 259u, 260u, 261u, 5000u, 100000u}) {
        const std::string text(length, 'p');
        DispIcmMode given{};
        for (TextField field : texts)
            given.*field = text.c_str();
        set(given);
        expect_settings(given);
    }
    const std::string longest(100000, 'q');
    DispIcmMode given{};
    given.text4 = longest.c_str();
    set(given);
    expect_settings(given);
}

TEST_F(ColourManagement, KeepsTheCopyOfAnEqualText) {
    set(complete);
    const DispIcmMode before = settings();
    const int held = blocks();
    std::string equal[] = {"one", "two.icm", "three", "four", "five.icm"};
    DispIcmMode given{2,
                      equal[0].c_str(),
                      equal[1].c_str(),
                      equal[2].c_str(),
                      equal[3].c_str(),
                      equal[4].c_str(),
                      0,
                      9,
                      10};
    set(given);
    expect_settings(given);
    DispIcmMode after = settings();
    for (TextField field : texts)
        EXPECT_EQ(after.*field, before.*field);
    EXPECT_EQ(blocks(), held);

    // The others keep theirs when one changes; case and length matter.
    for (TextField field : texts)
        for (const char *other : {"ONE", "Two.icm", "thre", "fourth", ""}) {
            given.*field = other;
            const DispIcmMode old = settings();
            set(given);
            expect_settings(given);
            after = settings();
            for (TextField same : texts)
                if (same != field) {
                    EXPECT_EQ(after.*same, old.*same);
                }
            EXPECT_NE(after.*field, other);
            EXPECT_EQ(blocks(), held);
        }
}

TEST_F(ColourManagement, FreesWhatIsSetToNull) {
    set({});
    const int none = blocks();
    set(complete);
    EXPECT_EQ(blocks(), none + 5);
    DispIcmMode given = complete;
    int held = none + 5;
    for (TextField field : texts) {
        given.*field = nullptr;
        set(given);
        expect_settings(given);
        EXPECT_EQ(blocks(), --held);
    }
    set(complete);
    expect_settings(complete);
    EXPECT_EQ(blocks(), none + 5);
}

// Texts that the library has handed out may be given back, in their own places and in others.
TEST_F(ColourManagement, TakesItsOwnTexts) {
    set(complete);
    const DispIcmMode got = settings();
    set(got);
    expect_settings(complete);
    EXPECT_EQ(settings().text3, got.text3);
    const int held = blocks();
    const DispIcmMode turned{
        0, got.target_profile, got.text1, got.display_profile, got.text3, got.text4, 0, 0, 0};
    set(turned);
    expect_settings({0, "five.icm", "one", "two.icm", "three", "four", 0, 0, 0});
    EXPECT_EQ(blocks(), held);
    const DispIcmMode own = settings();
    set({0, nullptr, own.text1, nullptr, own.text1, own.display_profile, 0, 0, 0});
    expect_settings({0, nullptr, "five.icm", nullptr, "five.icm", "one", 0, 0, 0});
    EXPECT_EQ(blocks(), held - 2);
}

TEST_F(ColourManagement, IsForgottenWhenTheLibraryStops) {
    set(complete);
    stop(); // and nothing is left
    start();
    expect_none();
    set({});
    stop();
    start();
    expect_none();
}

TEST_F(ColourManagement, OutlivesChangesOfTheDeviceType) {
    set(complete);
    const DispIcmMode before = settings();
    for (int type : {3, 4, 5, 7, -1})
        EXPECT_SUCCESS(api().disp32SetDevType(type));
    set_gamma({50, 60, 70});
    const DispIcmMode after = settings();
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

// --- the display's profile -------------------------------------------------------------------

class DisplayProfile : public ColourManagement {
protected:
    void SetUp() override {
        ColourManagement::SetUp();
        split_paths.clear();
        cut_paths.clear();
    }
    // Sets for the first time on a display with this profile, or none.
    void set_on(const std::optional<std::string> &profile) {
        const frame::ImportHook split(library(), "q32comm.dll", "qfdSplitPathname",
                                      reinterpret_cast<void *>(&split_path));
        const frame::ImportHook cut(library(), "q32comm.dll", "qfdDelSlash",
                                    reinterpret_cast<void *>(&cut_path));
        real_split = split.original<decltype(real_split)>();
        real_cut = cut.original<decltype(real_cut)>();
        const Replaced<call::GetICMProfileA> tell([&](HDC dc, DWORD *size, char *path) -> BOOL {
            ++asked;
            EXPECT_NE(dc, nullptr);
            EXPECT_GE(GetDeviceCaps(dc, HORZRES), 1);
            if (size == nullptr || path == nullptr) {
                ADD_FAILURE() << "nowhere to put the profile";
                return FALSE;
            }
            EXPECT_GE(*size, DWORD{MAX_PATH});
            if (!profile || profile->size() >= *size)
                return FALSE;
            std::memset(path, 0x5A, *size);
            std::strcpy(path, profile->c_str());
            *size = DWORD(profile->size() + 1);
            return TRUE;
        });
        set(complete);
        expect_settings(complete);
    }
    int asked = 0;
};

TEST_F(DisplayProfile, IsAskedOfTheDisplayOnce) {
    const Census before = Census::now();
    set_on("C:\\windows\\color\\screen.icm");
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(split_paths, std::vector<std::string>{"C:\\windows\\color\\screen.icm"});
    ASSERT_EQ(cut_paths.size(), 1u);
    EXPECT_TRUE(cut_paths[0].ends_with("\\windows\\color\\")) << cut_paths[0];
    const Census after = Census::now();
    EXPECT_EQ(after.device_contexts, before.device_contexts);
    EXPECT_EQ(after.drawing_objects, before.drawing_objects);
    set_on("C:\\another\\screen.icm");
    set_on({});
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(split_paths.size(), 1u);
    stop();
    start();
    set_on({});
    EXPECT_EQ(asked, 2);
}

TEST_F(DisplayProfile, IsAskedThroughAContextOfTheDisplay) {
    Calls calls;
    Watch<call::CreateDCA> open{calls};
    Watch<call::CreateICA> open_information{calls};
    Watch<call::GetICMProfileA> ask{calls};
    Watch<call::DeleteDC> close{calls};
    set(complete);
    ASSERT_EQ(calls.all().size(), 3u) << calls.text();
    EXPECT_EQ(calls.all()[0].arguments[0], "\"DISPLAY\"");
    EXPECT_EQ(calls.all()[1].name, "GetICMProfileA");
    EXPECT_EQ(calls.all()[2].name, "DeleteDC");
    calls.clear();
    set(complete);
    set({});
    EXPECT_EQ(calls.text(), "");
}

TEST_F(DisplayProfile, MayBeAbsent) {
    set_on({});
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(split_paths.size(), 0u);
    set_on("C:\\too\\late.icm");
    EXPECT_EQ(asked, 1);
}

TEST_F(DisplayProfile, MayBeNamedInAnyWay) {
    const std::string names[] = {"screen.icm",
                                 "C:screen.icm",
                                 "C:\\screen.icm",
                                 "\\screen.icm",
                                 "",
                                 "C:\\" + std::string(240, 'd') + "\\screen.icm",
                                 "C:\\" + std::string(255, 'd') + "\\",
                                 std::string(259, 'n')};
    for (const std::string &name : names) {
        SCOPED_TRACE(name);
        stop();
        start();
        set_on(name);
        expect_no_report();
    }
}

// Without a context of the display there is no profile, and the settings are kept all the same.
TEST_F(DisplayProfile, IsDoneWithoutWhereThereIsNoContext) {
    {
        const FailingCall contexts("CreateDCA", 1, FailingCall::from_there_on);
        const FailingCall information("CreateICA", 1, FailingCall::from_there_on);
        set_on("C:\\windows\\color\\screen.icm");
        EXPECT_TRUE(contexts.happened() || information.happened());
    }
    EXPECT_EQ(asked, 0);
    expect_settings(complete);
}

// --- lack of memory --------------------------------------------------------------------------

class LackOfMemory : public ColourManagement {
protected:
    // Sets with the n-th call of the function failing. False when that many were not made.
    bool fails(const DispIcmMode &given, const char *function, int n) {
        const Census before = Census::now();
        const FailingCall failing(function, n);
        frame::forget_reports();
        const int result = api().disp32SetICMMode(&given);
        expect_no_report();
        EXPECT_EQ(result, failing.happened() ? 0 : 1);
        if (failing.happened()) {
            EXPECT_EQ(Census::now(), before);
        }
        return failing.happened();
    }
    static constexpr const char *functions[] = {"GlobalAlloc", "GlobalLock", "malloc", "calloc",
                                                "realloc"};
};

TEST_F(LackOfMemory, AtFirstLeavesNoSettings) {
    int failures = 0;
    for (const char *function : functions) {
        for (int n = 1; fails(complete, function, n); ++n) {
            SCOPED_TRACE(std::string(function) + " number " + std::to_string(n));
            ++failures;
            expect_none();
            ASSERT_LT(n, 20);
        }
        expect_settings(complete);
        stop();
        start();
    }
    EXPECT_GE(failures, 6); // the settings and five texts
}

TEST_F(LackOfMemory, LaterKeepsTheSettings) {
    const DispIcmMode given{10, "ten", "eleven", "twelve", nullptr, "thirteen", 0, 70, 80};
    int failures = 0;
    for (const char *function : functions) {
        set(complete);
        const DispIcmMode before = settings();
        for (int n = 1; fails(given, function, n); ++n) {
            SCOPED_TRACE(std::string(function) + " number " + std::to_string(n));
            ++failures;
            const DispIcmMode after = settings();
            EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
            expect_settings(complete);
            ASSERT_LT(n, 20);
        }
        expect_settings(given);
    }
    EXPECT_GE(failures, 4); // four texts
}

} // namespace
} // namespace q32::test
