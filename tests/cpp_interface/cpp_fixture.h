// A test of q32base.hpp, which calls the functions of the library by their names.
#pragma once

#include "tests/frame/library.h"
#include "tests/library/library_fixture.h"

#include <q32base.hpp>

#include <gtest/gtest.h>

namespace q32::test {

// The names of the interface are those of this library from now on.
void import_from(const frame::Api &api);

// At its end no buffer may be left, and no report that the test has not looked at.
class CppTest : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        start();
        import_from(api());
    }
    void TearDown() override {
        EXPECT_EQ(live_buffers(), 0);
        LibraryTest::TearDown();
    }

    static int live_buffers() { return buf32CountBuf(nullptr); }
    // An older report, which must not be taken for that of a later call.
    static void report_something_older() {
        c32SetDLLErrInfo(nullptr, 4026, 1, Q32_LIBRARY_NUMBER, 3, 6);
    }
    // A palette that the library has made and the test deletes: call before.
    void forget_palette(HPALETTE palette) {
        const Replaced<call::DeleteObject> counted_only([](HGDIOBJ) { return TRUE; });
        void *const deletes = *library().import_slot("gdi32.dll", "DeleteObject");
        reinterpret_cast<decltype(&DeleteObject)>(deletes)(palette);
    }
    // How often a buffer is locked.
    static int locks_of(BufferRef buffer) { return buffer.info().lock_count; }
};

// The report is this one; its text and library number are as they must be.
inline void expect_report(const Report &report, const std::string &function,
                          const Failure &numbers) {
    EXPECT_EQ(report.function, function);
    EXPECT_TRUE(report.is_reported());
    EXPECT_EQ((Failure{report.message, report.severity, report.module, report.point}), numbers);
    EXPECT_EQ(report.library, Q32_LIBRARY_NUMBER);
    frame::forget_reports();
}

// There was none, whatever had been reported before.
inline void expect_unreported(const Report &report, const std::string &function) {
    EXPECT_EQ(report.function, function);
    EXPECT_FALSE(report.is_reported());
    EXPECT_EQ((Failure{report.message, report.severity, report.module, report.point}), Failure{});
    EXPECT_EQ(report.library, 0);
    frame::forget_reports();
}

// What the call throws.
template <class Call>
Report thrown_by(Call call) {
    try {
        call();
    } catch (const Error &error) {
        return error.report();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

} // namespace q32::test
