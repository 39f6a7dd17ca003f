// Hands failure sites to the error channel of the common library.
#include "library/process/failure.h"

#include <q32base/types.h>
#include <q32comm.h>

namespace q32 {

int fail_with_text(const FailureSite &site, const char *text) {
    c32SetDLLErrInfo(text, site.message, site.severity, Q32_LIBRARY_NUMBER, site.module,
                     site.point);
    return 0;
}

int fail(const FailureSite &site) {
    return fail_with_text(site, nullptr);
}

} // namespace q32
