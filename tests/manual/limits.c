/* Measures what the manual's page of limits tells of one process: what it can map and hold, in
 * memory and in swap files. Run by hand; the 32-bit edition once with and once without large
 * addresses. */
#include <q32base.h>
#include <q32comm.h>

#include <stdio.h>

enum { side = Q32_MAX_SIDE, row_bytes = side * 8, most = 100000 };

static HBUF32 made[most];

static HBUF32 make(uint32_t type, int width, int height, int bits, const void *extra) {
    HBUF32 buffer = 0;
    c32ClearDLLErrInfo();
    return buf32Alloc(&buffer, bits, width, height, type, extra) ? buffer : 0;
}

static void print_report(void) {
    C32ERRINFO info;
    if (c32GetDLLErrInfo(&info))
        printf(", then %d %d %d %d\n", info.message, info.severity, info.module, info.point);
    else
        printf("\n");
}

static void print_largest(const char *what, uint32_t type) {
    int fits = 0, too_many = side + 1;
    while (too_many - fits > 1) {
        const int rows = (fits + too_many) / 2;
        const HBUF32 buffer = make(type, side, rows, 64, NULL);
        *(buffer != 0 ? &fits : &too_many) = rows;
        buf32Free(buffer);
    }
    printf("%s: one of %.0f MiB", what, fits * (double)row_bytes / 1048576);
    if (fits < side)
        make(type, side, fits + 1, 64, NULL);
    print_report();
}

/* At most so many; what is in them is never touched. */
static void print_count(const char *what, uint32_t type, int width, int height, int bits,
                        const void *extra, int limit) {
    int count = 0;
    while (count < limit && (made[count] = make(type, width, height, bits, extra)) != 0)
        ++count;
    printf("%s of %d x %d x %d bits: %d%s", what, width, height, bits, count,
           count == limit ? ", more not tried" : "");
    print_report();
    for (int i = 0; i < count; ++i) /* in the order of the library's list, which is walked */
        buf32Free(made[i]);
    fflush(stdout);
}

static void print_runs(int limit) {
    static HDISPRUN runs[most];
    const HDC screen = GetDC(NULL);
    for (int depth = 24; depth >= 1; depth -= 23) {
        int count = 0;
        while (count < limit &&
               disp32ShowInit(&runs[count], screen, depth, 0, 0, 640, 480, NULL, 0, 0))
            ++count;
        printf("display runs of 640 x 480 x %d bits: %d%s\n", depth, count,
               count == limit ? ", more not tried" : "");
        while (count > 0)
            disp32ShowEnd(runs[--count]);
    }
    ReleaseDC(NULL, screen);
}

int main(void) {
    const int is_32_bit = sizeof(void *) == 4;
    const uint8_t colour[3] = {1, 2, 3};
    MEMORYSTATUS status = {.dwLength = sizeof status};
    GlobalMemoryStatus(&status);
    printf("%d bits, %.0f MiB of addresses\n", is_32_bit ? 32 : 64,
           (double)status.dwTotalVirtual / 1048576);
    print_largest("memory", BUF32_LINEAR_MEMORY);
    print_largest("swap file", BUF32_TILED_FILE);
    /* 64 bits would take all that the machine has. */
    print_count("memory", BUF32_LINEAR_MEMORY, 4096, 2048, 32, NULL, is_32_bit ? most : 64);
    print_count("swap files", BUF32_TILED_FILE, 4096, 2048, 32, NULL, is_32_bit ? most : 64);
    print_count("memory", BUF32_TILED, 1, 1, 8, NULL, is_32_bit ? most : 20000);
    print_count("one colour", BUF32_ONE_COLOUR, 1000, 1000, 24, colour, most);
    print_count("swap files", BUF32_TILED_FILE, 129, 1, 8, NULL, 5000);
    print_runs(12000);
    return 0;
}
