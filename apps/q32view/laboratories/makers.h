// Who makes which laboratory, for the table in laboratories.cpp.
#pragma once

#include "laboratory.h"

namespace apps::q32view {

std::unique_ptr<Laboratory> make_merge_laboratory(std::string title);
std::unique_ptr<Laboratory> make_display_laboratory(std::string title);
std::unique_ptr<Laboratory> make_buffer_laboratory(std::string title);

} // namespace apps::q32view
