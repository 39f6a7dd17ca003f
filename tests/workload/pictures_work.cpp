// Pieces of work on pictures: frames of streams, display runs, bars and buffers.
#include "tests/workload/work.h"

#include <algorithm>
#include <windows.h>

namespace q32::test {
namespace {

constexpr int methods[] = {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC};

int padded_row(int width, int bits) {
    return (width * bits + 31) / 32 * 4;
}

// --- the display -------------------------------------------------------------------------------

// A memory context with pixels of 24 bits that can be read.
class Screen {
public:
    Screen(int width, int height)
        : dc_(CreateCompatibleDC(nullptr)),
          bytes_(std::size_t(padded_row(width, 24)) * std::size_t(height)) {
        BITMAPINFO info{};
        info.bmiHeader = {.biSize = sizeof info.bmiHeader,
                          .biWidth = width,
                          .biHeight = -height,
                          .biPlanes = 1,
                          .biBitCount = 24};
        bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &pixels_, nullptr, 0);
        before_ = SelectObject(dc_, bitmap_);
    }
    ~Screen() {
        SelectObject(dc_, before_);
        DeleteObject(bitmap_);
        DeleteDC(dc_);
    }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    HDC dc() const { return dc_; }
    void into(Digest &digest) const {
        GdiFlush();
        digest.add(pixels_, bytes_);
    }

private:
    HDC dc_;
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ before_ = nullptr;
    void *pixels_ = nullptr;
    std::size_t bytes_;
};

HPALETTE some_palette(Random &random) {
    struct {
        WORD version = 0x300, count = 256;
        PALETTEENTRY entries[256];
    } palette;
    for (PALETTEENTRY &entry : palette.entries)
        entry = {random.byte(), random.byte(), random.byte(), 0};
    return CreatePalette(reinterpret_cast<const LOGPALETTE *>(&palette));
}

// --- buffers -----------------------------------------------------------------------------------

class WorkBuffer {
public:
    WorkBuffer(int bits, int width, int height, std::uint32_t type, const void *extra = nullptr)
        : width_(width), height_(height) {
        const std::lock_guard lock(buffer_list);
        api().buf32Alloc(&handle_, bits, width, height, type, extra);
    }
    // Takes over a buffer that the library has made.
    WorkBuffer(HBUF32 handle, int width, int height)
        : handle_(handle), width_(width), height_(height) {}
    ~WorkBuffer() {
        const std::lock_guard lock(buffer_list);
        api().buf32Free(handle_);
    }
    WorkBuffer(const WorkBuffer &) = delete;
    WorkBuffer &operator=(const WorkBuffer &) = delete;

    HBUF32 handle() const { return handle_; }
    int width() const { return width_; }
    int height() const { return height_; }

    void fill(Random &random, int pixel_bytes) {
        Field pixels(random, std::size_t(pixel_bytes * width_ * height_));
        api().buf32MergeMem(handle_, 0, 0, pixels.data(), width_, height_);
    }
    void into(Digest &digest, int pixel_bytes) const {
        std::vector<std::uint8_t> pixels(std::size_t(pixel_bytes * width_ * height_));
        digest.add(std::uint32_t(api().buf32GetMem(handle_, 0, 0, width_, height_, pixels.data())));
        digest.add(pixels.data(), pixels.size());
        digest.count(std::uint64_t(width_ * height_));
    }

private:
    HBUF32 handle_ = 0;
    int width_, height_;
};

// Storage that lives in cells, in one piece, or in a swap file.
std::uint32_t some_type(Random &random) {
    constexpr std::uint32_t types[] = {BUF32_TILED,         BUF32_TILED,         BUF32_LINEAR,
                                       BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK, BUF32_TILED_FILE};
    return types[random.below(std::size(types))];
}

// A duplicate that gets pixels of its own when a part of it is written: that, too, allocates.
void duplicate_and_write(const WorkBuffer &source, int pixel_bytes, Random &random,
                         Digest &digest) {
    HBUF32 handle = 0;
    Field patch(random, std::size_t(pixel_bytes * 16 * 16));
    {
        const std::lock_guard lock(buffer_list);
        digest.add(std::uint32_t(api().buf32DupBuf(source.handle(), &handle)));
        const int x = between(random, -8, 100), y = between(random, -8, 100);
        digest.add(std::uint32_t(api().buf32MergeMem(handle, x, y, patch.data(), 16, 16)));
    }
    WorkBuffer(handle, source.width(), source.height()).into(digest, pixel_bytes);
}

void resample(const WorkBuffer &source, int pixel_bytes, Random &random, Digest &digest) {
    WorkBuffer scaled{8 * pixel_bytes, between(random, 1, 200), between(random, 1, 200),
                      some_type(random)};
    HBUF32 handle = scaled.handle();
    const SIZE size{scaled.width(), scaled.height()};
    const int row_path = between(random, 0, 1), method = methods[random.below(3)];
    {
        const std::shared_lock lock(buffer_list);
        digest.add(std::uint32_t(
            api().q32BufferResampleEx(&size, source.handle(), &handle, nullptr, row_path, method)));
    }
    scaled.into(digest, pixel_bytes);
}

void merge(const WorkBuffer &source, int pixel_bytes, Random &random, Digest &digest) {
    WorkBuffer target{8 * pixel_bytes, between(random, 1, 200), between(random, 1, 200),
                      some_type(random)};
    target.fill(random, pixel_bytes);
    const RECT all{0, 0, source.width(), source.height()};
    const int mode = pixel_bytes == 3 ? between(random, 1, 15) : between(random, 9, 15);
    const int x = between(random, -50, 50), y = between(random, -50, 50);
    const int transparency = between(random, 0, 100);
    {
        const std::shared_lock lock(buffer_list);
        digest.add(std::uint32_t(api().i32MergeBufToBuf(target.handle(), x, y, 0, source.handle(),
                                                        &all, mode, transparency)));
    }
    target.into(digest, pixel_bytes);
}

// Fills give one sort of storage up for another.
void fill_and_write(Random &random, Digest &digest) {
    WorkBuffer buffer{24, between(random, 1, 200), between(random, 1, 200), some_type(random)};
    std::uint8_t pixels[3 * 5 * 4];
    random.fill(pixels);
    const BUF32PATTERN pattern{5, 4, pixels};
    {
        const std::lock_guard lock(buffer_list);
        digest.add(std::uint32_t(random.below(2) == 0
                                     ? api().buf32FillPattern(buffer.handle(), &pattern)
                                     : api().buf32FillOneColor(buffer.handle(), pixels)));
    }
    buffer.into(digest, 3);
    {
        const std::lock_guard lock(buffer_list);
        digest.add(std::uint32_t(api().buf32MergeMem(buffer.handle(), 0, 0, pixels, 5, 4)));
    }
    buffer.into(digest, 3);
}

} // namespace

void frames_piece(Random &random, Digest &digest) {
    constexpr int depths[] = {8, 16, 24, 32};
    const int bits = depths[random.below(4)], method = methods[random.below(3)];
    const int width = between(random, 1, 100), height = between(random, 1, 60);
    BITMAPINFOHEADER header{};
    header.biWidth = between(random, 1, 100);
    header.biHeight = between(random, 1, 60);
    header.biBitCount = WORD(bits);
    VCRESAMPLE record = {.source = &header, .width = width, .height = height, .method = method};
    digest.add(std::uint32_t(api().vcResampleInit(&record)));
    for (int frame = 0; frame < 2; ++frame) {
        Field source(random, std::size_t(padded_row(header.biWidth, bits) * header.biHeight));
        Field scaled(random, std::size_t(padded_row(width, bits) * height));
        digest.add(std::uint32_t(api().vcResampleEx(0, source.data(), &header, scaled.data(), width,
                                                    height, method, &record)));
        scaled.into(digest);
        digest.count(std::uint64_t(width * height));
    }
    api().vcResampleEnd(&record);
}

// What planes of sixteen colours come to on a bitmap is the system's business, and left out.
void display_piece(Random &random, Digest &digest) {
    constexpr int types[] = {DISP32_MONOCHROME, DISP32_EIGHT_COLOURS, DISP32_SIXTEEN_COLOURS,
                             DISP32_PALETTE,    DISP32_TRUE_COLOUR,   DISP32_HIGH_COLOUR};
    constexpr int depths[] = {24, 16, 8, 1};
    const int type = types[random.below(std::size(types))];
    const bool planes = type == DISP32_SIXTEEN_COLOURS;
    const int depth = planes ? depths[2 + random.below(2)] : depths[random.below(4)];
    const int width = between(random, 1, 150), height = between(random, 1, 60);
    const HPALETTE palette =
        depth == 8 && !planes && random.below(2) == 0 ? some_palette(random) : nullptr;
    const int red = between(random, 90, 270), green = between(random, 90, 270),
              blue = between(random, 90, 270);
    // Palettes of few colours follow the gamma at a change of the type: there has to be one.
    api().disp32SetDevType(type == DISP32_TRUE_COLOUR ? DISP32_HIGH_COLOUR : DISP32_TRUE_COLOUR);
    api().disp32NewScreenGamma(red, green, blue);
    api().disp32BeHiColorDither(between(random, 0, 1));
    api().disp32SetDevType(type);
    const int stride = padded_row(width, depth);
    Field source(random, std::size_t(stride * height));
    {
        const Screen screen(width, height);
        HDISPRUN run = 0;
        const int option = between(random, 0, 1);
        const int origin_x = between(random, 0, 20), origin_y = between(random, 0, 20);
        digest.add(
            std::uint32_t(api().disp32ShowInitEx(&run, screen.dc(), depth, 0, 0, width, height,
                                                 palette, option, 0, origin_x, origin_y)));
        for (int row = 0; row < height;) {
            const int rows = std::min(between(random, 1, 40), height - row);
            digest.add(
                std::uint32_t(api().disp32ShowData(run, source.data(), 0, row, rows, stride)));
            row += rows;
        }
        digest.add(std::uint32_t(api().disp32ShowEnd(run)));
        screen.into(digest);
    }
    digest.count(std::uint64_t(width * height));
    if (palette != nullptr)
        DeleteObject(palette);
}

void bars_piece(Random &random, Digest &digest) {
    const int kind = between(random, 0, 2), pixel_bytes = kind == 0 ? 1 : 3;
    WorkBuffer bar{8 * pixel_bytes, between(random, 1, 300), between(random, 1, 100), BUF32_TILED};
    bar.fill(random, pixel_bytes); // bars then only overwrite
    HBUF32 handle = bar.handle();
    const auto from = std::uint32_t(random.next()), to = std::uint32_t(random.next());
    const int horizontal = between(random, 0, 1);
    const auto make = [&] {
        const std::shared_lock lock(buffer_list);
        if (kind == 0)
            return api().q32CreateGrayBarImage(&handle, 0, 0, int(from & 255), int(to & 255),
                                               horizontal);
        if (kind == 1)
            return api().q32CreateHSBBarImage(&handle, between(random, 1, 4), 0, 0);
        return api().q32CreateColorBarImage(&handle, 0, 0, from, to, horizontal,
                                            between(random, 0, 1));
    };
    digest.add(std::uint32_t(make()));
    bar.into(digest, pixel_bytes);
}

void buffers_piece(Random &random, Digest &digest) {
    const int pixel_bytes = random.below(2) == 0 ? 1 : 3;
    WorkBuffer source{8 * pixel_bytes, between(random, 1, 200), between(random, 1, 200),
                      some_type(random)};
    source.fill(random, pixel_bytes);
    source.into(digest, pixel_bytes);
    switch (random.below(4)) {
    case 0:
        return duplicate_and_write(source, pixel_bytes, random, digest);
    case 1:
        return resample(source, pixel_bytes, random, digest);
    case 2:
        return merge(source, pixel_bytes, random, digest);
    default:
        return fill_and_write(random, digest);
    }
}

} // namespace q32::test
