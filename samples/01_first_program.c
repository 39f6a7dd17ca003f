/*
 * The first program: makes an image buffer, writes its rows, reads a pixel back, saves a picture.
 *
 *     01_first_program [OUTPUT.png]
 *
 * What to see: red grows to the right, green downwards. The pixel that is read back is the one that
 * was written, since a buffer of 24 bits keeps every byte.
 */
#include "common/picture.h"
#include "common/report.h"

#include <q32base.h>
#include <stdio.h>

enum { WIDTH = 320, HEIGHT = 200 };

static int draw(HBUF32 image) {
    unsigned char row[WIDTH * 3];
    int done = 1;
    /* Rows can be read and written while the buffer is locked. */
    if (!buf32Lock(image, BUF32_WRITE, NULL))
        return 0;
    for (int y = 0; done && y < HEIGHT; ++y) {
        for (int x = 0; x < WIDTH; ++x) {
            row[x * 3] = (unsigned char)(x * 255 / (WIDTH - 1));
            row[x * 3 + 1] = (unsigned char)(y * 255 / (HEIGHT - 1));
            row[x * 3 + 2] = 128;
        }
        done = buf32Line(image, y, BUF32_LINE_WRITE, row);
    }
    return buf32Unlock(image) && done;
}

/* Rectangles need no lock. */
static int print_pixel(HBUF32 image, int x, int y) {
    unsigned char pixel[3];
    if (!buf32GetMem(image, x, y, 1, 1, pixel))
        return 0;
    printf("pixel (%d, %d): red %d, green %d, blue %d\n", x, y, pixel[0], pixel[1], pixel[2]);
    return 1;
}

int main(int argc, char **argv) {
    HBUF32 image = 0;
    int done = buf32Alloc(&image, 24, WIDTH, HEIGHT, BUF32_TILED, NULL) && draw(image) &&
               print_pixel(image, 200, 150) &&
               picture_save(image, argc > 1 ? argv[1] : "01_first_program.png");
    buf32Free(image);
    return end_program("01_first_program", done);
}
