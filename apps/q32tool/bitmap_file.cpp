// Packed bitmaps made from BMP files: the library wants the pixels right behind header and colour
// table, while a file may have a gap there.
#include "bitmap_file.h"

#include "apps/pictures/exceptions.h"
#include "apps/pictures/numbers.h"
#include "timings.h"
#include "whole_files.h"

#include <q32comm.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace apps::q32tool {
namespace {

Failure refusal_of_library(const std::string &path, const Refusal &refusal) {
    const LibraryReport report = last_report();
    const std::string numbers = report.message == 0 ? "" : " " + report.numbers();
    const std::string problem = "the library does not take this bitmap: " + refusal.problem;
    if (refusal.remedy[0] == '\0')
        return {path, problem + numbers, report.message == 0 ? "" : report.see_explanation()};
    return {path, problem, refusal.remedy + numbers};
}

using GlobalBlock = Owned<GlobalFree, HGLOBAL>;
using BlockLock = Owned<GlobalUnlock, HGLOBAL>;

std::vector<uint8_t> timed_read(const std::string &path) {
    const Timed timed(Part::reading);
    return read_file(path);
}

} // namespace

BitmapFile::BitmapFile(const std::string &path, std::vector<uint8_t> file)
    : path_(path), file_(std::move(file)), header_() {}

BitmapFile::BitmapFile(const std::string &path) : BitmapFile(path, timed_read(path)) {
    if (!is_bmp(file_))
        throw Failure(path, "this is not a BMP file", "q32tool convert makes one of a picture");
    header_ = read_bmp_header(file_);
    find_parts();
    give_to_library();
    if (header_.pixels_begin < table_end_)
        throw Failure(path,
                      "its pixels begin at byte " + std::to_string(header_.pixels_begin) +
                          ", inside header and colour table, which end at byte " +
                          std::to_string(table_end_),
                      convert_it);
}

// A damaged header may name more than the file has. All is cut to the file, and the library refuses
// the bitmap.
void BitmapFile::find_parts() {
    table_end_ = static_cast<size_t>(std::min<uint64_t>(header_.table_end(), file_.size()));
    pixels_begin_ = std::clamp<size_t>(header_.pixels_begin, table_end_, file_.size());
    pixel_bytes_ = file_.size() - pixels_begin_;
    if (header_.width > 0 && header_.height > 0)
        pixel_bytes_ = static_cast<size_t>(std::min<uint64_t>(
            pixel_bytes_, header_.row_stride() * static_cast<uint64_t>(header_.height)));
}

void BitmapFile::give_to_library() {
    const Timed timed(Part::library);
    const size_t table_bytes = table_end_ - bmp_file_header_bytes;
    GlobalBlock block(GlobalAlloc(GMEM_MOVEABLE, table_bytes + pixel_bytes_));
    {
        auto *const memory = static_cast<uint8_t *>(GlobalLock(block.get()));
        if (memory == nullptr)
            throw Failure(path_, "not enough memory for a bitmap of " +
                                     readable_size(table_bytes + pixel_bytes_));
        const BlockLock lock(block.get());
        std::memcpy(memory, file_.data() + bmp_file_header_bytes, table_bytes);
        std::memcpy(memory + table_bytes, file_.data() + pixels_begin_, pixel_bytes_);
    }
    c32ClearDLLErrInfo();
    HBUF32 buffer = 0;
    if (!buf32DIBBufAlloc(&buffer, block.get()))
        throw refusal_of_library(path_, refusal_of(header_, file_.size()));
    block.release();
    buffer_ = Buffer(buffer);
    ++timings().buffers;
    buf32GetInfo(buffer, &info_);
}

std::string BitmapFile::layout() const {
    const size_t gap = pixels_begin_ - table_end_;
    const size_t rest = file_.size() - pixels_begin_ - pixel_bytes_;
    return "header of " + counted(header_.bytes, "byte") + ", " +
           counted(header_.colours(), "colour") + ", pixels from byte " +
           std::to_string(pixels_begin_) + " on" +
           (gap == 0 ? "" : " (behind a gap of " + counted(gap, "byte") + ")") +
           (rest == 0 ? "" : ", " + counted(rest, "byte") + " behind them");
}

// Takes over the pixels of the rows only. All else is as it was in the file, save the bytes that
// pad rows: for those the library gives no word.
std::vector<uint8_t> BitmapFile::close() {
    const Timed timed(Part::library);
    HGLOBAL handle = nullptr;
    if (!buf32DIBBufFree(buffer_.release(), &handle) || handle == nullptr)
        throw library_failure(path_, "the bitmap cannot be taken back");
    const GlobalBlock block(handle);
    const auto *const memory = static_cast<const uint8_t *>(GlobalLock(handle));
    if (memory == nullptr)
        throw Failure(path_, "the bitmap's memory cannot be reached");
    const BlockLock lock(handle);
    const uint8_t *pixels = memory + (table_end_ - bmp_file_header_bytes);
    const size_t row_bytes = static_cast<size_t>(header_.row_bytes());
    const size_t row_stride = static_cast<size_t>(header_.row_stride());
    for (size_t at = 0; at < pixel_bytes_; at += row_stride)
        std::memcpy(file_.data() + pixels_begin_ + at, pixels + at, row_bytes);
    return std::move(file_);
}

} // namespace apps::q32tool
