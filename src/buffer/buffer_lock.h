// A whole buffer under lock as an owner. The lock goes the way of a program's own, through the
// exports.
#pragma once

#include "library/process/owners.h"

#include <q32base/buffers.h>

namespace q32::buffer {

struct BufferLockTraits : NullIsNone<HBUF32> {
    static void release(Value buffer) { buf32Unlock(buffer); }
};

// A lock of a whole buffer, until the end of the scope.
class BufferLock {
public:
    bool lock(HBUF32 buffer, int mode) {
        if (!buf32Lock(buffer, mode, nullptr))
            return false;
        locked_.reset(buffer);
        return true;
    }

    // Before the end of the scope, for those who must know whether it could be.
    bool unlock() { return buf32Unlock(locked_.release()) != 0; }

private:
    Owner<BufferLockTraits> locked_;
};

} // namespace q32::buffer
