// Rows of resampling (resample.h).
#include "tests/hostile/callbacks.h"
#include "tests/hostile/world.h"

#include "tests/frame/calls.h"

#include <climits>

namespace q32::test {
namespace {

constexpr int sides[] = {0,     1,     -1,    2,       127,         128,     129,
                         31999, 32000, 32001, INT_MAX, INT_MAX / 4, INT_MIN, INT_MIN + 1};

// No side asks for as much memory as there just is.
int some_side(Draw &draw) {
    return draw.is_hostile() ? sides[draw.random.below(std::size(sides))] : draw.between(1, 150);
}
Argument side_to_resample() {
    return {Argument::number,
            [](Draw &draw, std::size_t) -> Drawn { return std::uint32_t(some_side(draw)); }};
}
Argument method() {
    return among({RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC, 0, 3});
}

Argument size() {
    return record<SIZE>([](Draw &draw, SIZE &size) {
        size.cx = some_side(draw);
        size.cy = some_side(draw);
    });
}

Argument progress() {
    return {Argument::record, [](Draw &draw, std::size_t) -> Drawn {
                if (draw.random.below(2) == 0)
                    return 0;
                const RESAMPLEPROGRESS filled{draw.between(0, 1),
                                              draw.is_hostile() ? nullptr : progress_callback,
                                              std::uintptr_t(draw.random.next()),
                                              draw.is_hostile() ? any_number(draw.random) : 0,
                                              draw.is_hostile() ? any_number(draw.random) : 100};
                auto *const place = draw.memory.take(draw.random, sizeof filled);
                std::memcpy(place, &filled, sizeof filled);
                return word_of(place);
            }};
}

// --- tables --------------------------------------------------------------------------------------

Argument table_slot() {
    return {Argument::record, [](Draw &draw, std::size_t) -> Drawn {
                if (draw.random.below(100) < draw.percent / 4)
                    return 0;
                return word_of(draw.memory.take(draw.random, sizeof(std::int32_t *)));
            }};
}

void keep_tables(Draw &draw, Word result) {
    if (result != 1)
        return;
    HeldTables held;
    for (std::size_t i = 0; i < 4; ++i)
        std::memcpy(&held.tables[i], draw.at<void *>(3 + i), sizeof held.tables[i]);
    draw.world.tables.push_back(held);
}

// Four tables at a time, or some of them, the others being null.
Argument table(std::size_t which) {
    return {Argument::number, [=](Draw &draw, std::size_t) -> Drawn {
                if (draw.world.tables.empty() || draw.is_hostile())
                    return 0;
                return word_of(draw.world.tables.back().tables[which]);
            }};
}
void forget_tables(Draw &draw, Word) {
    for (std::size_t i = 0; i < 4; ++i)
        if (draw.words[i] != 0)
            draw.world.tables.back().tables[i] = nullptr;
    if (!draw.world.tables.empty() &&
        draw.world.tables.back().tables == std::array<std::int32_t *, 4>{})
        draw.world.tables.pop_back();
}

// --- frames --------------------------------------------------------------------------------------

BITMAPINFOHEADER some_header(Draw &draw) {
    constexpr WORD depths[] = {8, 16, 24, 32};
    BITMAPINFOHEADER header;
    std::memset(&header, int(draw.random.byte()), sizeof header);
    header.biWidth = draw.is_hostile() ? any_number(draw.random) : draw.between(1, 90);
    header.biHeight = draw.is_hostile() ? any_number(draw.random) : draw.between(1, 60);
    header.biBitCount = draw.is_hostile() ? WORD(any_number(draw.random))
                                          : depths[draw.random.below(std::size(depths))];
    return header;
}
Argument header() {
    return record<BITMAPINFOHEADER>(
        [](Draw &draw, BITMAPINFOHEADER &header) { header = some_header(draw); });
}

BITMAPINFOHEADER header_of(const Draw &draw) {
    BITMAPINFOHEADER header{};
    if (draw.words[2] != 0)
        std::memcpy(&header, draw.at<void>(2), sizeof header);
    return header;
}
// Rows padded to 4 bytes; of the destination the last one's padding may be missing.
std::int64_t frame_bytes(const BITMAPINFOHEADER &header, std::int64_t width, std::int64_t height,
                         bool padded_to_the_end) {
    const int bits = header.biBitCount;
    if (width < 1 || height < 1 || (bits != 8 && bits != 16 && bits != 24 && bits != 32))
        return 0;
    const std::int64_t row = width * (bits / 8), padded = (row + 3) / 4 * 4;
    return padded * (height - 1) + (padded_to_the_end ? padded : row);
}
std::int64_t source_frame(const Draw &draw) {
    const BITMAPINFOHEADER header = header_of(draw);
    return frame_bytes(header, header.biWidth, header.biHeight, true);
}
std::int64_t destination_frame(const Draw &draw) {
    return frame_bytes(header_of(draw), draw[4], draw[5], false);
}

// Tables of the caller's own, with an entry for each column and row, and anything in them.
Argument own_tables() {
    return {Argument::memory, [](Draw &draw, std::size_t) -> Drawn {
                if (draw.random.below(3) == 0)
                    return 0;
                VCRESAMPLE record;
                std::memset(&record, int(draw.random.byte()), sizeof record);
                const auto table = [&](std::int64_t entries) -> std::int32_t * {
                    const std::int64_t size = 4 * std::max<std::int64_t>(entries, 0);
                    if (size > std::int64_t(Memory::most_bytes) || draw.is_hostile())
                        return nullptr;
                    auto *const begin = draw.memory.take(draw.random, std::size_t(size));
                    return reinterpret_cast<std::int32_t *>(begin);
                };
                record.column_index = table(draw[4]);
                record.column_fraction = table(draw[4]);
                record.row_index = table(draw[5]);
                record.row_fraction = table(draw[5]);
                auto *const place = draw.memory.take(draw.random, sizeof record);
                std::memcpy(place, &record, sizeof record);
                return word_of(place);
            }};
}

// A record whose tables are made, and freed by the row of vcResampleEnd.
Argument record_to_make() {
    return record<VCRESAMPLE>([](Draw &draw, VCRESAMPLE &record) {
        std::memset(&record, 0x77, sizeof record);
        auto *const header = reinterpret_cast<BITMAPINFOHEADER *>(
            draw.memory.take(draw.random, sizeof(BITMAPINFOHEADER)));
        BITMAPINFOHEADER filled = some_header(draw);
        if (filled.biWidth > 32001)
            filled.biWidth = INT_MAX;
        std::memcpy(header, &filled, sizeof filled);
        record.source = draw.is_hostile() ? nullptr : header;
        record.width = some_side(draw);
        record.height = some_side(draw);
        record.method = draw.is_hostile() ? any_number(draw.random) : draw.between(0, 4);
    });
}

void keep_records_tables(Draw &draw, Word result) {
    if (result != 1)
        return;
    VCRESAMPLE record;
    std::memcpy(&record, draw.at<void>(0), sizeof record);
    draw.world.tables.push_back(
        {{record.column_index, record.column_fraction, record.row_index, record.row_fraction}});
}

Argument record_to_end() {
    return {Argument::record, [](Draw &draw, std::size_t) -> Drawn {
                VCRESAMPLE record;
                std::memset(&record, int(draw.random.byte()), sizeof record);
                record.column_index = nullptr;
                if (!draw.world.tables.empty() && !draw.is_hostile()) {
                    const auto &tables = draw.world.tables.back().tables;
                    if (tables[0] != nullptr) {
                        record.column_index = tables[0];
                        record.column_fraction = tables[1];
                        record.row_index = tables[2];
                        record.row_fraction = tables[3];
                    }
                } else if (draw.random.below(2) == 0) {
                    return 0;
                }
                auto *const place = draw.memory.take(draw.random, sizeof record);
                std::memcpy(place, &record, sizeof record);
                return word_of(place);
            }};
}
void records_tables_are_gone(Draw &draw, Word) {
    VCRESAMPLE record;
    if (draw.words[0] == 0)
        return;
    std::memcpy(&record, draw.at<void>(0), sizeof record);
    if (record.column_index != nullptr)
        draw.world.tables.pop_back();
}

Argument yes_or_no() {
    return in(0, 1);
}

const Row rows[] = {
    {"q32BufferResample", {size(), any_buffer(), buffer_slot(true), progress()}, 10},
    {"q32BufferResampleEx",
     {size(), any_buffer(), buffer_slot(true), progress(), yes_or_no(), method()},
     16},
    {"q32FreeBiCubicTable", {}, 2, nullptr, false},
    {"q32FreeResampleTable", {table(0), table(1), table(2), table(3)}, 4, forget_tables, false},
    {"q32InitResampleTable",
     {any_buffer(), any_buffer(), in(0, 2), table_slot(), table_slot(), table_slot(), table_slot()},
     6,
     keep_tables},
    {"vcResample",
     {in(0, 2), memory(source_frame), header(), memory(destination_frame), side_to_resample(),
      side_to_resample(), method()},
     8},
    {"vcResampleEnd", {record_to_end()}, 4, records_tables_are_gone},
    {"vcResampleEx",
     {in(0, 2), memory(source_frame), header(), memory(destination_frame), side_to_resample(),
      side_to_resample(), method(), own_tables()},
     8},
    {"vcResampleInit", {record_to_make()}, 4, keep_records_tables},
};

} // namespace

std::span<const Row> resample_rows() {
    return rows;
}

} // namespace q32::test
