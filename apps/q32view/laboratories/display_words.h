// What the displays of the laboratory show, in words.
#pragma once

#include "apps/pictures/areas.h"

#include <string>

namespace apps::q32view {

// The level as which a screen of 256 colours and more is given a level of 0 to 255; gamma in
// hundredths.
int level_given(int level, int gamma);

// Three lines: how is dithered, what the gamma does, and what part is enlarged.
std::string displays_in_words(int gamma, bool is_dithered, const Area &detail);

} // namespace apps::q32view
