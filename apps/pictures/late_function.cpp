// Loading of the system's libraries.
#include "late_function.h"

#include "exceptions.h"
#include "text.h"

#include <string>

namespace apps {

FARPROC late_address(const wchar_t *library, const char *function) {
    // By its whole path: a library of that name beside a picture is none of the system's.
    wchar_t path[MAX_PATH];
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    const HMODULE module = length == 0 || length >= MAX_PATH
                               ? nullptr
                               : LoadLibraryW((path + (L"\\" + std::wstring(library))).c_str());
    const FARPROC address = module == nullptr ? nullptr : GetProcAddress(module, function);
    if (address == nullptr)
        throw Failure(to_utf8(library), "the system has no " + std::string(function));
    return address;
}

} // namespace apps
