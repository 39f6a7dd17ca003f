// A place of the process's own for every file that the library makes: swap files, record files,
// settings. Two test programs that run at once in one Wine prefix never meet.
#pragma once

#include <string>
#include <vector>

namespace q32::frame {

// The folder, with a separator at its end. Made on first use; from then on the system's temporary
// path (GetTempPathA) is `swap` in it and the family's temporary directory `family`. Removed with
// all that is in it when the process ends.
const std::string &sandbox();
std::string sandbox_swap();
std::string sandbox_family();

// Makes a folder in the sandbox and gives its full name, with a separator at its end.
std::string make_folder(const std::string &name);

bool file_exists(const std::string &path);
std::vector<unsigned char> read_file(const std::string &path);
void write_file(const std::string &path, const std::vector<unsigned char> &bytes);
// Full names of all files below a folder, sorted.
std::vector<std::string> files_below(const std::string &folder);
// Deletes every file in the sandbox and the settings file.
void empty_sandbox();

// The settings file: full name, and one entry as GetPrivateProfileStringA gives it ("" when
// absent).
std::string settings_file();
void write_setting(const std::string &section, const std::string &key, const std::string &value);
std::string read_setting(const std::string &section, const std::string &key);
// Keys of the settings with a digit: the name cut at its position, and the digit.
std::string path_key(int n);   // n = 1, 2, 3: text 10001, position 10
std::string switch_key(int n); // n = 1, 2, 3: text 10003, position 6

} // namespace q32::frame
