// What a test is doing, for the message of a crash. Programs that use it say the seed of their
// random cases when they begin.
#pragma once

#include <functional>
#include <string>

namespace q32::test {

// For as long as it lives, a crash says what this gives. One at a time.
class Running {
public:
    explicit Running(std::function<std::string()> what);
    ~Running();
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;
};

} // namespace q32::test
