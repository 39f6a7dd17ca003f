// Functions of the system's libraries that few pictures need: a start does not wait for them.
#pragma once

#include <windows.h>

namespace apps {

// Loads the library, for good, when it is first asked for. Throws Failure when there is none such.
FARPROC late_address(const wchar_t *library, const char *function);

template <typename Function>
Function *late_function(const wchar_t *library, const char *function) {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(late_address(library, function)));
}

} // namespace apps
