// Buffers: making them, with the reasons why one cannot be made, and freeing them.
#include "image.h"

#include "apps/pictures/edition.h"
#include "apps/pictures/library_report.h"
#include "apps/pictures/numbers.h"
#include "apps/pictures/turning.h"
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
                    std::string("name another --swap-dir, or ") + room_remedy + " " +
                        report.numbers()};
    }
    return library_failure(named, "no buffer for the picture");
}

} // namespace

int bits_of(PixelFormat format) {
    constexpr int bits[] = {1, 8, 16, 16, 24}; // in the order of PixelFormat
    return bits[static_cast<size_t>(format)];
}

Image::Image(PixelFormat format, Size size, uint32_t type, std::string named, TimedBuffer buffer)
    : format_(format), size_(size), type_(type), named_(std::move(named)),
      buffer_(std::move(buffer)) {}

Image::Image(PixelFormat format, Size size, uint32_t type, const std::string &named,
             const void *extra)
    : Image(format, size, type, named, made(format, size, named, [&](HBUF32 *handle) {
                return buf32Alloc(handle, bits_of(format), size.width, size.height, type, extra);
            })) {}

Image Image::cut(const Area &area) const {
    ++timings().rectangles;
    return {format_, area.size(), type_, named_,
            made(format_, area.size(), named_, [&](HBUF32 *handle) {
                return buf32GetBuf(this->handle(), area.left, area.top, area.width(), area.height(),
                                   handle);
            })};
}

Image Image::turned(int orientation) const {
    const Size size = exchanges_sides(orientation) ? Size{height(), width()} : size_;
    return {format_, size, type_, named_, made(format_, size, named_, [&](HBUF32 *handle) {
                *handle = apps::turned(this->handle(), orientation, type_, named_).release();
                return true;
            })};
}

template <typename Function>
Image::TimedBuffer Image::made(PixelFormat format, Size size, const std::string &named,
                               const Function &function) {
    const uint64_t bytes =
        (static_cast<uint64_t>(size.width) * static_cast<uint64_t>(bits_of(format)) + 7) / 8 *
        static_cast<uint64_t>(size.height);
    const uint64_t free_before = free_swap_bytes();
    const size_t mapped_before = memory_use().mapped;
    HBUF32 handle = 0;
    {
        const Timed timed(Part::library);
        if (!function(&handle))
            throw allocation_failure(named, size, bytes);
    }
    TimedBuffer buffer(handle);
    ++timings().buffers;
    // Where files may have holes, a swap file can be made on a full disk, and the process would die
    // at the first page without room. The library does not see this coming: it measures the volume
    // of the drive's root.
    if (memory_use().mapped != mapped_before && free_before < bytes)
        throw Failure(named,
                      "the swap directory has room for " + readable_size(free_before) + " of " +
                          readable_size(bytes),
                      other_directory);
    return buffer;
}

void Image::free_timed(HBUF32 buffer) {
    const Timed timed(Part::library);
    buf32Free(buffer);
}

BUF32INFO Image::info() const {
    BUF32INFO block = {};
    if (!buf32GetInfo(handle(), &block))
        throw library_failure(named_, "the buffer cannot be examined");
    return block;
}

void Image::line(int row, int mode, void *memory) {
    ++timings().rows_moved;
    if (!buf32Line(handle(), row, mode, memory))
        throw library_failure(named_, "row " + std::to_string(row) + " cannot be moved");
}

} // namespace apps::q32tool
