// What the process knows of its processor, and its lock, for which nobody waits here.
#include "library/process/process.h"

#include "tests/fuzz/system/machine.h"

namespace q32 {

bool mmx_available() {
    return fuzz::machine().mmx;
}

LibraryLock::LibraryLock() {}

} // namespace q32
