// The library's buffers and locks with their owners.
#pragma once

#include "library_report.h"
#include "owned.h"

#include <q32base/buffers.h>

namespace apps {

using Buffer = Owned<buf32Free, HBUF32>;
using BufferLock = Owned<buf32Unlock, HBUF32>;

// mode: BUF32_READ ...; named: what a message is about. Throws Failure.
inline BufferLock lock_buffer(HBUF32 buffer, int mode, const std::string &named) {
    if (!buf32Lock(buffer, mode, nullptr))
        throw library_failure(named, "the buffer cannot be locked");
    return BufferLock(buffer);
}

} // namespace apps
