// Records of tables that the caller has made: numbers that cannot be left or written, beside fields
// that nobody is to look at.
#pragma once

#include "tests/resample_frames/frame_fixture.h"

#include <functional>
#include <memory>

namespace q32::test {

using model::Axis;

// Numbers that end at an inaccessible page and cannot be written.
class Table {
public:
    explicit Table(const std::vector<std::int32_t> &numbers)
        : memory_(std::max<std::size_t>(numbers.size() * 4, 1)), count_(numbers.size()) {
        std::copy(numbers.begin(), numbers.end(), data());
        DWORD before;
        VirtualProtect(memory_.begin(), memory_.size(), PAGE_READONLY, &before);
    }
    std::int32_t *data() const { return reinterpret_cast<std::int32_t *>(memory_.end()) - count_; }

private:
    FencedMemory memory_;
    std::size_t count_;
};

// Memory of which no byte can be read.
inline void *nowhere() {
    static const FencedMemory fence(1);
    return fence.end();
}

// What nobody looks at.
enum class Beside { zeros, nonsense };

// A record of such tables. Where there are no fractions it has none.
class OwnTables {
public:
    OwnTables(const Axis &columns, const Axis &rows, Beside beside = Beside::nonsense) {
        record.column_index = table(columns.index);
        record.column_fraction = table(columns.fraction);
        record.row_index = table(rows.index);
        record.row_fraction = table(rows.fraction);
        if (beside == Beside::zeros)
            return;
        record.source = static_cast<const BITMAPINFOHEADER *>(nowhere());
        record.width = -5;
        record.height = INT_MIN;
        record.method = 0x12345678;
    }

    VCRESAMPLE record{};

private:
    std::int32_t *table(const std::vector<std::int32_t> &numbers) {
        if (numbers.empty())
            return nullptr;
        tables_.push_back(std::make_unique<Table>(numbers));
        return tables_.back()->data();
    }
    std::vector<std::unique_ptr<Table>> tables_;
};

inline Axis counted(int count, const std::function<int(int)> &index, int fraction = 0) {
    Axis axis;
    for (int i = 0; i < count; ++i) {
        axis.index.push_back(index(i));
        axis.fraction.push_back(fraction);
    }
    return axis;
}
inline Axis as_it_is(int count) {
    return counted(count, [](int i) { return i; });
}
inline Axis mirrored(int count) {
    return counted(count, [=](int i) { return count - 1 - i; });
}
inline Axis constant(int count, int index, int fraction = 0) {
    return counted(
        count, [=](int) { return index; }, fraction);
}
inline Axis without_fractions(Axis axis) {
    axis.fraction.clear();
    return axis;
}

} // namespace q32::test
