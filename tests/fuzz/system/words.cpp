// The programs' words for what the system says, and their texts, of which all are plain here.
#include "apps/pictures/text.h"
#include "apps/pictures/wic.h"

namespace apps {

std::string system_words(DWORD error) {
    return "error " + std::to_string(error);
}

std::wstring to_wide(std::string_view utf8) {
    return {utf8.begin(), utf8.end()};
}

std::string to_utf8(std::wstring_view wide) {
    return {wide.begin(), wide.end()};
}

} // namespace apps
