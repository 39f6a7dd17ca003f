// The process-wide state behind process.h.
#include "library/process/process.h"

#include <q32comm.h>

#include <array>

namespace q32 {
namespace {

HMODULE module = nullptr;
bool support_mmx = false;
std::array<char, 64> processor_name{};

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

const char *cpu_name() {
    return processor_name.data();
}

void ask_common_library_for_processor() {
    GetCPUName(processor_name.data(), int(processor_name.size()));
    processor_name.back() = '\0';
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
