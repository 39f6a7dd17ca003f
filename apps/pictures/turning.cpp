// Turning, tile by tile: a row of the one picture is a column of the other, and of large pictures
// neither the rows nor the columns of a whole one fit into the processor's caches.
#include "turning.h"

#include "apps/pictures/edition.h"
#include "apps/pictures/exceptions.h"

#include <q32base/errors.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace apps {
namespace {

constexpr int tile_side = 128; // of a buffer's cells

// Where a turned picture's pixel comes from: x and y change places first, and are then counted from
// the other edge of the picture before.
struct Turn {
    bool exchanges, from_right, from_bottom;

    bool operator==(const Turn &) const = default;
};

constexpr std::array<Turn, 8> turns = {{
    {false, false, false},
    {false, true, false},
    {false, true, true},
    {false, false, true},
    {true, false, false},
    {true, false, true},
    {true, true, true},
    {true, true, false},
}};

// Numbers that are no orientation leave a picture as it stands.
Turn turn_of(int orientation) {
    const bool exists = orientation >= 1 && orientation <= static_cast<int>(turns.size());
    return turns[exists ? static_cast<size_t>(orientation) - 1 : 0];
}

Size exchanged(Size size) {
    return {size.height, size.width};
}

// The part of a picture of this size from which a part of the turned one is made.
Area source_of(const Area &area, const Turn &turn, Size size) {
    Area from = turn.exchanges ? Area{area.top, area.left, area.bottom, area.right} : area;
    if (turn.from_right)
        from = {size.width - from.right, from.top, size.width - from.left, from.bottom};
    if (turn.from_bottom)
        from = {from.left, size.height - from.bottom, from.right, size.height - from.top};
    return from;
}

// Both blocks are packed; size: of the one that is made.
template <size_t bytes>
void turn_block(const uint8_t *from, uint8_t *to, Size size, const Turn &turn) {
    const Size before = turn.exchanges ? exchanged(size) : size;
    const ptrdiff_t across = bytes, down = static_cast<ptrdiff_t>(bytes) * before.width;
    if (turn.from_right)
        from += across * (before.width - 1);
    if (turn.from_bottom)
        from += down * (before.height - 1);
    ptrdiff_t along_row = turn.from_right ? -across : across;
    ptrdiff_t along_column = turn.from_bottom ? -down : down;
    if (turn.exchanges)
        std::swap(along_row, along_column);
    for (int y = 0; y < size.height; ++y) {
        const uint8_t *const row = from + along_column * y;
        for (int x = 0; x < size.width; ++x, to += bytes)
            std::memcpy(to, row + along_row * x, bytes);
    }
}

class Turning {
public:
    Turning(HBUF32 picture, const Turn &turn, const BUF32INFO &info, const std::string &named)
        : picture_(picture), turn_(turn), size_{info.width, info.height},
          bytes_(static_cast<size_t>(info.bytes_per_pixel)), named_(named),
          before_(tile_side * tile_side * bytes_), after_(before_.size()) {}

    Size size() const { return turn_.exchanges ? exchanged(size_) : size_; }

    void make(HBUF32 result, const Area &area) {
        const Area from = source_of(area, turn_, size_);
        if (!buf32GetMem(picture_, from.left, from.top, from.width(), from.height(),
                         before_.data()))
            throw library_failure(named_, "its pixels cannot be read");
        (bytes_ == 1 ? turn_block<1> : turn_block<3>)(before_.data(), after_.data(), area.size(),
                                                      turn_);
        if (!buf32MergeMem(result, area.left, area.top, after_.data(), area.width(), area.height()))
            throw library_failure(named_, "its pixels cannot be stored");
    }

private:
    HBUF32 picture_;
    Turn turn_;
    Size size_;
    size_t bytes_;
    const std::string &named_;
    std::vector<uint8_t> before_, after_;
};

Buffer new_buffer(int bits, Size size, uint32_t type, const std::string &named) {
    HBUF32 handle = 0;
    if (!buf32Alloc(&handle, bits, size.width, size.height, type, nullptr))
        throw library_failure(named, "no buffer for the turned picture",
                              last_report().message == Q32_MSG_NO_MEMORY ? room_remedy : "");
    return Buffer(handle);
}

} // namespace

// The second turn's mirrors are those of a picture whose sides the first may have exchanged.
int turned_twice(int first, int second) {
    const Turn one = turn_of(first), other = turn_of(second);
    const bool right = one.exchanges ? other.from_bottom : other.from_right;
    const bool bottom = one.exchanges ? other.from_right : other.from_bottom;
    const Turn both = {one.exchanges != other.exchanges, one.from_right != right,
                       one.from_bottom != bottom};
    return 1 + static_cast<int>(std::find(turns.begin(), turns.end(), both) - turns.begin());
}

Buffer turned(HBUF32 picture, int orientation, uint32_t type, const std::string &named) {
    BUF32INFO info = {};
    if (!buf32GetInfo(picture, &info) || (info.bits_per_pixel != 8 && info.bits_per_pixel != 24))
        throw Failure(named, "only pictures of 8 and 24 bits can be turned");
    Turning turning(picture, turn_of(orientation), info, named);
    const Size size = turning.size();
    Buffer result = new_buffer(info.bits_per_pixel, size, type, named);
    for (int top = 0; top < size.height; top += tile_side)
        for (int left = 0; left < size.width; left += tile_side)
            turning.make(result.get(),
                         intersect(area_of(left, top, tile_side, tile_side), area_of({}, size)));
    return result;
}

} // namespace apps
