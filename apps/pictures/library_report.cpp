// Reading the library family's error channel.
#include "library_report.h"

#include <q32base/types.h>
#include <q32comm.h>

namespace apps {

std::string LibraryReport::numbers() const {
    return "(error " + std::to_string(message) + ", module " + std::to_string(module) + ", point " +
           std::to_string(point) + ")";
}

std::string LibraryReport::see_explanation() const {
    return "q32tool explain " + std::to_string(message) + " " + std::to_string(module) + " " +
           std::to_string(point) + " tells more";
}

LibraryReport last_report() {
    C32ERRINFO info = {};
    if (!c32GetDLLErrInfo(&info) || info.library != Q32_LIBRARY_NUMBER)
        return {};
    char text[C32_ERR_TEXT_SIZE] = {};
    if (info.text[0] == '\0')
        c32GetErrText(info.message, text, sizeof text);
    return {info.message, info.severity, info.module, info.point,
            info.text[0] != '\0' ? info.text : text};
}

Failure library_failure(const std::string &subject, const std::string &doing,
                        const std::string &remedy) {
    LibraryReport report = last_report();
    if (report.message == 0)
        return {subject, doing + ": the library gives no reason", remedy};
    while (report.text.ends_with('.'))
        report.text.pop_back();
    return {subject, doing + ": " + report.text + " " + report.numbers(),
            remedy.empty() ? report.see_explanation() : remedy};
}

} // namespace apps
