// What the buffer laboratory says, in words.
#pragma once

#include "buffer_experiment.h"

#include <string>

namespace apps::q32view {

// What a buffer is: "640x512x24".
std::string size_in_words(const SeenBuffer &buffer);
// Where it lives, and what is to be known of that: who shares it, a block, storage of its own.
std::string place_in_words(const SeenBuffer &buffer, const BufferModel &model);
std::string detail_in_words(const SeenBuffer &buffer, const BufferModel &model);
// Its locks: empty without.
std::string locks_in_words(const SeenBuffer &buffer);

// "done", or what the library, or the laboratory, says of a failure, with its numbers.
std::string outcome_in_words(const Outcome &outcome);
// The same in numbers: "5804, module 4, point 12".
std::string outcome_in_numbers(const Outcome &outcome);

// Three lines below the picture: the last step, how the rules compare, and who knows what.
std::string state_in_words(const BufferExperiment &experiment);

std::string with_groups(size_t number); // "2,949,120"

} // namespace apps::q32view
