/*
 * Copy on write: duplicates share their source's pixels until one of them is written.
 *
 *     03_copy_on_write [OUTPUT.png]
 *
 * What to see: a chart of the memory in use, a column for each step. Making the image takes 6 MB,
 * five duplicates of it take nothing, and each duplicate that is written takes 6 MB of its own;
 * what is freed comes back. A duplicate takes microseconds, whatever the size.
 */
#include "common/picture.h"
#include "common/report.h"

#include <q32base.h>
#include <stdio.h>

enum { SIDE = 1448, DUPLICATES = 5, STEPS = 1 + 2 * DUPLICATES + 2, COLUMN = 24, MEGABYTE = 8 };

static const COLORREF alone = RGB(90, 90, 90), shared = RGB(70, 150, 70), own = RGB(220, 130, 40);

/* The next column of the chart: 8 rows for each megabyte in use, in the colour of what was done. */
static int show_memory(HBUF32 chart, const char *what, COLORREF colour) {
    static int column = 0;
    size_t in_use, bar;
    int width, height;
    buf32GetVMDataExt(&in_use, NULL);
    in_use /= 1024 * 1024;
    printf("%-28s %3d MB\n", what, (int)in_use);
    buf32GetWHU(chart, &width, &height, NULL);
    bar = in_use * MEGABYTE + 2; /* nothing is a line */
    return picture_fill(chart, 4 + column++ * COLUMN, height - (int)bar, COLUMN - 4, (int)bar,
                        colour);
}

static int write_a_pixel(HBUF32 image) {
    static const unsigned char red[3] = {255, 0, 0};
    return buf32MergeMem(image, SIDE / 2, SIDE / 2, red, 1, 1);
}

int main(int argc, char **argv) {
    HBUF32 chart = 0, image = 0, duplicates[DUPLICATES] = {0};
    int done = buf32Alloc(&chart, 24, 4 + STEPS * COLUMN, 41 * MEGABYTE, BUF32_TILED, NULL) &&
               picture_fill(chart, 0, 0, 4 + STEPS * COLUMN, 41 * MEGABYTE, RGB(245, 245, 240)) &&
               buf32Alloc(&image, 24, SIDE, SIDE, BUF32_TILED, NULL) &&
               show_memory(chart, "the image is made", alone);
    for (int i = 0; done && i < DUPLICATES; ++i)
        done =
            buf32DupBuf(image, &duplicates[i]) && show_memory(chart, "a duplicate is made", shared);
    for (int i = 0; done && i < DUPLICATES; ++i)
        done = write_a_pixel(duplicates[i]) && show_memory(chart, "a duplicate is written", own);
    for (int i = 0; i < DUPLICATES; ++i)
        buf32Free(duplicates[i]);
    done = done && show_memory(chart, "the duplicates are freed", alone);
    buf32Free(image);
    done = done && show_memory(chart, "the image is freed", alone) &&
           picture_save(chart, argc > 1 ? argv[1] : "03_copy_on_write.png");
    buf32Free(chart);
    return end_program("03_copy_on_write", done);
}
