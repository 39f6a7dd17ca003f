// Row transfer: an area of one row that is moved under a lock of its own, and converted on the way
// where the mode asks for it. Where the row lies is the pixel walk's part.
#include "buffer/cells.h"
#include "buffer/entries.h"
#include "buffer/failures.h"
#include "buffer/pixels.h"
#include "library/process/owners.h"

#include <q32base/rows.h>

#include <algorithm>

namespace q32::buffer {
namespace {

// --- rows as the modes want them ----------------------------------------------------------------

// A mode's direction, and the row conversion between what is stored and the caller's memory.
struct LineMode {
    Direction direction;
    int (*convert)(std::byte *to, const std::byte *from, int pixels); // null: as stored
    int stored_bits;                                                  // that convert takes or gives
};

template <int(Q32_CALL *conversion)(void *, const void *, int)>
int convert_with(std::byte *to, const std::byte *from, int pixels) {
    return conversion(to, from, pixels);
}

int narrow_to_bits(std::byte *to, const std::byte *from, int pixels) {
    constexpr int threshold = 127;
    return mem32ByteToBit(to, from, pixels, threshold);
}

constexpr LineMode line_modes[] = {
    {Direction::to_memory, nullptr, 0},                       // BUF32_LINE_READ
    {Direction::to_buffer, nullptr, 0},                       // BUF32_LINE_WRITE
    {Direction::to_memory, convert_with<mem32BitToByte>, 1},  // BUF32_LINE_READ_BITS
    {Direction::to_buffer, narrow_to_bits, 1},                // BUF32_LINE_WRITE_BITS
    {Direction::to_memory, convert_with<mem32_565To888>, 16}, // BUF32_LINE_READ_565
    {Direction::to_buffer, convert_with<mem32_888To565>, 16}, // BUF32_LINE_WRITE_565
    {Direction::to_memory, convert_with<mem32_555To888>, 16}, // BUF32_LINE_READ_555
    {Direction::to_buffer, convert_with<mem32_888To555>, 16}, // BUF32_LINE_WRITE_555
};

// --- spans --------------------------------------------------------------------------------------

// The pixels left to right - 1 of a row; those of a whole row come with the bits that fill its last
// byte.
struct Span {
    Record &record;
    int y;
    int left, right;

    int pixels() const { return right - left; }
    uint32_t bits_per_pixel() const { return uint32_t(record.info.bits_per_pixel); }
    Area area() const { return {left, y, right, y + 1}; }
    PlainRows in(std::byte *memory) const { return {memory, 0, 0, bits_per_pixel(), left == 0}; }

    bool transfer(const LineMode &mode, std::byte *memory) const {
        if (pixels() <= 0)
            return true;
        return mode.convert == nullptr ? move(mode, memory) : convert(mode, memory);
    }

private:
    bool move(const LineMode &mode, std::byte *memory) const {
        return mode.direction == Direction::to_memory ? read_pixels(record, area(), in(memory))
                                                      : write_pixels(record, area(), in(memory));
    }

    // The stage holds what the conversion takes or gives, and what the row stores: on a depth that
    // the mode is not meant for these differ, and missing bytes are zero.
    bool convert(const LineMode &mode, std::byte *memory) const {
        const uint32_t bytes = std::max(packed_bytes(pixels(), record.info.bits_per_pixel),
                                        packed_bytes(pixels(), mode.stored_bits));
        auto *const stage = global_alloc<std::byte>(GMEM_ZEROINIT, bytes);
        const GlobalBlock owned(stage);
        if (stage == nullptr)
            return false;
        if (mode.direction == Direction::to_buffer) {
            mode.convert(stage, memory, pixels());
            return move(mode, stage);
        }
        if (!move(mode, stage))
            return false;
        mode.convert(memory, stage, pixels());
        return true;
    }
};

Span whole_row(Record &record, int y) {
    return {record, std::clamp(y, 0, record.info.height - 1), 0, record.info.width};
}

Span clamped_span(Record &record, int x_start, int x_end, int y) {
    const int left = std::clamp(x_start, 0, record.info.width);
    const int right = std::clamp(x_end, left, record.info.width);
    return {record, std::clamp(y, 0, record.info.height - 1), left, right};
}

// Under a lock of its own, whatever the caller holds: a mode outside 1 to last_mode takes and gives
// back a write lock.
int transfer_span(const Span &span, int mode, int last_mode, void *memory) {
    const bool is_known = mode >= BUF32_LINE_READ && mode <= last_mode;
    const bool is_reading = is_known && mode % 2 == 1;
    return under_own_lock(span.record, is_reading ? BUF32_READ : BUF32_WRITE, [&] {
        return !is_known || span.transfer(line_modes[mode - 1], static_cast<std::byte *>(memory));
    });
}

} // namespace

int line(Record &record, int y, int mode, void *memory) {
    return transfer_span(whole_row(record, y), mode, BUF32_LINE_WRITE_555, memory);
}

int line_span(Record &record, void *memory, int mode, int x_start, int x_end, int y) {
    return transfer_span(clamped_span(record, x_start, x_end, y), mode, BUF32_LINE_WRITE_565,
                         memory);
}

} // namespace q32::buffer

using namespace q32::buffer;
namespace site = q32::buffer::site;

int Q32_CALL buf32Line(HBUF32 buffer, int row, int mode, void *memory) {
    if (memory == nullptr)
        return q32::fail(site::null_memory);
    Record *const record = record_of(buffer);
    if (record == nullptr)
        return 0;
    if (record->info.lock_count <= 0)
        return q32::fail(site::line_not_locked);
    return record->operations.line(*record, row, mode, memory);
}
