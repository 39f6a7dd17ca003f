// A bar on the error stream for work that takes long, and the place where loops notice Ctrl-C.
#pragma once

#include "timings.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

namespace apps::q32tool {

enum class ShowProgress {
    never,
    on_console, // when the error stream is one, and the work takes longer than half a second
    always,
};

void set_progress(ShowProgress show);

// Whether progress is shown at all; and a line of it, over the one that stands there.
bool shows_progress();
void draw_progress(const std::string &line);

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

// Calls use(first, count) for so many rows of a picture at a time, from the top down, with
// progress. Throws Cancelled between them.
template <typename Use>
void band_by_band(std::string_view what, int rows, int band_rows, const Use &use) {
    Progress progress(what, rows);
    for (int first = 0; first < rows; first += band_rows) {
        const int count = std::min(band_rows, rows - first);
        use(first, count);
        progress.advance(count);
    }
}

// Calls use(y) for each row. Its time is the library's.
template <typename Use>
void row_by_row(std::string_view what, int rows, const Use &use) {
    band_by_band(what, rows, 1, [&](int y, int) {
        const Timed timed(Part::library);
        use(y);
    });
}

} // namespace apps::q32tool
