// A whole buffer under lock as an owner. The lock goes the way of a program's own, through the
// exports.
#pragma once

#include <q32base/buffers.h>

#include <utility>

namespace q32::buffer {

// A lock of a whole buffer, until the end of the scope.
class BufferLock {
public:
    BufferLock() = default;
    BufferLock(const BufferLock &) = delete;
    BufferLock &operator=(const BufferLock &) = delete;
    ~BufferLock() {
        if (buffer_ != 0)
            buf32Unlock(buffer_);
    }

    bool lock(HBUF32 buffer, int mode) {
        if (!buf32Lock(buffer, mode, nullptr))
            return false;
        buffer_ = buffer;
        return true;
    }

    // Before the end of the scope, for those who must know whether it could be.
    bool unlock() { return buf32Unlock(std::exchange(buffer_, 0)) != 0; }

private:
    HBUF32 buffer_ = 0; // 0: nothing to unlock
};

} // namespace q32::buffer
