// Whole files: whether one can be read, reading it, replacing it; and the words for what fails.
#pragma once

#include "failure.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace q32tool {

// path: as the user gave it, for messages. Throws Failure for what is no file, or an empty one.
void check_is_readable_file(const std::string &path, const std::wstring &native);

// Throws Failure, also for a file of 2 GB or more.
std::vector<uint8_t> read_file(const std::string &path);

// The file appears, or replaces an older one, when all of it is written. Throws Failure, Cancelled;
// no file is left then.
void write_file(const std::string &path, const std::vector<uint8_t> &bytes);

// Why a file that is to be written cannot be created, written, or given its name; error: of
// GetLastError.
Failure creation_failure(const std::string &path, DWORD error);
Failure writing_failure(const std::string &path, DWORD error);
Failure replacing_failure(const std::string &path, DWORD error);

} // namespace q32tool
