// A display run: rows come in, strips go out, and the place moves on.
#pragma once

#include "display/colour_management.h"
#include "display/runs/path_table.h"

namespace q32::display {

// What a handle is the address of. Made with open_run.
class DisplayRun {
public:
    DisplayRun(const Opening &opening, const Path &path);
    DisplayRun(const DisplayRun &) = delete;
    DisplayRun &operator=(const DisplayRun &) = delete;

    // Takes what the path needs. False when something cannot be had.
    bool set_up();

    // False when a full strip could not be drawn. It stays, and the next row tries again.
    bool take_rows(const Picture &picture, int first_row, int rows);

    // Draws what is held, if anything is.
    bool draw_held();

    // Until the run has given back all else.
    void manage_colours() { managed_ = display::manage_colours(opening_.dc); }

    // False when it is neither 1, top down, nor -1, bottom up.
    bool set_direction(int direction);
    void set_strip_rows(int rows);

private:
    bool is_top_down() const { return direction_ == 1; }
    Strip::Fill fill() const;
    Band band() const;
    void show(const Picture &picture, std::int64_t row, ConvertRow *convert);

    const Opening opening_;
    ManagedContext managed_; // goes after what follows
    const Path &path_;
    const ScreenTables &tables_;
    DitherCursor cursor_;
    int direction_ = 1;
    int top_, bottom_;             // of what is not drawn yet
    std::uint32_t rows_to_accept_; // from the program
    Strip strip_;
    SourceRows source_;
    Means means_;
};

// As blocks of memory are.
static_assert(alignof(DisplayRun) <= 8);

struct DisplayRunTraits {
    using Value = DisplayRun *;
    static Value none() { return nullptr; }
    static void release(DisplayRun *run) {
        run->~DisplayRun();
        GlobalFree(run);
    }
};
using OwnedRun = Owner<DisplayRunTraits>;

// None for depths that there are not, and when something cannot be had.
OwnedRun open_run(const Opening &opening);

} // namespace q32::display
