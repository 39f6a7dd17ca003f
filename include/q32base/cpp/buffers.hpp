/* Q32BASE for C++: image buffers; see q32base.hpp. */
#ifndef Q32BASE_CPP_BUFFERS_HPP
#define Q32BASE_CPP_BUFFERS_HPP

#include <q32base/bars.h>
#include <q32base/cpp/locks.hpp>
#include <q32base/merge.h>
#include <q32base/resample.h>

namespace q32 {

/* What buf32GetWHU tells. */
struct BufferSize {
    int width = 0;
    int height = 0;
    int bytes_per_pixel = 0; /* 0 under 8 bits */
};

/* The values from the first to the last progress message, and whether Esc cancels. */
struct ProgressRange {
    int start = 0;
    int end = 100;
    bool poll_esc = false;
};

/*
 * A buffer that somebody else owns: what can be done with it. Passed by value, as a handle is; a
 * constant one is a constant handle, its pixels can be written. Buffer, which owns, is one too.
 */
class BufferRef {
public:
    BufferRef() = default;
    explicit BufferRef(HBUF32 handle) : handle_(handle) {}

    HBUF32 get() const { return handle_; }

    /* --- what it is --- */

    /* buf32GetInfo */
    template <Errors errors = Errors::thrown>
    Outcome<errors, BUF32INFO> info() const {
        BUF32INFO info{};
        return detail::silent<errors>("buf32GetInfo", buf32GetInfo(handle_, &info),
                                      [&] { return info; });
    }
    /* buf32GetWHU */
    template <Errors errors = Errors::thrown>
    Outcome<errors, BufferSize> size() const {
        BufferSize size;
        return detail::silent<errors>(
            "buf32GetWHU", buf32GetWHU(handle_, &size.width, &size.height, &size.bytes_per_pixel),
            [&] { return size; });
    }
    /* buf32ReAlloc */
    template <Errors errors = Errors::thrown>
    Outcome<errors> set_height(int rows) const {
        return detail::checked<errors>("buf32ReAlloc",
                                       detail::cleared(buf32ReAlloc, handle_, rows));
    }

    /* --- locks and addresses --- */

    /* buf32Lock: BUF32_READ, BUF32_WRITE, BUF32_OVERWRITE */
    template <Errors errors = Errors::thrown>
    Outcome<errors, Lock> lock(int mode) const {
        void *base = nullptr;
        return detail::checked<errors>("buf32Lock",
                                       detail::repeated(buf32Lock, handle_, mode, &base), [&] {
                                           Q32_HPP_ASSUME(handle_ != 0);
                                           return Lock(handle_, base);
                                       });
    }
    /* buf32CellLock */
    template <Errors errors = Errors::thrown>
    Outcome<errors, CellLock> lock_cell(int index) const {
        CellLock lock;
        const bool done =
            detail::repeated(buf32CellLock, handle_, index, &lock.address_, &lock.cell_) != 0;
        if constexpr (errors == Errors::thrown) { // filled where it is to stay
            detail::checked<errors>("buf32CellLock", done);
            Q32_HPP_ASSUME(handle_ != 0);
            lock.buffer_ = handle_;
            return lock;
        } else {
            return detail::checked<errors>("buf32CellLock", done, [&] {
                lock.buffer_ = handle_;
                return std::move(lock);
            });
        }
    }
    /* buf32PointAddr */
    template <Errors errors = Errors::thrown>
    Outcome<errors, void *> pixel_address(int x, int y) const {
        void *const address = detail::repeated(buf32PointAddr, handle_, x, y);
        return detail::checked<errors>("buf32PointAddr", address != nullptr,
                                       [&] { return address; });
    }

    /* --- rectangles --- */

    /* buf32GetMem: a rectangle into memory, packed rows of the whole rectangle */
    template <Errors errors = Errors::thrown>
    Outcome<errors> read(Rect area, Bytes memory) const {
        assert(detail::holds_block(handle_, area, memory.size()));
        return detail::checked<errors>("buf32GetMem",
                                       detail::cleared(buf32GetMem, handle_, area.x, area.y,
                                                       area.width, area.height, memory.data()));
    }
    /* buf32GetMemWithBC: the same, what lies outside the image becomes the background */
    template <Errors errors = Errors::thrown>
    Outcome<errors> read(Rect area, Bytes memory, ConstBytes background) const {
        assert(detail::holds_block(handle_, area, memory.size()));
        return detail::checked<errors>("buf32GetMemWithBC",
                                       detail::cleared(buf32GetMemWithBC, handle_, area.x, area.y,
                                                       area.width, area.height, memory.data(),
                                                       background.data()));
    }
    /* buf32MergeMem: memory over a rectangle */
    template <Errors errors = Errors::thrown>
    Outcome<errors> write(Rect area, ConstBytes memory) const {
        assert(detail::holds_block(handle_, area, memory.size()));
        return detail::checked<errors>("buf32MergeMem",
                                       detail::cleared(buf32MergeMem, handle_, area.x, area.y,
                                                       memory.data(), area.width, area.height));
    }
    /* buf32GetBuf: a rectangle in a new buffer */
    template <Errors errors = Errors::thrown>
    Outcome<errors, Buffer> copy(Rect area) const;
    /* buf32GetBuf: a rectangle to the top left corner of another buffer */
    template <Errors errors = Errors::thrown>
    Outcome<errors> copy_into(Rect area, BufferRef destination) const {
        HBUF32 handle = destination.get();
        if (handle == 0) // a new buffer would be made, of which nobody would know
            return detail::silent<errors>("buf32GetBuf", false);
        return detail::checked<errors>("buf32GetBuf",
                                       detail::cleared(buf32GetBuf, handle_, area.x, area.y,
                                                       area.width, area.height, &handle));
    }
    /* buf32MergeBuf: a rectangle to (x, y) of another buffer */
    template <Errors errors = Errors::thrown>
    Outcome<errors> copy_to(Rect area, BufferRef destination, int x, int y) const {
        return detail::checked<errors>(
            "buf32MergeBuf", detail::cleared(buf32MergeBuf, handle_, area.x, area.y, area.width,
                                             area.height, destination.get(), x, y));
    }
    /* buf32DupBuf: a new buffer that shares the pixels until one of the two is written */
    template <Errors errors = Errors::thrown>
    Outcome<errors, Buffer> duplicate() const;
    /* buf32DupBuf: makes another buffer such a duplicate */
    template <Errors errors = Errors::thrown>
    Outcome<errors> duplicate_into(BufferRef destination) const {
        HBUF32 handle = destination.get();
        if (handle == 0)
            return detail::silent<errors>("buf32DupBuf", false);
        return detail::checked<errors>("buf32DupBuf",
                                       detail::cleared(buf32DupBuf, handle_, &handle));
    }
    /* buf32FillOneColor */
    template <Errors errors = Errors::thrown>
    Outcome<errors> fill(ConstBytes colour) const {
        return detail::checked<errors>("buf32FillOneColor",
                                       detail::cleared(buf32FillOneColor, handle_, colour.data()));
    }
    /* buf32FillPattern */
    template <Errors errors = Errors::thrown>
    Outcome<errors> fill_pattern(const BUF32PATTERN &pattern) const {
        return detail::checked<errors>("buf32FillPattern",
                                       detail::cleared(buf32FillPattern, handle_, &pattern));
    }
    /* i32MergeBufToBuf: a rectangle of the overlay onto (x, y) of this buffer */
    template <Errors errors = Errors::thrown>
    Outcome<errors> merge(int x, int y, BufferRef overlay, Rect area, int mode,
                          int transparency = 0) const {
        return merge<errors>(x, y, BufferRef(), overlay, area, mode, transparency);
    }
    /* The same through a mask, an 8-bit buffer as large as the overlay. */
    template <Errors errors = Errors::thrown>
    Outcome<errors> merge(int x, int y, BufferRef mask, BufferRef overlay, Rect area, int mode,
                          int transparency = 0) const {
        const RECT rectangle = area.rect();
        return detail::checked<errors>(
            "i32MergeBufToBuf", detail::cleared(i32MergeBufToBuf, handle_, x, y, mask.get(),
                                                overlay.get(), &rectangle, mode, transparency));
    }

    /* --- scaling --- */

    /* q32BufferResampleEx: a new buffer of another size */
    template <Errors errors = Errors::thrown>
    Outcome<errors, Buffer> resample(int width, int height, int method,
                                     bool row_path = false) const;
    /*
     * The same, watched. progress(message, value): RESAMPLE_ message, and where the work is in the
     * range; false ends it. What progress throws ends it too, and is thrown from here.
     */
    template <Errors errors = Errors::thrown, class Progress,
              class = std::enable_if_t<std::is_invocable_v<Progress &, int, int>>>
    Outcome<errors, Buffer> resample(int width, int height, int method, Progress &&progress,
                                     ProgressRange range = {}, bool row_path = false) const;
    /* Into another buffer, at its own size. */
    template <Errors errors = Errors::thrown>
    Outcome<errors> resample_into(BufferRef destination, int method, bool row_path = false) const {
        return resample_given<errors>(destination, method, nullptr, row_path);
    }
    template <Errors errors = Errors::thrown, class Progress,
              class = std::enable_if_t<std::is_invocable_v<Progress &, int, int>>>
    Outcome<errors> resample_into(BufferRef destination, int method, Progress &&progress,
                                  ProgressRange range = {}, bool row_path = false) const;

    /* --- bitmaps, staging --- */

    /* buf32DIBBufToDIB: pixels as Windows has them, until the owner goes */
    template <Errors errors = Errors::thrown>
    Outcome<errors, BitmapLayout> to_bitmap_layout() const {
        BUF32INFO info{};
        const bool is_bitmap = buf32GetInfo(handle_, &info) && info.type == BUF32_DIB;
        const HGLOBAL bitmap = detail::cleared(buf32DIBBufToDIB, is_bitmap ? handle_ : 0);
        // A block of pixels has no handle: only a report tells its failure.
        const bool is_block = is_bitmap && info.data_handle == nullptr;
        const bool done = bitmap != nullptr || (is_block && !c32GetDLLErrInfo(nullptr));
        return detail::checked<errors>("buf32DIBBufToDIB", done, [&] {
            return BitmapLayout(detail::HeldLayout(handle_, bitmap));
        });
    }
    /* buf32GetMemSpace, not moveable: zeroed memory for count cells (kind 1) or rows (kind 2) */
    template <Errors errors = Errors::thrown>
    Outcome<errors, GlobalBlock> staging(int kind, int count) const {
        void *block = nullptr;
        return detail::checked<errors>(
            "buf32GetMemSpace",
            detail::cleared(buf32GetMemSpace, handle_, kind, count, 0, &block, nullptr),
            [&] { return GlobalBlock(block); });
    }

protected:
    bool holds() const { return handle_ != 0; }
    void give_back() const { buf32Free(handle_); }

    template <Errors errors>
    Outcome<errors> resample_given(BufferRef destination, int method,
                                   const RESAMPLEPROGRESS *progress, bool row_path) const {
        const SIZE size = {1, 1}; // not looked at
        HBUF32 handle = destination.get();
        if (handle == 0)
            return detail::silent<errors>("q32BufferResampleEx", false);
        return detail::checked<errors>("q32BufferResampleEx",
                                       detail::cleared(q32BufferResampleEx, &size, handle_, &handle,
                                                       progress, row_path, method));
    }
    template <Errors errors>
    Outcome<errors, Buffer> resample_new(int width, int height, int method,
                                         const RESAMPLEPROGRESS *progress, bool row_path) const;

    HBUF32 handle_ = 0;
};

/* A buffer, freed by buf32Free: give all its locks back first. */
class [[nodiscard]] Buffer : public detail::Owner<BufferRef> {
public:
    Buffer() = default;
    /* Of a handle that is to be freed. */
    explicit Buffer(HBUF32 handle) : Owner(BufferRef(handle)) {}

    /* buf32Alloc; extra as the type wants it */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> allocate(int bits_per_pixel, int width, int height,
                                            std::uint32_t type = BUF32_TILED,
                                            const void *extra = nullptr) {
        return made<errors>("buf32Alloc", buf32Alloc, bits_per_pixel, width, height, type, extra);
    }
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> of_one_colour(int bits_per_pixel, int width, int height,
                                                 ConstBytes colour) {
        return allocate<errors>(bits_per_pixel, width, height, BUF32_ONE_COLOUR, colour.data());
    }
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> of_pattern(int bits_per_pixel, int width, int height,
                                              const BUF32PATTERN &pattern) {
        return allocate<errors>(bits_per_pixel, width, height, BUF32_PATTERN, &pattern);
    }
    /* Over the caller's packed rows, which must outlive the buffer and are not written. */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> over_memory(int bits_per_pixel, int width, int height,
                                               ConstBytes rows) {
        const BUF32MEMORY memory = {0, const_cast<std::uint8_t *>(rows.data())};
        return allocate<errors>(bits_per_pixel, width, height, BUF32_CALLER_MEMORY, &memory);
    }
    /* buf32DIBBufAlloc: over a packed bitmap, which the buffer owns from then on */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> over_bitmap(HGLOBAL bitmap) {
        return made<errors>("buf32DIBBufAlloc", buf32DIBBufAlloc, bitmap);
    }
    /* buf32DIBMemBufAlloc: over the caller's pixels in bitmap layout, which must outlive it */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> over_bitmap_pixels(int bits_per_pixel, int width, int height,
                                                      Bytes pixels) {
        return made<errors>("buf32DIBMemBufAlloc", buf32DIBMemBufAlloc, bits_per_pixel, width,
                            height, static_cast<void *>(pixels.data()));
    }

    /* q32CreateGrayBarImage */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> grey_bar(int width, int height, int from, int to,
                                            bool horizontal) {
        return made<errors>("q32CreateGrayBarImage", q32CreateGrayBarImage, width, height, from, to,
                            horizontal);
    }
    /* q32CreateColorBarImage */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> colour_bar(int width, int height, COLORREF from, COLORREF to,
                                              bool horizontal, bool rainbow = false) {
        return made<errors>("q32CreateColorBarImage", q32CreateColorBarImage, width, height, from,
                            to, horizontal, rainbow);
    }
    /* q32CreateHSBBarImage, a BAR_ style */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Buffer> hue_field(int style, int width, int height) {
        return made<errors>("q32CreateHSBBarImage", q32CreateHSBBarImage, style, width, height);
    }

    /* buf32Free, for who wants to know: when it fails the buffer stays. */
    template <Errors errors = Errors::thrown>
    Outcome<errors> free_buffer() {
        return detail::checked<errors>("buf32Free", detail::cleared(buf32Free, handle_),
                                       [&] { handle_ = 0; });
    }
    /*
     * buf32DIBBufFree: frees a bitmap buffer and hands its bitmap back (null for a block of
     * pixels). When it fails, as it does without a report while the buffer is locked, the buffer
     * stays.
     */
    template <Errors errors = Errors::thrown>
    Outcome<errors, GlobalBlock> free_bitmap() {
        HGLOBAL bitmap = this; // a locked buffer is a success that leaves this as it is
        const bool done = detail::cleared(buf32DIBBufFree, handle_, &bitmap) && bitmap != this;
        return detail::checked<errors>("buf32DIBBufFree", done, [&] {
            handle_ = 0;
            return GlobalBlock(bitmap);
        });
    }

private:
    /* Of a function whose first argument receives the handle. */
    template <Errors errors, class Function, class... Arguments>
    static Outcome<errors, Buffer> made(const char *name, Function *function,
                                        Arguments... arguments) {
        HBUF32 handle = 0;
        const bool done = detail::cleared(function, &handle, arguments...) != 0;
        return detail::checked<errors>(name, done, [&] { return Buffer(handle); });
    }
};

namespace detail {

inline bool holds_row(HBUF32 buffer, int mode, std::size_t size) {
    BUF32INFO info;
    if (!buf32GetInfo(buffer, &info))
        return true; // the call says what is wrong
    const auto width = static_cast<std::size_t>(info.width);
    switch (mode) {
    case BUF32_LINE_READ_BITS:
    case BUF32_LINE_WRITE_BITS:
        return size >= width;
    case BUF32_LINE_READ_565:
    case BUF32_LINE_WRITE_565:
    case BUF32_LINE_READ_555:
    case BUF32_LINE_WRITE_555:
        return size >= 3 * width;
    default:
        return size >= (width * static_cast<std::size_t>(info.bits_per_pixel) + 7) / 8;
    }
}

inline bool holds_block(HBUF32 buffer, Rect area, std::size_t size) {
    BUF32INFO info;
    if (!buf32GetInfo(buffer, &info) || area.width < 1 || area.height < 1)
        return true;
    const auto bits = static_cast<std::size_t>(info.bits_per_pixel < 8 ? info.bits_per_pixel
                                                                       : 8 * info.bytes_per_pixel);
    const std::size_t row_bytes = (static_cast<std::size_t>(area.width) * bits + 7) / 8;
    return size / row_bytes >= static_cast<std::size_t>(area.height);
}

} // namespace detail

template <Errors errors>
Outcome<errors, Buffer> BufferRef::copy(Rect area) const {
    HBUF32 handle = 0;
    const bool done = detail::cleared(buf32GetBuf, handle_, area.x, area.y, area.width, area.height,
                                      &handle) != 0;
    return detail::checked<errors>("buf32GetBuf", done, [&] { return Buffer(handle); });
}

template <Errors errors>
Outcome<errors, Buffer> BufferRef::duplicate() const {
    HBUF32 handle = 0;
    return detail::checked<errors>("buf32DupBuf", detail::cleared(buf32DupBuf, handle_, &handle),
                                   [&] { return Buffer(handle); });
}

/* --- runs of pixels, memory ------------------------------------------------------------------- */

/* i32Merge: a run of pixels onto a base, into a result; the mask may be empty */
template <Errors errors = Errors::thrown>
Outcome<errors> merge_run(Bytes result, ConstBytes base, ConstBytes mask, ConstBytes overlay,
                          int bytes_per_pixel, int pixels, unsigned mode, int transparency = 0) {
    return detail::checked<errors>(
        "i32Merge", detail::repeated(i32Merge, result.data(), base.data(), mask.data(),
                                     overlay.data(), bytes_per_pixel, pixels, mode, transparency));
}

/* mem32DuplicateHandle: a copy of a block of the global heap */
template <Errors errors = Errors::thrown>
Outcome<errors, GlobalBlock> duplicate_memory(HGLOBAL memory) {
    const HGLOBAL copy = detail::cleared(mem32DuplicateHandle, memory);
    return detail::checked<errors>("mem32DuplicateHandle", copy != nullptr,
                                   [&] { return GlobalBlock(copy); });
}

} // namespace q32

#endif
