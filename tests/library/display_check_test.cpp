// The display check: a display of 4 bits in 1 plane refuses the load, with a report and a message
// box; any other display is served.
#include "tests/library/library_fixture.h"

namespace q32::test {
namespace {

class DisplayCheck : public LibraryTest {
protected:
    // A start on a display of this kind. What the display check is made of is watched.
    bool start_on(int bits, int planes) {
        calls.clear();
        load();
        const Replaced<call::GetDeviceCaps> colours([=](HDC dc, int index) {
            return index == BITSPIXEL ? bits
                   : index == PLANES  ? planes
                                      : call::GetDeviceCaps::real(dc, index);
        });
        Watch<call::CreateICA> open{calls};
        Watch<call::GetTempPathA> defaults{calls};
        Watch<call::GetPrivateProfileIntA> settings{calls};
        Watch<call::CreateFileA> files{calls};
        CommonWatch report{library(), "c32SetDLLErrInfo", calls};
        CommonWatch box{library(), "c32ShowMb", calls};
        CommonWatch name{library(), "GetCPUName", calls};
        const bool started = library().attach();
        if (!started)
            expect_nothing_left();
        return started;
    }
    Calls calls;
};

TEST_F(DisplayCheck, TheNameMayBeThePath) {
    set_text(4700, "No pictures for %s here.");
    const Replaced<call::GetModuleFileNameA> plain([](HMODULE, char *path, DWORD) {
        std::strcpy(path, "Q32BASE.DLL");
        return DWORD(11);
    });
    EXPECT_FALSE(start_on(4, 1));
    EXPECT_STREQ(frame::comm().reports[0].text, "No pictures for Q32BASE.DLL here.");
    frame::forget_reports();
}

TEST_F(DisplayCheck, SixteenColoursAreRefused) {
    set_text(4700, "No pictures for %s here.");
    set_text(4701, "Too few colours");
    EXPECT_FALSE(start_on(4, 1));

    const frame::Recording &recording = frame::comm();
    ASSERT_EQ(recording.report_count, 1);
    const frame::Report &report = recording.reports[0];
    EXPECT_TRUE(report.has_text);
    EXPECT_STREQ(report.text, "No pictures for Q32BASE.DLL here.");
    EXPECT_EQ(report.message, 4700);
    EXPECT_EQ(report.severity, 0);
    EXPECT_EQ(report.library, 1450);
    EXPECT_EQ(report.module, 4);
    EXPECT_EQ(report.point, 0);
    ASSERT_EQ(recording.box_count, 1);
    EXPECT_STREQ(recording.boxes[0].text, "No pictures for Q32BASE.DLL here.");
    EXPECT_STREQ(recording.boxes[0].title, "Too few colours");

    // Reported, then shown; and nothing after that.
    const int reported = calls.find("c32SetDLLErrInfo"), shown = calls.find("c32ShowMb");
    EXPECT_LT(reported, shown);
    EXPECT_EQ(std::size_t(shown), calls.all().size() - 1) << calls.text();
    for (const char *later : {"GetTempPathA", "GetPrivateProfileIntA", "CreateFileA", "GetCPUName"})
        EXPECT_EQ(calls.count(later), 0) << later;
    EXPECT_FALSE(frame::file_exists(master_file()));
    frame::forget_reports();
}

TEST_F(DisplayCheck, EveryOtherDisplayIsServed) {
    const struct {
        int bits, planes;
    } displays[] = {{4, 2},  {1, 4},  {2, 2},  {4, 4},  {3, 1}, {1, 1}, {8, 1},
                    {15, 1}, {16, 1}, {24, 1}, {32, 1}, {5, 1}, {4, 3}, {0, 0}};
    for (const auto &display : displays) {
        SCOPED_TRACE(std::to_string(display.bits) + " x " + std::to_string(display.planes));
        EXPECT_TRUE(start_on(display.bits, display.planes));
        EXPECT_EQ(calls.count("c32ShowMb"), 0);
        expect_no_report();
        stop();
    }
}

TEST_F(DisplayCheck, AsksTheDisplayAndClosesIt) {
    load();
    std::vector<HDC> opened, closed;
    std::vector<int> asked;
    {
        const Replaced<call::CreateICA> open([&](auto... arguments) {
            const HDC dc = call::CreateICA::real(arguments...);
            opened.push_back(dc);
            return dc;
        });
        const Replaced<call::DeleteDC> close([&](HDC dc) {
            closed.push_back(dc);
            return call::DeleteDC::real(dc);
        });
        const Replaced<call::GetDeviceCaps> ask([&](HDC dc, int index) {
            EXPECT_EQ(opened, std::vector<HDC>{dc});
            EXPECT_TRUE(closed.empty());
            asked.push_back(index);
            return index == BITSPIXEL ? 4 : index == PLANES ? 1 : 0;
        });
        EXPECT_FALSE(try_start());
    }
    frame::forget_reports();
    EXPECT_EQ(opened.size(), 1u);
    EXPECT_EQ(closed, opened);
    EXPECT_NE(std::find(asked.begin(), asked.end(), BITSPIXEL), asked.end());
    EXPECT_NE(std::find(asked.begin(), asked.end(), PLANES), asked.end());
}

// A text that is missing, long, or without a place for the name must do no harm.
TEST_F(DisplayCheck, StandsAnyText) {
    frame::remove_text(4700);
    frame::remove_text(4701);
    EXPECT_FALSE(start_on(4, 1));
    EXPECT_EQ(frame::comm().report_count, 1);
    EXPECT_EQ(frame::comm().reports[0].message, 4700);
    frame::forget_reports();

    set_text(4700, "no name");
    EXPECT_FALSE(start_on(4, 1));
    EXPECT_STREQ(frame::comm().reports[0].text, "no name");
    frame::forget_reports();

    const std::string longest(500, 'x');
    set_text(4700, longest + "%s");
    EXPECT_FALSE(start_on(4, 1));
    EXPECT_TRUE(std::string(frame::comm().reports[0].text).starts_with("xxxxxxxx"));
    frame::forget_reports();
}

} // namespace
} // namespace q32::test
