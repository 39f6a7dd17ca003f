// How the program's work ends early: exceptions that carry one finished line for the user.
// Who prints the line and with which exit code the program ends is main.cpp's business.
#pragma once

#include <stdexcept>
#include <string>

namespace apps {

enum ExitCode { exit_success = 0, exit_failure = 1, exit_usage = 2, exit_cancelled = 130 };

// The work could not be done: "SUBJECT: what was wrong; what to do".
class Failure : public std::runtime_error {
public:
    Failure(const std::string &subject, const std::string &problem, const std::string &remedy = {})
        : std::runtime_error(subject + ": " + problem + (remedy.empty() ? "" : "; " + remedy)) {}
};

// The command line cannot be understood.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The user asked to stop.
class Cancelled : public std::runtime_error {
public:
    explicit Cancelled(const std::string &what_is_left = "nothing was written")
        : std::runtime_error("cancelled; " + what_is_left) {}
};

} // namespace apps
