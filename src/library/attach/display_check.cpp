// The display check at the start: a 16-colour device refuses the load.
#include "library/attach/attach.h"

#include "library/process/failure.h"
#include "library/process/process.h"

#include <q32comm.h>

#include <cstring>

namespace q32 {
namespace {

constexpr FailureSite sixteen_colours{4700, 0, 4, 0};
constexpr int title_text = 4701;

bool is_sixteen_colour_device() {
    const HDC dc = CreateICA("DISPLAY", nullptr, nullptr, nullptr);
    if (dc == nullptr)
        return false;
    const bool sixteen = GetDeviceCaps(dc, BITSPIXEL) == 4 && GetDeviceCaps(dc, PLANES) == 1;
    DeleteDC(dc);
    return sixteen;
}

// The library's file name without its path.
const char *own_file_name(char (&path)[MAX_PATH]) {
    const DWORD length = GetModuleFileNameA(module_handle(), path, sizeof path);
    path[length < sizeof path ? length : sizeof path - 1] = '\0';
    const char *separator = std::strrchr(path, '\\');
    return separator != nullptr ? separator + 1 : path;
}

void report_sixteen_colours() {
    // wsprintf writes at most 1024 characters: the format is bounded to half of that and the name
    // to a path's length.
    char format[512], title[128], path[MAX_PATH], text[1025];
    if (c32GetString(sixteen_colours.message, format, sizeof format) == 0)
        std::strcpy(format, "%s");
    if (c32GetString(title_text, title, sizeof title) == 0)
        title[0] = '\0';
    wsprintfA(text, format, own_file_name(path));
    fail_with_text(sixteen_colours, text);
    c32ShowMb(text, title);
}

} // namespace

bool display_is_usable() {
    if (!is_sixteen_colour_device())
        return true;
    report_sixteen_colours();
    return false;
}

} // namespace q32
