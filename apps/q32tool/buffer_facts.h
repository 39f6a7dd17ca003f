// What is told of a buffer: lines of "key: value", or members of a JSON object.
#pragma once

#include "json_object.h"

#include <q32base/buffers.h>

#include <string>

namespace apps::q32tool {

std::string fact(const std::string &key, const std::string &value);

// Its pixels, type and cells.
std::string buffer_facts(const BUF32INFO &info);
void add_buffer_facts(JsonObject &json, const BUF32INFO &info);

} // namespace apps::q32tool
