// Failure reports. A failure is a row of its subsystem's table of failure sites; fail() reports it
// to the common library and is the only caller of c32SetDLLErrInfo besides the display check, whose
// report carries a text.
#pragma once

namespace q32 {

struct FailureSite {
    int message;
    int severity;
    int module;
    int point;
};

// Reports the site and returns 0, so that a failure is one line: return fail(site::too_wide);
int fail(const FailureSite &site);

// The same with a text of its own.
int fail_with_text(const FailureSite &site, const char *text);

} // namespace q32
