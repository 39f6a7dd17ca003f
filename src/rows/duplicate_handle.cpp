// The copy of a global memory block: the one row operation that knows handles and allocates.
#include "library/process/owners.h"
#include "rows/failures.h"

#include <q32base/rows.h>

#include <cstring>

namespace q32::rows {
namespace {

bool copy_block(HGLOBAL to, HGLOBAL from, SIZE_T size) {
    const LockedBlock source(from), destination(to);
    if (source.memory() == nullptr || destination.memory() == nullptr)
        return false;
    std::memcpy(destination.memory(), source.memory(), size);
    return true;
}

HGLOBAL fail_without_handle(const FailureSite &site) {
    fail(site);
    return nullptr;
}

HGLOBAL duplicate(HGLOBAL memory) {
    // Exactly this value: flags that say discarded among other things go on to the size.
    if (GlobalFlags(memory) == GMEM_DISCARDED)
        return fail_without_handle(site::handle_discarded);
    const SIZE_T size = GlobalSize(memory);
    if (size == 0)
        return fail_without_handle(site::handle_empty);

    // Quirk: the copy is two bytes larger than its original, and nothing is stored in them.
    constexpr SIZE_T spare_bytes = 2;
    GlobalBlock copy(GlobalAlloc(GMEM_MOVEABLE, size + spare_bytes));
    if (!copy || !copy_block(copy.get(), memory, size))
        return fail_without_handle(site::no_duplicate);
    return copy.release();
}

} // namespace
} // namespace q32::rows

HGLOBAL Q32_CALL mem32DuplicateHandle(HGLOBAL memory) {
    return q32::rows::duplicate(memory);
}
