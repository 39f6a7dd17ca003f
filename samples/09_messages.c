/*
 * Messages between threads: workers compute rows, and the one thread that owns the image puts them
 * into it.
 *
 *     09_messages [OUTPUT.png]
 *
 * What to see: a Mandelbrot set in stripes, a colour for each of the four threads. A buffer may be
 * used by one thread at a time, so that the rows travel through the process's message queue, which
 * any threads may fill and empty at once.
 */
#include "common/picture.h"
#include "common/report.h"

#include <process.h>
#include <q32base.h>
#include <stdio.h>

enum { WIDTH = 384, HEIGHT = 256, WORKERS = 4, STRIPE = 8, OWNER = 9 };

typedef struct {
    int y;
    unsigned char pixels[WIDTH * 3];
} Row;

static HANDLE sent; /* counts messages: the queue does not wait for any */

/* Steps until z = z z + c leaves the circle of radius 2, in whole numbers of 1/4096. */
static int escape_time(int x, int y) {
    int zx = 0, zy = 0, steps = 0;
    while (steps < 63 && zx * zx + zy * zy < 4 * 4096 * 4096) {
        int next = (zx * zx - zy * zy) / 4096 + x;
        zy = 2 * zx * zy / 4096 + y;
        zx = next;
        ++steps;
    }
    return steps;
}

/* A worker: every fourth stripe of rows. */
static unsigned __stdcall work(void *number) {
    static const unsigned char tints[WORKERS][3] = {{4, 3, 1}, {1, 4, 2}, {1, 2, 4}, {4, 1, 3}};
    const unsigned char *tint = tints[(intptr_t)number];
    Row row;
    for (row.y = 0; row.y < HEIGHT; ++row.y) {
        if (row.y / STRIPE % WORKERS != (intptr_t)number)
            continue;
        for (int x = 0; x < WIDTH * 3; ++x) {
            int steps = escape_time((x / 3 - 256) * 32, (row.y - HEIGHT / 2) * 38);
            row.pixels[x] = (unsigned char)((63 - steps) * tint[x % 3]);
        }
        /* The queue takes a copy; when there is no memory for it, the rest is not computed. */
        if (!AddQueue(&row, sizeof row))
            break;
        ReleaseSemaphore(sent, 1, NULL);
    }
    return 0;
}

/* Takes rows out until all have come. A message comes with two zero bytes behind it. */
static int receive(HBUF32 image) {
    struct {
        Row row;
        char zeros[2];
    } message;
    for (int rows = 0; rows < HEIGHT; ++rows) {
        if (WaitForSingleObject(sent, 10000) != WAIT_OBJECT_0 ||
            GetFromQueue(&message, sizeof(Row)) != sizeof(Row))
            return report("a row", "did not come");
        if (!buf32MergeMem(image, 0, message.row.y, message.row.pixels, WIDTH, 1))
            return 0;
    }
    return 1;
}

int main(int argc, char **argv) {
    HANDLE workers[WORKERS];
    HBUF32 image = 0;
    int started = 0, done;
    sent = CreateSemaphore(NULL, 0, HEIGHT, NULL);
    done = sent && buf32Alloc(&image, 24, WIDTH, HEIGHT, BUF32_TILED, NULL) && CreateQueue(OWNER);
    while (done && started < WORKERS) {
        workers[started] =
            (HANDLE)_beginthreadex(NULL, 0, work, (void *)(intptr_t)started, 0, NULL);
        done = workers[started] != NULL || report("a thread", "cannot be started");
        started += done;
    }
    done = done && receive(image);
    while (started > 0) {
        WaitForSingleObject(workers[--started], INFINITE);
        CloseHandle(workers[started]);
    }
    done = done && printf("%d rows from %d threads\n", HEIGHT, WORKERS) > 0 &&
           picture_save(image, argc > 1 ? argv[1] : "09_messages.png");
    DeleteQueue(OWNER);
    CloseHandle(sent);
    buf32Free(image);
    return end_program("09_messages", done);
}
