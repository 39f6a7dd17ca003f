// The members, and how texts are quoted.
#include "json_object.h"

#include <cstdio>

namespace apps::q32tool {
namespace {

std::string json_text(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\')
            quoted += '\\';
        if (static_cast<unsigned char>(letter) >= ' ') {
            quoted += letter;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(letter));
        quoted += escape;
    }
    return quoted + "\"";
}

} // namespace

void JsonObject::add_value(std::string_view name, const std::string &value) {
    members_ += (members_.empty() ? "" : ", ") + json_text(name) + ": " + value;
}

void JsonObject::add(std::string_view name, std::string_view text) {
    add_value(name, json_text(text));
}

void JsonObject::add_decimal(std::string_view name, double number) {
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.10g", number);
    add_value(name, digits);
}

void JsonObject::add(std::string_view name, const JsonObject &object) {
    add_value(name, object.text());
}

} // namespace apps::q32tool
