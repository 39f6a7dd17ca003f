// Files by the names that users give them: what they are, opening them, and the words for what
// fails.
#pragma once

#include "exceptions.h"
#include "owned.h"

#include <windows.h>

#include <string>
#include <string_view>

namespace apps {

// The Windows path of an absolute Unix path, which shells under Wine hand over; other names stay as
// they are.
std::string native_path(const std::string &path);

// Where a path's last part begins.
size_t file_name_begin(std::string_view path);

// Throws Failure for a path whose last part stands for a device of the system, as "out/nul.png"
// does.
void check_is_no_device(const std::string &path);

// INVALID_FILE_ATTRIBUTES when there is no such file or folder.
DWORD attributes_of(const std::string &path);
bool is_folder(const std::string &path);

// Null when it cannot be opened: see GetLastError. access: GENERIC_READ ...
using OpenFile = Owned<CloseHandle, HANDLE>;
OpenFile open_file(const std::wstring &native, DWORD access, DWORD creation);

// path: as the user gave it, for messages. Throws Failure for what is no file, or an empty one.
void check_is_readable_file(const std::string &path, const std::wstring &native);

// Why a file that is to be written cannot be created, written, or given its name; error: of
// GetLastError.
Failure creation_failure(const std::string &path, DWORD error);
Failure writing_failure(const std::string &path, DWORD error);
Failure replacing_failure(const std::string &path, DWORD error);

} // namespace apps
