// Buffers: making them, with the reasons why one cannot be made, and freeing them.
#include "image.h"

#include "apps/pictures/library_report.h"
#include "apps/pictures/numbers.h"
#include "storage_options.h"
#include "timings.h"

#include <q32base/errors.h>

#include <utility>

namespace apps::q32tool {
namespace {

constexpr char other_directory[] = "free some disk space or name another --swap-dir";

Failure allocation_failure(const std::string &named, Size size, uint64_t bytes) {
    const LibraryReport report = last_report();
    const std::string most =
        "the library takes at most " + std::to_string(Q32_MAX_SIDE) + " " + report.numbers();
    if (report.message == Q32_MSG_TOO_WIDE)
        return {named,
                "the picture is " + counted(static_cast<uint64_t>(size.width), "pixel") + " wide",
                most};
    if (report.message == Q32_MSG_TOO_HIGH)
        return {named,
                "the picture is " + counted(static_cast<uint64_t>(size.height), "pixel") + " high",
                most};
    // The points at which a swap file was needed and could not be had.
    constexpr int buffer_module = 4, swap_file_failed = 2, no_swap_directory = 3;
    if (report.message == Q32_MSG_NO_MEMORY && report.module == buffer_module) {
        if (report.point == no_swap_directory)
            return {named, "no swap directory has room for " + readable_size(bytes),
                    std::string(other_directory) + " " + report.numbers()};
        if (report.point == swap_file_failed)
            return {named, "a swap file of " + readable_size(bytes) + " cannot be made or mapped",
                    "name another --swap-dir or use a smaller picture " + report.numbers()};
    }
    return library_failure(named, "no buffer for the picture");
}

} // namespace

int bits_of(PixelFormat format) {
    switch (format) {
    case PixelFormat::bits:
        return 1;
    case PixelFormat::grey:
        return 8;
    case PixelFormat::rgb555:
    case PixelFormat::rgb565:
        return 16;
    case PixelFormat::rgb:
        break;
    }
    return 24;
}

Image::Image(PixelFormat format, Size size, std::string named)
    : format_(format), size_(size), named_(std::move(named)) {}

Image::Image(PixelFormat format, Size size, uint32_t type, std::string named, const void *extra)
    : Image(format, size, std::move(named)) {
    make([&](HBUF32 *handle) {
        return buf32Alloc(handle, bits_of(format), size.width, size.height, type, extra);
    });
}

Image Image::cut(const Area &area) const {
    Image part(format_, area.size(), named_);
    ++timings().rectangles;
    part.make([&](HBUF32 *handle) {
        return buf32GetBuf(handle_, area.left, area.top, area.width(), area.height(), handle);
    });
    return part;
}

template <typename Function>
void Image::make(const Function &function) {
    const uint64_t bytes =
        (static_cast<uint64_t>(size_.width) * static_cast<uint64_t>(bits_of(format_)) + 7) / 8 *
        static_cast<uint64_t>(size_.height);
    const uint64_t free_before = free_swap_bytes();
    const uint32_t mapped_before = memory_use().mapped;
    {
        const Timed timed(Part::library);
        if (!function(&handle_))
            throw allocation_failure(named_, size_, bytes);
    }
    ++timings().buffers;
    // Where files may have holes, a swap file can be made on a full disk, and the process would die
    // at the first page without room. The library does not see this coming: it measures the volume
    // of the drive's root.
    if (memory_use().mapped != mapped_before && free_before < bytes) {
        buf32Free(std::exchange(handle_, 0));
        throw Failure(named_,
                      "the swap directory has room for " + readable_size(free_before) + " of " +
                          readable_size(bytes),
                      other_directory);
    }
}

Image::Image(Image &&other) noexcept
    : handle_(std::exchange(other.handle_, 0)), format_(other.format_), size_(other.size_),
      named_(std::move(other.named_)) {}

Image &Image::operator=(Image &&other) noexcept {
    std::swap(handle_, other.handle_);
    format_ = other.format_;
    size_ = other.size_;
    named_ = other.named_;
    return *this;
}

Image::~Image() {
    if (handle_ != 0) {
        const Timed timed(Part::library);
        buf32Free(handle_);
    }
}

BUF32INFO Image::info() const {
    BUF32INFO block = {};
    if (!buf32GetInfo(handle_, &block))
        throw library_failure(named_, "the buffer cannot be examined");
    return block;
}

void Image::line(int row, int mode, void *memory) {
    ++timings().rows_moved;
    if (!buf32Line(handle_, row, mode, memory))
        throw library_failure(named_, "row " + std::to_string(row) + " cannot be moved");
}

ImageLock::ImageLock(Image &image, int mode) : handle_(image.handle()) {
    if (!buf32Lock(handle_, mode, nullptr))
        throw library_failure(image.named(), "the buffer cannot be locked");
}

ImageLock::~ImageLock() {
    buf32Unlock(handle_);
}

} // namespace apps::q32tool
