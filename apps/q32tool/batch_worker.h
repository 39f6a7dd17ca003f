// A process that works on one picture of a batch after another: the hidden command that it runs,
// and what it is told and answers.
#pragma once

#include "arguments.h"
#include "message_pipe.h"

#include <string>
#include <string_view>
#include <vector>

namespace apps::q32tool {

// Reads requests from standard input and writes answers to standard output, until the input ends.
// When it ends while a picture is worked on, nobody wants the picture any more. Its operand: with
// how many others it shares the memory.
extern const Command batch_worker_command;

struct Request {
    bool resume = false; // the picture is passed over when it is done already
    bool quiet = false;  // nothing is told of what could not be kept
    std::string input;
    std::string output; // empty: none is written
    std::string command;
    std::vector<std::string> words; // of its command line

    Message message() const;
    explicit Request(const Message &message);
    Request() = default;
};

enum class Outcome { done, was_done, failed, cancelled };

struct Answer {
    Outcome outcome = Outcome::failed;
    std::string printed; // on standard output
    std::string errors;
    std::string timings; // the bytes of a Timings

    Message message() const;
    explicit Answer(const Message &message);
    Answer() = default;
};

// The files that a command writes for an output.
std::vector<std::string> files_written(const Command &command, const std::string &output);

} // namespace apps::q32tool
