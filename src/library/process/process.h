// What the whole process shares: the module's handle, the processor, the library lock. Set once by
// the attach sequence and read-only afterwards.
#pragma once

#include "library/process/cpu.h"
#include "library/process/owners.h"

namespace q32 {

// The library's own module, as the system loaded it.
HMODULE module_handle();
void keep_module_handle(HMODULE module);

// For mmx_available.
void ask_common_library_for_processor();

// The instruction set that kernels may use: the processor's best, capped by Q32BASE_ISA.
InstructionSet detect_instruction_set();

// The one lock of the library: serialises resampling and guards the dispatch queue.
void create_library_lock();
void delete_library_lock();

class LibraryLock {
public:
    LibraryLock();

private:
    EnteredSection entered_;
};

} // namespace q32
