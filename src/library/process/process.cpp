// The process-wide state behind process.h.
#include "library/process/process.h"

#include <q32comm.h>

namespace q32 {
namespace {

HMODULE module = nullptr;
bool support_mmx = false;

CRITICAL_SECTION library_lock;
bool library_lock_exists = false;

} // namespace

HMODULE module_handle() {
    return module;
}

void keep_module_handle(HMODULE own_module) {
    module = own_module;
}

bool mmx_available() {
    return support_mmx;
}

void ask_common_library_for_processor() {
    char name[64]; // for nobody here; the common library of the family expects both questions
    GetCPUName(name, int(sizeof name));
    support_mmx = IsSupportMMX() != 0;
}

InstructionSet detect_instruction_set() {
    char cap[16];
    const DWORD length = GetEnvironmentVariableA("Q32BASE_ISA", cap, sizeof cap);
    return best_instruction_set(length != 0 && length < sizeof cap ? cap : nullptr);
}

void create_library_lock() {
    InitializeCriticalSection(&library_lock);
    library_lock_exists = true;
}

void delete_library_lock() {
    if (!library_lock_exists)
        return;
    DeleteCriticalSection(&library_lock);
    library_lock_exists = false;
}

LibraryLock::LibraryLock() : entered_(enter(library_lock)) {}

} // namespace q32
