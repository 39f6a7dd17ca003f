// The sums, and the lines that tell them.
#include "timings.h"

#include "apps/pictures/numbers.h"

namespace apps::q32tool {

std::string Timings::summary() const {
    return "reading: " + in_seconds(seconds_[0]) + "\n" + "library: " + in_seconds(seconds_[1]) +
           " (" + counted(buffers, "buffer") + " made, " + counted(rectangles, "rectangle") +
           " moved, " + counted(fills, "fill") + ", " + counted(rows_moved, "row") + " moved, " +
           counted(rows_converted, "row") + " converted)\n" +
           "writing: " + in_seconds(seconds_[2]) + "\n";
}

Timings &timings() {
    static Timings of_this_run;
    return of_this_run;
}

} // namespace apps::q32tool
