// The test's side of the recording q32comm.dll: what was reported, and what it shall answer. Also
// the expectations on one call's reports.
#pragma once

#include "tests/frame/recording_comm.h"

#include <gtest/gtest.h>

#include <compare>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

namespace q32::frame {

// The whole record, loaded on first use, with the defaults of reset_comm.
Recording &comm();

// Back to the defaults: nothing recorded, MMX on, Esc up, default texts, and the process's own
// sandbox (sandbox.h) as temporary directory and name of the settings file. The default names in
// the settings file differ from those of the shipped q32comm.dll on purpose.
void reset_comm();

// What c32GetString shall answer from now on.
void set_text(int id, const std::string &text);
void remove_text(int id);
std::string text_of(int id);

// --- reports ---------------------------------------------------------------------------------

// What is left of a report when text (null) and library (1450) are as they must be.
struct Failure {
    int message, severity, module, point;
    auto operator<=>(const Failure &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Failure &failure);

// Everything reported since forget_reports. Stray text or library numbers are test failures.
std::vector<Failure> reports();
void forget_reports();

testing::AssertionResult check_reports(const std::vector<Failure> &wanted, bool result_as_wanted,
                                       const char *call);

} // namespace q32::frame

// The call makes exactly this report, with text 0 and library 1450, and returns 0.
#define EXPECT_REPORT(call, message, severity, module, point)                                      \
    EXPECT_REPORTS(call, {message, severity, module, point})

// The call makes exactly these reports, in this order, and returns 0.
#define EXPECT_REPORTS(call, ...)                                                                  \
    do {                                                                                           \
        ::q32::frame::forget_reports();                                                            \
        const bool q32_failed = !(call);                                                           \
        EXPECT_TRUE(::q32::frame::check_reports({__VA_ARGS__}, q32_failed, #call));                \
    } while (false)

// The call returns 0 and reports nothing.
#define EXPECT_SILENT_FAILURE(call)                                                                \
    do {                                                                                           \
        ::q32::frame::forget_reports();                                                            \
        const bool q32_failed = !(call);                                                           \
        EXPECT_TRUE(::q32::frame::check_reports({}, q32_failed, #call));                           \
    } while (false)

// The call returns other than 0 and reports nothing.
#define EXPECT_SUCCESS(call)                                                                       \
    do {                                                                                           \
        ::q32::frame::forget_reports();                                                            \
        const bool q32_succeeded = !!(call);                                                       \
        EXPECT_TRUE(::q32::frame::check_reports({}, q32_succeeded, #call));                        \
    } while (false)

// The call reports nothing, whatever it returns.
#define EXPECT_NO_REPORT(call)                                                                     \
    do {                                                                                           \
        ::q32::frame::forget_reports();                                                            \
        static_cast<void>(call);                                                                   \
        EXPECT_TRUE(::q32::frame::check_reports({}, true, #call));                                 \
    } while (false)
