/*
 * Progress and cancel: watches a picture being scaled, and stops when the user wants it to.
 *
 *     05_progress [OUTPUT.png [PICTURE]]
 *
 * What to see: the picture twice, enlarged cell by cell. The left one is done; the right one was
 * stopped at 50 percent, as it is when the Esc key is pressed, and keeps the cells that were
 * finished. The strip below has a mark for each message that came.
 */
#include "common/picture.h"
#include "common/report.h"

#include <q32base.h>
#include <q32comm.h>
#include <stdio.h>

enum { WIDTH = 480, HEIGHT = 320, STRIP = 16 };

typedef struct {
    HBUF32 sheet;
    int left;    /* of this picture in the sheet */
    int stop_at; /* percent */
} Watch;

/* Called on this thread, between cells. Returns 0 to stop. */
static int __stdcall watch(int message, int value, int zero, uintptr_t user_data) {
    const Watch *watch = (const Watch *)user_data;
    (void)zero;
    if (message == RESAMPLE_PROGRESS)
        picture_fill(watch->sheet, watch->left + value * WIDTH / 100, HEIGHT, 4, STRIP,
                     RGB(70, 150, 70));
    return value < watch->stop_at && !q32IsEscPressed();
}

/* Whether the last call stopped because it was told to. */
static int is_cancelled(void) {
    C32ERRINFO info;
    return c32GetDLLErrInfo(&info) && (info.message == Q32_MSG_CANCELLED_BY_ESC ||
                                       info.message == Q32_MSG_CANCELLED_BY_CALLBACK);
}

/* A buffer of its own lets a stopped picture keep what was finished. */
static int scale(HBUF32 picture, HBUF32 sheet, int left, int stop_at) {
    const SIZE size = {WIDTH, HEIGHT};
    Watch watched = {sheet, left, stop_at};
    RESAMPLEPROGRESS progress = {0, watch, (uintptr_t)&watched, 0, 100};
    HBUF32 scaled = 0;
    int done = buf32Alloc(&scaled, 24, WIDTH, HEIGHT, BUF32_TILED, NULL) &&
               picture_fill(scaled, 0, 0, WIDTH, HEIGHT, RGB(200, 200, 200));
    q32IsEscPressed(); /* what was pressed before now is not meant */
    if (done && q32BufferResampleEx(&size, picture, &scaled, &progress, 0, RESAMPLE_BICUBIC))
        printf("done\n");
    else if (done && is_cancelled())
        printf("cancelled\n");
    else
        done = 0;
    done = done && buf32MergeBuf(scaled, 0, 0, WIDTH, HEIGHT, sheet, left, 0);
    buf32Free(scaled);
    return done;
}

int main(int argc, char **argv) {
    HBUF32 picture = 0, sheet = 0;
    int done = picture_load(&picture, argc > 2 ? argv[2] : NULL) &&
               buf32Alloc(&sheet, 24, 2 * WIDTH + STRIP, HEIGHT + STRIP, BUF32_TILED, NULL) &&
               picture_fill(sheet, 0, 0, 2 * WIDTH + STRIP, HEIGHT + STRIP, RGB(245, 245, 240)) &&
               scale(picture, sheet, 0, 101) && scale(picture, sheet, WIDTH + STRIP, 50) &&
               picture_save(sheet, argc > 1 ? argv[1] : "05_progress.png");
    buf32Free(sheet);
    buf32Free(picture);
    return end_program("05_progress", done);
}
