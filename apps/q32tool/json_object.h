// A JSON object (RFC 8259), written member by member.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace apps::q32tool {

class JsonObject {
public:
    void add(std::string_view name, std::string_view text); // UTF-8
    void add(std::string_view name, uint64_t number) { add_value(name, std::to_string(number)); }
    void add_decimal(std::string_view name, double number); // finite
    void add(std::string_view name, const JsonObject &object);

    // In one line, without its end.
    std::string text() const { return "{" + members_ + "}"; }

private:
    void add_value(std::string_view name, const std::string &value);

    std::string members_;
};

} // namespace apps::q32tool
