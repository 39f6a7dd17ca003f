// Row transfer. A row of the image is taken as one run of bytes that the cells of its band hold in
// pieces: every cell but the last is 128 pixels wide, so that pieces meet at whole bytes.
#include "buffer/lines.h"

#include "buffer/failures.h"
#include "library/process/owners.h"

#include <q32base/rows.h>

#include <algorithm>
#include <cstring>
#include <xmmintrin.h>

namespace q32::buffer {
namespace {

// --- stored bytes -----------------------------------------------------------------------------

enum class Direction { to_memory, to_buffer };

// The bytes begin to end - 1 of image row y.
struct StoredRun {
    int y;
    uint32_t begin, end;
    uint32_t size() const { return end - begin; }
};

// The rows of a cell lie one behind the other: a caller who walks the image row by row finds the
// pieces of coming rows in the cache. Into its second level: the pieces of a whole image row ahead
// would push the row at hand out of the first. Reaching beyond the storage is harmless.
void prefetch_coming_row(const std::byte *piece, uint32_t row_bytes) {
    constexpr uint32_t cache_line = 64, rows_ahead = 4;
    const char *const ahead = reinterpret_cast<const char *>(piece) + rows_ahead * row_bytes;
    for (uint32_t offset = 0; offset < row_bytes; offset += cache_line)
        _mm_prefetch(ahead + offset, _MM_HINT_T1);
}

// All cells of a one-colour buffer are its block.
std::byte *cell_of(Record &owner, int index) {
    return owner.info.type == BUF32_ONE_COLOUR ? owner.storage : owner.cell_address[index];
}

template <Direction direction>
void copy_stored(Record &record, const StoredRun &run, std::byte *memory) {
    const BUF32INFO &info = record.info;
    Record &owner = record.owner();
    const int first_cell = run.y / info.cell_height * info.cell_columns;
    const uint32_t row_in_cell = uint32_t(run.y % info.cell_height);

    uint32_t position = run.begin;
    int column = int(position / record.cell_row_bytes);
    while (position < run.end) {
        const bool last = column == info.cell_columns - 1;
        const uint32_t row_bytes = last ? record.last_column_row_bytes : record.cell_row_bytes;
        const uint32_t cell_begin = uint32_t(column) * record.cell_row_bytes;
        const uint32_t in_cell = position - cell_begin;
        const uint32_t size = std::min(row_bytes - in_cell, run.end - position);

        std::byte *const piece =
            cell_of(owner, first_cell + column) + size_t(row_in_cell) * row_bytes + in_cell;
        prefetch_coming_row(piece, size);
        if constexpr (direction == Direction::to_memory)
            std::memcpy(memory, piece, size);
        else
            std::memcpy(piece, memory, size);
        memory += size;
        position += size;
        ++column;
    }
}

// --- pixels that do not begin or end at whole bytes ---------------------------------------------

// The bits begin to end - 1 of an image row; the highest bit of a byte comes first.
struct BitRun {
    uint32_t begin, end;

    StoredRun bytes_of_row(int y) const { return {y, begin / 8, (end + 7) / 8}; }
    uint32_t shift() const { return begin % 8; }
    uint32_t packed_size() const { return (end - begin + 7) / 8; }
    bool is_whole_bytes(uint32_t row_bits) const {
        return begin % 8 == 0 && (end % 8 == 0 || end == row_bits);
    }
};

unsigned byte_at(const std::byte *bytes, uint32_t index, uint32_t size) {
    return index < size ? unsigned(bytes[index]) : 0;
}

// Moves bits up so that the first one becomes the highest bit of the first byte.
void shift_to_start(std::byte *bits, uint32_t stored_size, uint32_t packed_size, uint32_t shift) {
    for (uint32_t i = 0; i < packed_size; ++i) {
        const unsigned pair =
            byte_at(bits, i, stored_size) << 8 | byte_at(bits, i + 1, stored_size);
        bits[i] = std::byte(pair << shift >> 8);
    }
}

// Writes packed bits over the stored ones; bits outside the run stay.
void merge_shifted(std::byte *stored, uint32_t stored_size, const std::byte *packed,
                   const BitRun &run) {
    const uint32_t packed_size = run.packed_size();
    const uint32_t bits_behind = stored_size * 8 - run.shift() - (run.end - run.begin);
    for (uint32_t i = 0; i < stored_size; ++i) {
        const unsigned before = i == 0 ? 0 : byte_at(packed, i - 1, packed_size);
        const unsigned pair = before << 8 | byte_at(packed, i, packed_size);
        unsigned mask = 0xFF;
        if (i == 0)
            mask &= 0xFFu >> run.shift();
        if (i == stored_size - 1)
            mask &= 0xFFu << bits_behind;
        const unsigned value = pair >> run.shift();
        stored[i] = std::byte((value & mask) | (unsigned(stored[i]) & ~mask));
    }
}

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

// Reads the run's pixels into memory, packed from its first bit on. Memory has room for the bytes
// that they touch.
void read_packed(Record &record, int y, const BitRun &run, std::byte *memory) {
    const StoredRun stored = run.bytes_of_row(y);
    copy_stored<Direction::to_memory>(record, stored, memory);
    if (run.shift() != 0)
        shift_to_start(memory, stored.size(), run.packed_size(), run.shift());
}

// Writes packed pixels over the run, by way of a stage where neighbours share its first or last
// byte.
bool write_packed(Record &record, int y, const BitRun &run, std::byte *packed) {
    const StoredRun stored = run.bytes_of_row(y);
    if (run.is_whole_bytes(uint32_t(record.info.width) * uint32_t(record.info.bits_per_pixel))) {
        copy_stored<Direction::to_buffer>(record, stored, packed);
        return true;
    }
    auto *const stage = global_alloc<std::byte>(GMEM_FIXED, stored.size());
    const GlobalBlock owned(stage);
    if (stage == nullptr)
        return false;
    copy_stored<Direction::to_memory>(record, stored, stage);
    merge_shifted(stage, stored.size(), packed, run);
    copy_stored<Direction::to_buffer>(record, stored, stage);
    return true;
}

// One pixel run of a row, with the buffer locked.
class RowTransfer {
public:
    RowTransfer(Record &record, int y, int x_start, int x_end, const LineMode &mode)
        : record_(record), y_(y), pixels_(x_end - x_start),
          mode_(mode), run_{bits_to(x_start), bits_to(x_end)} {}

    bool run(std::byte *memory) {
        if (record_.owner().storage == nullptr)
            return false;
        if (pixels_ <= 0)
            return true;
        if (mode_.convert == nullptr && needs_no_stage())
            return transfer(memory);
        return transfer_staged(memory);
    }

private:
    uint32_t bits_to(int x) const { return uint32_t(x) * uint32_t(record_.info.bits_per_pixel); }

    bool needs_no_stage() const {
        return mode_.direction == Direction::to_buffer ||
               run_.bytes_of_row(y_).size() == run_.packed_size();
    }

    bool transfer(std::byte *packed) {
        if (mode_.direction == Direction::to_buffer)
            return write_packed(record_, y_, run_, packed);
        read_packed(record_, y_, run_, packed);
        return true;
    }

    // The stage holds what the conversion takes or gives, and what the row stores: on a depth that
    // the mode is not meant for these differ, and missing bytes are zero.
    bool transfer_staged(std::byte *memory) {
        const uint32_t converted = packed_bytes(pixels_, mode_.stored_bits);
        const uint32_t bytes = std::max(run_.bytes_of_row(y_).size(), converted);
        auto *const stage = global_alloc<std::byte>(GMEM_ZEROINIT, bytes);
        const GlobalBlock owned(stage);
        if (stage == nullptr)
            return false;
        if (mode_.direction == Direction::to_buffer) {
            mode_.convert(stage, memory, pixels_);
            return transfer(stage);
        }
        transfer(stage);
        if (mode_.convert != nullptr)
            mode_.convert(memory, stage, pixels_);
        else
            std::memcpy(memory, stage, run_.packed_size());
        return true;
    }

    Record &record_;
    int y_;
    int pixels_;
    const LineMode &mode_;
    BitRun run_;
};

bool is_read_mode(int mode, int last_mode) {
    return mode % 2 == 1 && mode >= BUF32_LINE_READ && mode <= last_mode;
}

// The lock of the transfer's own, whatever the caller holds: a mode outside 1 to last_mode takes
// and gives back a write lock.
int transfer_run(Record &record, int y, int x_start, int x_end, int mode, int last_mode,
                 void *memory) {
    const int lock_mode = is_read_mode(mode, last_mode) ? BUF32_READ : BUF32_WRITE;
    if (!record.operations.lock(record, lock_mode, nullptr))
        return 0;
    bool done = true;
    if (mode >= BUF32_LINE_READ && mode <= last_mode)
        done = RowTransfer(record, y, x_start, x_end, line_modes[mode - 1])
                   .run(static_cast<std::byte *>(memory));
    return record.operations.unlock(record) && done;
}

} // namespace

int line(Record &record, int y, int mode, void *memory) {
    const int row = std::clamp(y, 0, record.info.height - 1);
    return transfer_run(record, row, 0, record.info.width, mode, BUF32_LINE_WRITE_555, memory);
}

int line_span(Record &record, void *memory, int mode, int x_start, int x_end, int y) {
    const int row = std::clamp(y, 0, record.info.height - 1);
    const int begin = std::clamp(x_start, 0, record.info.width);
    const int end = std::clamp(x_end, begin, record.info.width);
    return transfer_run(record, row, begin, end, mode, BUF32_LINE_WRITE_565, memory);
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
