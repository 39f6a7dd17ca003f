// A bar on the error stream for work that takes long, and the place where loops notice Ctrl-C.
#pragma once

#include <chrono>
#include <string_view>

namespace apps::q32tool {

enum class ShowProgress {
    never,
    on_console, // when the error stream is one, and the work takes longer than half a second
    always,
};

void set_progress(ShowProgress show);

// Takes the bar off the error stream, for a line that is to stand alone.
void clear_progress();

class Progress {
public:
    Progress(std::string_view what, int steps);
    ~Progress(); // wipes the bar
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // Counts steps as done. Throws Cancelled when the user has asked to stop.
    void advance(int steps);

    // So many steps are done. False when the user has asked to stop: for callbacks out of the
    // library, which must not throw.
    bool reach(int done);

private:
    using Clock = std::chrono::steady_clock;
    void draw();

    std::string_view what_;
    int done_ = 0;
    int steps_;
    Clock::time_point next_draw_;
};

} // namespace apps::q32tool
