// The same loops over the C functions (c_NAME) and over q32base.hpp (cpp_NAME), of which the
// compiler has to make the same instructions. Compiled and compared by same_code.py; never run.
#include <q32base.hpp>

// What a program in C does about a failure, once it has made sure of its report as q32base.hpp
// does.
[[noreturn]] __attribute__((cold, noinline)) void give_up(const char *function);

#define Q32_TRY(function, ...)                                                                     \
    if (__builtin_expect(!function(__VA_ARGS__), 0))                                               \
    give_up(#function)
#define Q32_TRY_AGAIN(function, ...)                                                               \
    if (__builtin_expect(!function(__VA_ARGS__), 0))                                               \
        if (!q32::detail::again(function, __VA_ARGS__))                                            \
    give_up(#function)

extern "C" {

// --- rows of a locked buffer -----------------------------------------------------------------

unsigned c_read_rows(HBUF32 image, int rows, unsigned char *row, unsigned) {
    unsigned sum = 0;
    void *base = nullptr;
    Q32_TRY_AGAIN(buf32Lock, image, BUF32_READ, &base);
    int y = 0;
    do {
        Q32_TRY_AGAIN(buf32Line, image, y, BUF32_LINE_READ, row);
        sum += row[0];
    } while (++y < rows);
    buf32Unlock(image);
    return sum;
}

unsigned cpp_read_rows(q32::BufferRef image, int rows, unsigned char *row, unsigned bytes) {
    unsigned sum = 0;
    const q32::Lock lock = image.lock(BUF32_READ);
    int y = 0;
    do {
        lock.line(y, BUF32_LINE_READ, {row, bytes});
        sum += row[0];
    } while (++y < rows);
    return sum;
}

// --- cells ------------------------------------------------------------------------------------

struct LockedCell {
    HBUF32 buffer;
    void *address;
    BUF32CELL cell;
};

void c_invert_cells(HBUF32 image, int cells) {
    for (int index = 0; index < cells; ++index) {
        LockedCell locked;
        locked.buffer = 0;
        locked.address = nullptr;
        Q32_TRY_AGAIN(buf32CellLock, image, index, &locked.address, &locked.cell);
        locked.buffer = image;
        mem32ByteInvert(locked.address, locked.address, static_cast<int>(locked.cell.bytes));
        if (locked.buffer != 0)
            buf32CellUnlock(locked.buffer, locked.cell.index);
    }
}

void cpp_invert_cells(q32::BufferRef image, int cells) {
    for (int index = 0; index < cells; ++index) {
        const q32::CellLock cell = image.lock_cell(index);
        void *const pixels = cell.pixels().data();
        mem32ByteInvert(pixels, pixels, static_cast<int>(cell.cell().bytes));
    }
}

// --- pixels -----------------------------------------------------------------------------------

unsigned c_sum_column(HBUF32 image, int x, int height) {
    unsigned sum = 0;
    for (int y = 0; y < height; ++y) {
        const void *address = buf32PointAddr(image, x, y);
        if (__builtin_expect(address == nullptr, 0))
            address = q32::detail::again(buf32PointAddr, image, x, y);
        if (address == nullptr)
            give_up("buf32PointAddr");
        sum += *static_cast<const unsigned char *>(address);
    }
    return sum;
}

unsigned cpp_sum_column(q32::BufferRef image, int x, int height) {
    unsigned sum = 0;
    for (int y = 0; y < height; ++y)
        sum += *static_cast<const unsigned char *>(image.pixel_address(x, y));
    return sum;
}

// --- rows on their way to the screen ----------------------------------------------------------

static HDISPRUN open_run(HDC dc, int width, int height) {
    HDISPRUN run = 0;
    Q32_TRY(disp32ShowInit, &run, dc, 24, 0, 0, width, height, nullptr, 0, 0);
    return run;
}

int c_show(HDC dc, const unsigned char *image, int width, int height) {
    const HDISPRUN run = open_run(dc, width, height);
    for (int y = 0; y < height; ++y)
        Q32_TRY(disp32ShowData, run, image, 0, y, 1, 3 * width);
    disp32ShowEnd(run);
    return height;
}

int cpp_show(HDC dc, const unsigned char *image, int width, int height) {
    const q32::DisplayRun run = q32::DisplayRun::open(dc, 24, {0, 0, width, height});
    for (int y = 0; y < height; ++y)
        run.show(image, 0, y, 1, 3 * width);
    return height;
}

// --- runs of pixels ---------------------------------------------------------------------------

void c_merge_runs(unsigned char *image, const unsigned char *overlay, unsigned bytes) {
    for (unsigned run = 0; run < bytes; run += 300)
        Q32_TRY_AGAIN(i32Merge, image + run, image + run, nullptr, overlay + run, 3, 100,
                      MERGE_SCREEN, 20);
}

void cpp_merge_runs(unsigned char *image, const unsigned char *overlay, unsigned bytes) {
    for (unsigned run = 0; run < bytes; run += 300)
        q32::merge_run({image + run, 300}, {image + run, 300}, {}, {overlay + run, 300}, 3, 100,
                       MERGE_SCREEN, 20);
}

// --- messages ---------------------------------------------------------------------------------

int c_take_all(unsigned char *memory, int size) {
    int taken = 0;
    while (GetFromQueue(memory, size - 2) > 0)
        ++taken;
    return taken;
}

int cpp_take_all(const q32::MessageQueue &queue, unsigned char *memory, int size) {
    int taken = 0;
    while (queue.take({memory, static_cast<std::size_t>(size)}) > 0)
        ++taken;
    return taken;
}

// --- frames -----------------------------------------------------------------------------------

struct Stream {
    BITMAPINFOHEADER header;
    VCRESAMPLE record;
};

void c_scale_frames(Stream *stream, const unsigned char *const *sources, unsigned char *destination,
                    unsigned frames) {
    for (unsigned frame = 0; frame < frames; ++frame) {
        const unsigned char *const source = sources[frame];
        Q32_TRY_AGAIN(vcResampleEx, 0, source, &stream->header, destination, stream->record.width,
                      stream->record.height, stream->record.method, &stream->record);
    }
}

void cpp_scale_frames(q32::StreamScaler &scaler, const unsigned char *const *sources,
                      unsigned char *destination, unsigned frames) {
    for (unsigned frame = 0; frame < frames; ++frame)
        scaler.scale({sources[frame], 1}, {destination, 1});
}

} // extern "C"
