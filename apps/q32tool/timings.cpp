// The sums, and the lines that tell them.
#include "timings.h"

#include "apps/pictures/numbers.h"

#include <iterator>

namespace apps::q32tool {

std::string Timings::summary() const {
    return "reading: " + in_seconds(seconds_[0]) + "\n" + "library: " + in_seconds(seconds_[1]) +
           " (" + counted(buffers, "buffer") + " made, " + counted(rectangles, "rectangle") +
           " moved, " + counted(fills, "fill") + ", " + counted(rows_moved, "row") + " moved, " +
           counted(rows_converted, "row") + " converted)\n" +
           "writing: " + in_seconds(seconds_[2]) + "\n";
}

void Timings::add(const Timings &others) {
    for (size_t part = 0; part < std::size(seconds_); ++part)
        seconds_[part] += others.seconds_[part];
    buffers += others.buffers;
    rectangles += others.rectangles;
    fills += others.fills;
    rows_moved += others.rows_moved;
    rows_converted += others.rows_converted;
}

Timings &timings() {
    static Timings of_this_run;
    return of_this_run;
}

} // namespace apps::q32tool
