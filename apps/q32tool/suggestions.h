// "Did you mean": the word that somebody may have wanted to write.
#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace apps::q32tool {

// The word that is nearest to what was written: in another case, with few letters wrong, missing,
// superfluous or exchanged with their neighbour, or the only one that has it inside. Empty: none is
// near.
std::string_view nearest_word(std::string_view written, std::span<const std::string_view> words);

// "; did you mean WORD?", or nothing.
std::string did_you_mean(std::string_view written, std::span<const std::string_view> words);

} // namespace apps::q32tool
