/*
 * Swap files with limits: how much memory images may take, how much disk, and what happens then.
 *
 *     04_swap_files [OUTPUT.png]
 *
 * What to see: images of 6 MB are made until one is refused. The first three fit into the 20 MB of
 * memory that are allowed (green), the next five go to swap files of 32 MB at most (blue), and the
 * one after that fails with a report that says so (red). To the program they are all the same.
 */
#include "common/picture.h"
#include "common/report.h"

#include <q32base.h>
#include <q32comm.h>
#include <stdio.h>

enum { SIDE = 1448, MOST = 16, CELL = 32, MEGABYTE = 1024 * 1024 };

/* For this process. What is so at its start says the settings file in the Windows directory. */
static int set_limits(void) {
    size_t memory_limit = 20 * MEGABYTE, file_limit = 32 * MEGABYTE;
    uint32_t on = 1;
    return buf32VMData(1, &memory_limit, &file_limit, NULL, &on, &on);
}

static int show(HBUF32 chart, int number, const char *where, COLORREF colour) {
    printf("image %d: %s\n", number, where);
    return picture_fill(chart, (number - 1) * CELL + 2, 2, CELL - 4, CELL - 4, colour);
}

/* A refused image is what this program is about; any other failure is one. */
static int show_refusal(HBUF32 chart, int number) {
    C32ERRINFO info;
    char text[C32_ERR_TEXT_SIZE];
    if (!c32GetDLLErrInfo(&info) || info.message != Q32_MSG_NO_MEMORY)
        return 0;
    c32GetErrText(info.message, text, sizeof text);
    return show(chart, number, text, RGB(200, 60, 50));
}

/* Makes images until one is refused; returns how many there are, 0 after a failure. */
static int make_images(HBUF32 *images, HBUF32 chart) {
    size_t before, after;
    int count = 0;
    buf32GetVMDataExt(NULL, &before);
    while (count < MOST && buf32Alloc(&images[count], 24, SIDE, SIDE, BUF32_TILED, NULL)) {
        ++count;
        buf32GetVMDataExt(NULL, &after);
        if (!(after == before ? show(chart, count, "in memory", RGB(70, 150, 70))
                              : show(chart, count, "in a swap file", RGB(60, 110, 190))))
            return 0;
        before = after;
    }
    return show_refusal(chart, count + 1) ? count : 0;
}

int main(int argc, char **argv) {
    HBUF32 chart = 0, images[MOST] = {0};
    int done = buf32Alloc(&chart, 24, 9 * CELL, CELL, BUF32_TILED, NULL) &&
               picture_fill(chart, 0, 0, 9 * CELL, CELL, RGB(245, 245, 240)) && set_limits() &&
               make_images(images, chart) &&
               picture_save(chart, argc > 1 ? argv[1] : "04_swap_files.png");
    for (int i = 0; i < MOST; ++i) /* swap files are deleted with their buffers */
        buf32Free(images[i]);
    buf32Free(chart);
    return end_program("04_swap_files", done);
}
