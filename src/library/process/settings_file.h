// The settings file in the Windows directory. Its name, sections and keys are texts of the common
// library; this library knows their numbers only. Which settings there are is their readers'
// affair.
#pragma once

#include <windows.h>

namespace q32 {

// The name of a section or key: up to 31 characters.
struct SettingName {
    char text[32] = {};

    // The name with a digit written at a position, where it ends. A name that is shorter ends where
    // it ended, without the digit.
    SettingName with_digit(int position, int digit) const;
};

// The common library's text of this number; empty when it has none.
SettingName setting_name(int text_id);

class SettingsFile {
public:
    SettingsFile();

    // The value of a key, or its default where there is none.
    int integer(const SettingName &section, const SettingName &key, int default_value) const;

    // The text of a key, empty where there is none; always terminated.
    void text(const SettingName &section, const SettingName &key, char *value, int size) const;

    void write(const SettingName &section, const SettingName &key, const char *value) const;

private:
    char path_[2 * MAX_PATH] = {};
};

} // namespace q32
