// Reads and writes the settings file through the system's private profiles.
#include "library/process/settings_file.h"

#include <q32comm.h>

#include <cstring>

namespace q32 {
namespace {

constexpr int file_name_text = 10000;

} // namespace

SettingName setting_name(int text_id) {
    SettingName name;
    c32GetString(text_id, name.text, int(sizeof name.text));
    name.text[sizeof name.text - 1] = '\0';
    return name;
}

SettingName SettingName::with_digit(int position, int digit) const {
    SettingName name = *this;
    name.text[position] = char('0' + digit);
    name.text[position + 1] = '\0';
    return name;
}

SettingsFile::SettingsFile() {
    // Without a directory the system takes the name for one in the Windows directory anyway.
    const UINT length = GetWindowsDirectoryA(path_, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        path_[0] = '\0';
    else if (path_[length - 1] != '\\')
        std::strcat(path_, "\\");
    const std::size_t directory_length = std::strlen(path_);
    c32GetString(file_name_text, path_ + directory_length, int(sizeof path_ - directory_length));
    path_[sizeof path_ - 1] = '\0';
}

int SettingsFile::integer(const SettingName &section, const SettingName &key,
                          int default_value) const {
    return int(GetPrivateProfileIntA(section.text, key.text, default_value, path_));
}

void SettingsFile::text(const SettingName &section, const SettingName &key, char *value,
                        int size) const {
    value[0] = '\0';
    GetPrivateProfileStringA(section.text, key.text, "", value, DWORD(size), path_);
}

void SettingsFile::write(const SettingName &section, const SettingName &key,
                         const char *value) const {
    WritePrivateProfileStringA(section.text, key.text, value, path_);
}

} // namespace q32
