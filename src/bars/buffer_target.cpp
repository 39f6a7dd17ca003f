// What a bar needs of a buffer, in the order in which callers see it fail: its pixels, its lock,
// and a row to draw in.
#include "bars/buffer_target.h"

#include "buffer/record.h"

#include <algorithm>

namespace q32::bars {
namespace {

// A row as buf32Line takes it: pixels of 25 bits have three bytes, but are stored in more.
std::size_t row_bytes(const BUF32INFO &info) {
    return std::max(std::size_t(info.width) * std::size_t(info.bytes_per_pixel),
                    std::size_t(buffer::packed_bytes(info.width, info.bits_per_pixel)));
}

} // namespace

bool BufferTarget::open(Size size, int bits_per_pixel, const site::BufferSites &sites) {
    if (!provided_.is_given() && !provided_.make(size, bits_per_pixel, BUF32_TILED, nullptr))
        return fail(sites.no_buffer);
    BUF32INFO info;
    if (!buf32GetInfo(provided_.buffer(), &info))
        return false;
    if (info.bytes_per_pixel != bits_per_pixel / 8)
        return fail(sites.wrong_pixels);
    if (!lock_.lock(provided_.buffer(), BUF32_WRITE_3))
        return false;
    row_.reset(GlobalAlloc(GMEM_ZEROINIT, row_bytes(info)));
    if (!row_)
        return fail(sites.no_work_row);
    width_ = info.width;
    height_ = info.height;
    return true;
}

bool BufferTarget::close() {
    if (!lock_.unlock())
        return false;
    provided_.keep();
    return true;
}

} // namespace q32::bars
