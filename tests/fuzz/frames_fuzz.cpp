// Frames by headers that may say anything, with the library's tables or with tables of the
// caller's: at every instruction set the same bytes.
#include "resample/resample.h"
#include "rows/rows.h"
#include "tests/fuzz/forms.h"
#include "tests/fuzz/system/machine.h"

#include <q32base/buffers.h>
#include <q32base/resample.h>

#include <memory>

// Nobody has buffers here.
int Q32_CALL buf32GetWHU(HBUF32, int *, int *, int *) {
    return 0;
}

namespace q32::fuzz {
namespace {

constexpr std::int64_t most_bytes = 100000;

std::int64_t row_bytes_of(std::int64_t width, int bits) {
    return (width * (bits / 8) + 3) / 4 * 4;
}
// The last row may lack its padding.
std::int64_t bytes_of(std::int64_t width, std::int64_t height, int bits) {
    return width < 1 || height < 1 ? 0
                                   : (height - 1) * row_bytes_of(width, bits) + width * (bits / 8);
}

struct Call {
    int nearest, method;
    BITMAPINFOHEADER header;
    int width, height;

    std::int64_t source_bytes() const {
        return bytes_of(header.biWidth, header.biHeight, header.biBitCount);
    }
    std::int64_t destination_bytes() const { return bytes_of(width, height, header.biBitCount); }
};

int side_of(Input &input, std::size_t most) {
    return input.below(16) == 0 ? input.any_int() : int(input.length(most));
}

Call call_of(Input &input) {
    constexpr int depths[] = {8, 16, 24, 32};
    Call call{};
    call.nearest = input.between(0, 2);
    call.method = input.below(8) == 0 ? input.any_int() : input.between(0, 4);
    call.header.biBitCount =
        WORD(input.below(8) == 0 ? input.byte() : depths[input.below(std::size(depths))]);
    call.header.biWidth = side_of(input, 500);
    call.header.biHeight = side_of(input, 40) % 64;
    call.width = side_of(input, 500);
    call.height = side_of(input, 40) % 64;
    return call;
}

// A table of the caller's own, or none.
Block table_of(Input &input, int count) {
    Bytes table;
    const bool is_hostile = input.flag();
    for (int i = 0; i < count; ++i) {
        const std::int32_t entry = is_hostile ? input.any_int() : i;
        const auto *const bytes = reinterpret_cast<const std::uint8_t *>(&entry);
        table.insert(table.end(), bytes, bytes + sizeof entry);
    }
    return Block(table);
}
std::int32_t *numbers(const Block &block, bool is_there) {
    void *const memory = block.at();
    return is_there ? static_cast<std::int32_t *>(memory) : nullptr;
}

struct Tables {
    Block column_index, column_fraction, row_index, row_fraction;
    std::uint8_t there;

    Tables(Input &input, int width, int height)
        : column_index{table_of(input, width)},
          column_fraction{table_of(input, width)}, row_index{table_of(input, height)},
          row_fraction{table_of(input, height)}, there{input.byte()} {}

    // One of them is missing now and then.
    VCRESAMPLE record() const {
        const auto has = [this](int table) { return there % 16 != table; };
        return {.column_index = numbers(column_index, has(0)),
                .column_fraction = numbers(column_fraction, has(1)),
                .row_index = numbers(row_index, has(2)),
                .row_fraction = numbers(row_fraction, has(3))};
    }
};

int resample(const Call &call, const Blocks &blocks, const Tables *tables) {
    BITMAPINFOHEADER header = call.header;
    int result = 0;
    if (tables != nullptr) {
        VCRESAMPLE record = tables->record();
        result = vcResampleEx(call.nearest, blocks[1].at(), &header, blocks[0].at(), call.width,
                              call.height, call.method, &record);
    } else {
        result = vcResample(call.nearest, blocks[1].at(), &header, blocks[0].at(), call.width,
                            call.height, call.method);
    }
    check(header.biBitCount == call.header.biBitCount, "a header does not say what it said");
    return result;
}

void resample_everywhere(Input &input) {
    const Call call = call_of(input);
    if (call.source_bytes() > most_bytes || call.destination_bytes() > most_bytes)
        return;
    const bool is_scaled = call.destination_bytes() > 0;
    std::unique_ptr<Tables> tables;
    if (input.flag())
        tables = std::make_unique<Tables>(input, is_scaled ? call.width : 1,
                                          is_scaled ? call.height : 1);
    const int memory = input.below(16) == 0 ? int(input.below(8)) : INT32_MAX;
    const std::vector<Place> places{place(input, std::size_t(call.destination_bytes())),
                                    place(input, std::size_t(call.source_bytes()))};
    std::vector<Bytes> expected;
    int expected_result = 0;
    for (const InstructionSet set : test::sets_of_this_machine()) {
        chosen_kernels<rows::RowKernels> = &rows::row_kernels(set);
        chosen_kernels<resample::ResampleKernels> = &resample::resample_kernels(set);
        Blocks blocks;
        for (const Place &place : places)
            blocks.emplace_back(place.content, place.shift);
        machine().allocations_left = memory;
        const int result = resample(call, blocks, tables.get());
        check(blocks[1].content() == places[1].content, "a source is changed");
        std::vector<Bytes> after{blocks[0].content()};
        if (expected.empty()) {
            expected = after;
            expected_result = result;
        } else {
            check(after == expected && result == expected_result,
                  "a frame differs with the instruction set");
        }
    }
}

// Tables that the library makes for a record.
void make_tables(Input &input) {
    const Call call = call_of(input);
    if (call.width > most_bytes || call.height > most_bytes)
        return;
    VCRESAMPLE record{
        .source = &call.header, .width = call.width, .height = call.height, .method = call.method};
    if (input.below(16) == 0)
        machine().allocations_left = int(input.below(6));
    const bool has_tables = vcResampleInit(&record) != 0;
    check(has_tables == (record.column_index != nullptr), "tables are there that are not");
    if (has_tables) {
        for (int x = 0; x < call.width; ++x)
            check(record.column_index[x] >= 0 && record.column_index[x] < call.header.biWidth,
                  "a column lies outside the source");
        vcResampleEnd(&record);
    }
}

} // namespace
} // namespace q32::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    Input input(data, size);
    machine().allocations_left = INT32_MAX;
    const std::size_t blocks = machine().blocks;
    const bool had_coefficients = q32::resample::coefficient_table_was_made();
    if (input.flag())
        make_tables(input);
    else
        resample_everywhere(input);
    q32::resample::free_kept_tables();
    const std::size_t made = had_coefficients ? 0 : q32::resample::coefficient_table_was_made();
    check(machine().blocks == blocks + made, "memory stays allocated");
    return 0;
}
