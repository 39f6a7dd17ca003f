// Files by the names that users give them: whether one can be read, and the words for what fails.
#pragma once

#include "exceptions.h"

#include <windows.h>

#include <string>

namespace apps {

// The Windows path of an absolute Unix path, which shells under Wine hand over; other names stay as
// they are.
std::string native_path(const std::string &path);

// path: as the user gave it, for messages. Throws Failure for what is no file, or an empty one.
void check_is_readable_file(const std::string &path, const std::wstring &native);

// Why a file that is to be written cannot be created, written, or given its name; error: of
// GetLastError.
Failure creation_failure(const std::string &path, DWORD error);
Failure writing_failure(const std::string &path, DWORD error);
Failure replacing_failure(const std::string &path, DWORD error);

} // namespace apps
