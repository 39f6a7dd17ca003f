// The dispatch queue in a message loop: long work in steps, done while no message waits.
//
//     08_dispatch_queue [OUTPUT.png]
//
// What to see: three areas that were painted tile by tile, from blue (first) to red (last). The
// left one and the lower one were asked for at the start. While the left one was being painted a
// message came and asked for the upper one, which went before the one that was waiting. The strip
// below has a cell for each step, in the colour of its area, and a white mark where the message was
// handled.
#include "common/picture.h"
#include "common/report.h"

#include <q32base.h>

#include <cstdint>
#include <cstdio>

namespace {

// Owners of jobs, the numbers by which the queue knows its clients.
enum Area : std::uint32_t { left_area = 1, lower_area, upper_area };

constexpr int tile = 32, steps = 96, cell = 4, strip_top = 280, strip_height = 16;
constexpr UINT show_upper_area = WM_APP;
constexpr COLORREF strip_colours[] = {0, RGB(70, 150, 70), RGB(60, 110, 190), RGB(220, 130, 40)};

struct Painting {
    HBUF32 image = 0;
    int steps_done = 0;
    bool failed = false;
};

// One step: a tile of the image and a cell of the strip. Returning 0 ends the job.
int Q32_CALL paint(int message, std::uint32_t owner, std::intptr_t parameter, std::intptr_t data) {
    Painting &painting = *reinterpret_cast<Painting *>(data);
    if (message != D32_STEP || painting.failed)
        return !painting.failed;
    const RECT &area = *reinterpret_cast<const RECT *>(parameter);
    const int level = painting.steps_done * 255 / (steps - 1);
    painting.failed = !picture_fill(painting.image, area.left, area.top, tile - 2, tile - 2,
                                    RGB(level, 80, 255 - level)) ||
                      !picture_fill(painting.image, painting.steps_done * cell, strip_top, cell - 1,
                                    strip_height, strip_colours[owner]);
    // Here a user would click. The message waits until the message loop has its next turn.
    if (++painting.steps_done == 12)
        PostThreadMessage(GetCurrentThreadId(), show_upper_area, 0, 0);
    return !painting.failed;
}

bool add_job(Area owner, RECT area, Painting &painting) {
    DispatchDesc job = {};
    job.callback = paint;
    job.user_data = reinterpret_cast<std::intptr_t>(&painting);
    job.first = job.last = tile;
    return d32AddQueue(owner, &area, 0, 0, 0, D32_TILES, &job);
}

bool handle(const MSG &message, Painting &painting) {
    if (message.message != show_upper_area) {
        DispatchMessage(&message);
        return true;
    }
    std::printf("a message after %d steps\n", painting.steps_done);
    d32SetFirstService(upper_area); // before others that wait
    return picture_fill(painting.image, painting.steps_done * cell - 1, strip_top - 4, 2,
                        strip_height + 8, RGB(255, 255, 255)) &&
           add_job(upper_area, {208, 0, 400, 128}, painting);
}

// Messages first, then a step; with nothing to do either way the thread would sleep in WaitMessage.
// This program ends instead.
bool run(Painting &painting) {
    for (;;) {
        MSG message;
        while (PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
            if (message.message == WM_QUIT || !handle(message, painting))
                return false;
        if (!d32DispatchQueue())
            return !painting.failed;
    }
}

} // namespace

int main(int argc, char **argv) {
    Painting painting;
    const bool done = buf32Alloc(&painting.image, 24, 400, strip_top + 24, BUF32_TILED, nullptr) &&
                      picture_fill(painting.image, 0, 0, 400, strip_top + 24, RGB(60, 60, 60)) &&
                      add_job(left_area, {0, 0, 192, 256}, painting) &&
                      add_job(lower_area, {208, 136, 400, 264}, painting) && run(painting) &&
                      std::printf("%d steps\n", painting.steps_done) > 0 &&
                      picture_save(painting.image, argc > 1 ? argv[1] : "08_dispatch_queue.png");
    buf32Free(painting.image);
    return end_program("08_dispatch_queue", done);
}
