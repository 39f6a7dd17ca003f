/* Q32BASE for C++: locks of buffers and of cells; see q32base.hpp. */
#ifndef Q32BASE_CPP_LOCKS_HPP
#define Q32BASE_CPP_LOCKS_HPP

#include <q32base/buffers.h>
#include <q32base/cpp/errors.hpp>
#include <q32base/cpp/owner.hpp>
#include <q32base/cpp/values.hpp>

#include <cassert>

namespace q32 {

class BufferRef;
class Buffer;

namespace detail {

inline bool holds_row(HBUF32 buffer, int mode, std::size_t size);
inline bool holds_block(HBUF32 buffer, Rect area, std::size_t size);

/* A whole-buffer lock; see Lock. */
class HeldLock {
public:
    HBUF32 get() const { return buffer_; }

    /* The address of the pixels, as buf32Lock stored it. */
    void *base() const { return base_; }

    /* buf32Line: a row in a BUF32_LINE_ mode, which says where to, and what is converted. */
    template <Errors errors = Errors::thrown>
    Outcome<errors> line(int row, int mode, Bytes memory) const {
        assert(holds_row(buffer_, mode, memory.size()));
        return checked<errors>("buf32Line", repeated(buf32Line, buffer_, row, mode, memory.data()));
    }
    /* The same into memory, and out of it, as stored. */
    template <Errors errors = Errors::thrown>
    Outcome<errors> read_row(int row, Bytes memory) const {
        return line<errors>(row, BUF32_LINE_READ, memory);
    }
    template <Errors errors = Errors::thrown>
    Outcome<errors> write_row(int row, ConstBytes memory) const {
        auto *const only_read = const_cast<std::uint8_t *>(memory.data());
        return line<errors>(row, BUF32_LINE_WRITE, {only_read, memory.size()});
    }

protected:
    bool holds() const { return buffer_ != 0; }
    void give_back() const { buf32Unlock(buffer_); }

    HBUF32 buffer_ = 0;
    void *base_ = nullptr;
};

/* What buf32CellLock fills; to clear it first would take longer than to fill it. */
struct UnreadCell : BUF32CELL {
    UnreadCell() {}
};

/* A lock of one cell; see CellLock. */
class HeldCell {
public:
    HBUF32 get() const { return buffer_; }

    /* Which cell, where and how large; of a lock that holds one. */
    const BUF32CELL &cell() const { return cell_; }
    /* Its pixels; no memory where the buffer has lost them. */
    Bytes pixels() const { return {bytes(), address_ != nullptr ? cell_.bytes : 0}; }
    /* One of its rows, 0 to height - 1. */
    Bytes row(int y) const {
        assert(y >= 0 && y < cell_.height);
        const auto row_bytes = static_cast<std::size_t>(cell_.row_bytes);
        return {bytes() + static_cast<std::size_t>(y) * row_bytes, row_bytes};
    }

protected:
    bool holds() const { return buffer_ != 0; }
    void give_back() const { buf32CellUnlock(buffer_, cell_.index); }

    HBUF32 buffer_ = 0;
    void *address_ = nullptr;
    UnreadCell cell_{};

private:
    std::uint8_t *bytes() const { return static_cast<std::uint8_t *>(address_); }
};

} // namespace detail

/* A lock of a whole buffer, made by lock() and taken back by buf32Unlock. Locks nest. */
class [[nodiscard]] Lock : public detail::Owner<detail::HeldLock> {
public:
    Lock() = default;
    /* Of a lock that has been taken: its base, if it is known. */
    explicit Lock(HBUF32 buffer, void *base = nullptr) {
        buffer_ = buffer;
        base_ = base;
    }
};

/* A lock of one cell, made by lock_cell() and taken back by buf32CellUnlock. */
class [[nodiscard]] CellLock : public detail::Owner<detail::HeldCell> {
public:
    CellLock() = default;

private:
    friend class BufferRef;
};

namespace detail {

class HeldLayout {
public:
    HeldLayout() = default;
    HeldLayout(HBUF32 buffer, HGLOBAL bitmap) : buffer_(buffer), bitmap_(bitmap) {}

    HGLOBAL get() const { return bitmap_; }

protected:
    bool holds() const { return buffer_ != 0; }
    void give_back() const { buf32DIBToDIBBuf(buffer_); }

private:
    HBUF32 buffer_ = 0;
    HGLOBAL bitmap_ = nullptr;
};

} // namespace detail

/*
 * The time for which the pixels of a bitmap buffer lie as Windows has them, made by
 * to_bitmap_layout(); get() is the bitmap, null for a bare block of pixels. Ended by
 * buf32DIBToDIBBuf; nothing else may be done with the buffer until then.
 */
using BitmapLayout = detail::Owner<detail::HeldLayout>;

} // namespace q32

#endif
