// Resampling of buffers and frames, and what it makes once for the process.
#include "tests/failing_calls/stage.h"

namespace q32::test {
namespace {

// Few rows: each of them calls what may fail.
constexpr SIZE smaller{90, 6};
constexpr int few_rows = 8;

// --- tables --------------------------------------------------------------------------------------

SCENARIO(q32InitResampleTable, OfTwoBuffers) {
    may_report({{1001, 1, 8, 16}, {3200, 1, 8, 13}, {3200, 1, 8, 14}});
    const Filled source;
    const Buffer destination(24, 90, 70);
    int32_t *tables[4] = {};
    call(source, destination, 0, &tables[0], &tables[1], &tables[2], &tables[3]);
    for (int32_t *const table : tables) {
        see(bytes_at(table, 70 * sizeof *table));
        free_block(GlobalHandle(table));
    }
}

SCENARIO(q32FreeResampleTable, OfTwoBuffers) {
    const Filled source;
    const Buffer destination(24, 90, 70);
    int32_t *tables[4] = {};
    EXPECT_SUCCESS(api().q32InitResampleTable(source, destination, 0, &tables[0], &tables[1],
                                              &tables[2], &tables[3]));
    does(tables[0], tables[1], tables[2], tables[3]);
}

FIRST_CALL(q32FreeBiCubicTable, ThatWasMade) {
    const Filled source;
    HBUF32 made = 0;
    EXPECT_SUCCESS(
        api().q32BufferResampleEx(&smaller, source, &made, nullptr, 0, RESAMPLE_BICUBIC));
    const Buffer owner(made);
    call();
}

// --- buffers -------------------------------------------------------------------------------------

SCENARIO(q32BufferResample, ColoursIntoANewOne) {
    may_report({{1001, 0, 4, 9},
                {1001, 1, 12, 961},
                {1001, 1, 12, 1100},
                {1001, 1, 12, 1114},
                {5206, 1, 12, 918}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Filled source(24, BUF32_TILED_FILE);
    HBUF32 made = 0;
    call(&smaller, source, &made, nullptr);
    const Buffer owner(made);
    see(made);
}

SCENARIO(q32BufferResample, BitsIntoANewOne) {
    may_report(
        {{1001, 0, 4, 9}, {1001, 0, 8, 18}, {1001, 1, 8, 16}, {3200, 1, 8, 13}, {3200, 1, 8, 14}});
    may_be_silent({"GlobalAlloc", "IsBadReadPtr", "IsBadWritePtr"});
    const Filled source(1);
    HBUF32 made = 0;
    call(&smaller, source, &made, nullptr);
    const Buffer owner(made);
    see(made);
}

int __stdcall go_on(int, int, int, uintptr_t) {
    return 1;
}

// One way of resampling, into a given buffer that shares its pixels.
class IntoADuplicate : public ScenarioOf<&frame::Api::q32BufferResampleEx> {
protected:
    void resample(int bits, int row_path, int method) {
        fails_at_work();
        const Filled source(bits);
        const bool by_cells = row_path == 0 && (bits == 8 || bits == 24);
        const Filled other(bits, BUF32_TILED, 150, by_cells ? 135 : few_rows);
        const Buffer duplicate(duplicate_of(other));
        HBUF32 destination = duplicate;
        RESAMPLEPROGRESS progress{1, go_on, 0, 0, 100};
        call(&smaller, source, &destination, &progress, row_path, method);
        see(duplicate);
        see(other);
    }
};

#define INTO_A_DUPLICATE(name)                                                                     \
    Q32_SCENARIO(IntoADuplicate, q32BufferResampleEx, name, Library::shared)
INTO_A_DUPLICATE(BitsByRows) {
    may_report({{1001, 0, 8, 18}, {1001, 1, 8, 16}, {3200, 1, 8, 13}, {3200, 1, 8, 14}});
    may_be_silent({"GlobalAlloc", "IsBadReadPtr", "IsBadWritePtr"});
    resample(1, 0, RESAMPLE_NEAREST);
}
INTO_A_DUPLICATE(ColoursByRows) {
    may_report(
        {{1001, 0, 8, 18}, {1001, 1, 4, 17}, {1001, 1, 8, 16}, {3200, 1, 8, 13}, {3200, 1, 8, 14}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    resample(24, 1, RESAMPLE_NEAREST);
}
INTO_A_DUPLICATE(WordsByRows) {
    may_report(
        {{1001, 0, 8, 18}, {1001, 1, 4, 17}, {1001, 1, 8, 16}, {3200, 1, 8, 13}, {3200, 1, 8, 14}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    resample(16, 0, RESAMPLE_BILINEAR);
}
INTO_A_DUPLICATE(NearestByCells) {
    may_report({{1001, 1, 12, 741}, {1001, 1, 12, 755}, {5206, 1, 12, 643}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    resample(24, 0, RESAMPLE_NEAREST);
}
INTO_A_DUPLICATE(BilinearByCells) {
    may_report({{1001, 1, 12, 961}, {1001, 1, 12, 1100}, {1001, 1, 12, 1114}, {5206, 1, 12, 918}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    resample(8, 0, RESAMPLE_BILINEAR);
}
INTO_A_DUPLICATE(BicubicByCells) {
    may_report({{1001, 1, 12, 1741}, {1001, 1, 12, 1756}, {5206, 1, 12, 1627}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    resample(24, 0, RESAMPLE_BICUBIC);
}

FIRST_CALL(q32BufferResampleEx, TheFirstBicubic) {
    may_report({{1001, 0, 4, 9},
                {1001, 0, 8, 17},
                {1001, 1, 12, 1741},
                {1001, 1, 12, 1756},
                {5206, 1, 12, 1627}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Filled source(8);
    HBUF32 made = 0;
    call(&smaller, source, &made, nullptr, 0, RESAMPLE_BICUBIC);
    const Buffer owner(made);
    see(made);
}

SCENARIO(q32BufferResampleEx, OneColourIntoANewOne) {
    may_report({{1001, 0, 4, 9}, {1001, 0, 4, 10}});
    may_be_silent({"IsBadReadPtr", "IsBadWritePtr"});
    const Buffer source(24, wide, high, BUF32_ONE_COLOUR, some_colour);
    HBUF32 made = 0;
    call(&smaller, source, &made, nullptr, 0, RESAMPLE_BILINEAR);
    const Buffer owner(made);
    see(made);
}

// --- frames --------------------------------------------------------------------------------------

struct Frame {
    BITMAPINFOHEADER header{sizeof header, 40, 30, 1, 24};
    Bytes source, destination;
    VCRESAMPLE record{&header, 25, 20, RESAMPLE_BILINEAR, nullptr, nullptr, nullptr, nullptr};

    explicit Frame(int bits = 24)
        : source(some_bytes(size_t(40 * bits / 8 * 30))),
          destination(size_t((25 * bits / 8 + 3) / 4 * 4 * 20)) {
        header.biBitCount = WORD(bits);
    }
};

SCENARIO(vcResampleInit, OfARecord) {
    may_report({{1001, 1, 8, 16}});
    Frame frame;
    call(&frame.record);
    see(bytes_at(frame.record.row_index, 20 * sizeof(int32_t)));
    api().vcResampleEnd(&frame.record);
}

SCENARIO(vcResampleEnd, OfARecord) {
    Frame frame;
    EXPECT_SUCCESS(api().vcResampleInit(&frame.record));
    does(&frame.record);
}

SCENARIO(vcResample, Bilinear) {
    may_report({{1001, 0, 8, 18}, {1001, 1, 8, 16}});
    fails_at_work();
    Frame frame;
    call(0, frame.source.data(), &frame.header, frame.destination.data(), 25, 20,
         RESAMPLE_BILINEAR);
    see(frame.destination);
}

SCENARIO(vcResample, WordsBicubic) {
    may_report({{1001, 0, 8, 18}, {1001, 1, 8, 16}});
    may_be_silent({"GlobalAlloc"});
    fails_at_work();
    Frame frame(16);
    call(0, frame.source.data(), &frame.header, frame.destination.data(), 25, 20, RESAMPLE_BICUBIC);
    see(frame.destination);
    see(frame.header.biBitCount);
}

FIRST_CALL(vcResampleEx, TheFirstBicubic) {
    may_report({{1001, 0, 8, 17}, {1001, 0, 8, 18}, {1001, 1, 8, 16}});
    Frame frame(8);
    call(0, frame.source.data(), &frame.header, frame.destination.data(), 25, 20, RESAMPLE_BICUBIC,
         nullptr);
    see(frame.destination);
}

SCENARIO(vcResampleEx, WithARecord) {
    may_report({{1001, 0, 8, 18}});
    may_be_silent({"GlobalAlloc"});
    Frame frame(16);
    EXPECT_SUCCESS(api().vcResampleInit(&frame.record));
    call(0, frame.source.data(), &frame.header, frame.destination.data(), 25, 20, RESAMPLE_BILINEAR,
         &frame.record);
    see(frame.destination);
    api().vcResampleEnd(&frame.record);
}

} // namespace
} // namespace q32::test
