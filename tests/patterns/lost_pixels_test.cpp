// Buffers that have lost their pixels to a failed fill: they have the type and layout that they had
// and neither storage nor block. Every export must stand them, whoever shares with them gets on,
// and they can be filled again.
#include "tests/patterns/special_buffers.h"

#include <q32base/merge.h>
#include <q32base/resample.h>

namespace q32::test {
namespace {

constexpr int width = 152, height = 140;                  // rows of whole bytes at every depth
constexpr size_t most_bytes = size_t(width) * height * 3; // of an image of this size here

class LostPixels : public BufferTest {
protected:
    void TearDown() override {
        set_memory_limit(0, 0);
        BufferTest::TearDown();
    }
};

bool is_special(uint32_t type) {
    return type == BUF32_ONE_COLOUR || type == BUF32_PATTERN;
}

// What a buffer shows, read by one rectangle; as a picture of a layout.
Picture picture_of(HBUF32 buffer, const Start &start, int bits) {
    Picture picture(buffer, Geometry(width, height, bits, start.type));
    const Rectangle all{0, 0, width, height};
    Bytes pixels(rectangle_bytes(picture.geometry, all));
    EXPECT_EQ(api().buf32GetMem(buffer, 0, 0, width, height, pixels.data()), 1);
    write_rectangle(picture, all, pixels.data());
    return picture;
}

// The pixels of a pointer that a call has given are there.
void touch(void *address, size_t bytes) {
    auto *const first = static_cast<volatile uint8_t *>(address);
    first[0] = first[0];
    first[bytes - 1] = first[bytes - 1];
}

// --- probes ----------------------------------------------------------------------------------

// A buffer without pixels, and an ordinary one of its type, size and depth beside it. Whatever is
// read of the one without pixels fails, and what the other one shows stays, unless a probe says
// otherwise.
struct Scene {
    HBUF32 lost;
    const Start &start;
    int bits;
    HBUF32 good;
    Picture shown;   // by the good one
    bool has_pixels; // a special one shows its colour or pattern, and takes pixels as ever
    Random &random;

    size_t row_bytes() const { return size_t(shown.geometry.row_bytes()); }
    void expect_nothing(int result) const { EXPECT_EQ(result, has_pixels ? 1 : 0); }
    void expect_good() const { expect_image(shown); }
};

struct Probe {
    const char *name;
    void (*take)(Scene &scene);
};

void lock_all_modes(Scene &scene) {
    for (int mode : {0, 1, 2, 3, 4, 5, 77}) {
        SCOPED_TRACE(mode);
        void *base = &base;
        const int result = api().buf32Lock(scene.lost, mode, &base);
        expect_no_report();
        EXPECT_EQ(result, 1);
        EXPECT_EQ(base != nullptr, scene.has_pixels);
        if (result == 1 && base != nullptr)
            touch(base, scene.row_bytes());
        EXPECT_EQ(word(scene.lost, field_lock_count), uint32_t(result));
        if (result == 1)
            EXPECT_SUCCESS(api().buf32Unlock(scene.lost));
        if (result == 1 && api().buf32Lock(scene.lost, mode, nullptr) == 1)
            EXPECT_SUCCESS(api().buf32CellUnlock(scene.lost, 0));
    }
}

void lock_cells(Scene &scene) {
    const auto cells = int(word(scene.lost, field_cell_count));
    for (uint32_t mode : {1u, 2u, 3u, 0u})
        for (int i = 0; i < cells; ++i) {
            set_word(scene.lost, field_access_mode, mode);
            void *address = &address;
            BUF32CELL cell{};
            const int result = api().buf32CellLock(scene.lost, i, &address, &cell);
            expect_no_report();
            EXPECT_EQ(result, 1);
            EXPECT_EQ(address != nullptr, scene.has_pixels);
            EXPECT_EQ(cell.index, i);
            if (address != nullptr)
                touch(address, size_t(cell.bytes));
            if (result == 1)
                EXPECT_SUCCESS(api().buf32CellUnlock(scene.lost, i));
            EXPECT_EQ(api().buf32CellLock(scene.lost, cells, &address, &cell), 0);
            forget_reports();
        }
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
}

void rows_in_and_out(Scene &scene) {
    const FencedBlock row(width * 8); // enough for any mode
    std::memset(row.data(), 0x5A, row.size());
    const FencedBlock stored(scene.row_bytes());
    using LineSpan = int(HBUF32, void *, int, int, int, int);
    if (api().buf32Lock(scene.lost, BUF32_READ, nullptr) != 1)
        return;
    for (int mode : {1, 2}) {
        scene.expect_nothing(api().buf32Line(scene.lost, height - 1, mode, stored.data()));
        expect_no_report();
    }
    for (int mode = 0; mode <= 10; ++mode) {
        api().buf32Line(scene.lost, 5, mode, row.data());
        if (mode >= 1 && mode <= 6)
            entry_of<LineSpan>(scene.lost, entry_line_span)(scene.lost, row.data(), mode, 8, 100,
                                                            height - 1);
    }
    EXPECT_EQ(word(scene.lost, field_lock_count), 1u);
    EXPECT_SUCCESS(api().buf32Unlock(scene.lost));
}

void addresses(Scene &scene) {
    using PointAddress = void *(HBUF32, int, int);
    if (scene.has_pixels) {
        if (void *const address = api().buf32PointAddr(scene.lost, width - 1, height - 1))
            touch(address, 3);
        entry_of<PointAddress>(scene.lost, entry_point_address)(scene.lost, 3, 3);
        forget_reports();
        return;
    }
    const bool linear = (scene.start.type & 0x1E) != 0;
    EXPECT_REPORT(api().buf32PointAddr(scene.lost, 0, 0), 3200, 1, 4, linear ? 184 : 182);
    EXPECT_REPORT(api().buf32PointAddr(scene.lost, width, height), 3200, 1, 4, linear ? 184 : 182);
    EXPECT_EQ(entry_of<PointAddress>(scene.lost, entry_point_address)(scene.lost, 3, 3), nullptr);
    forget_reports();
    void *cell = &cell, *pixel = &pixel;
    int x = 0, y = 0;
    EXPECT_EQ(api().buf32PointAddEx(scene.lost, 140, 139, &cell, &pixel, &x, &y), -1);
    expect_no_report();
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
}

void rectangles_of_memory(Scene &scene) {
    const FencedBlock memory(rectangle_bytes(scene.shown.geometry, {0, 0, 60, 50}));
    for (const Rectangle &area :
         {Rectangle{0, 0, 60, 50}, {-30, -20, 60, 50}, {120, 110, 60, 50}}) {
        SCOPED_TRACE(testing::Message() << area);
        scene.expect_nothing(api().buf32GetMem(scene.lost, area.x, area.y, 60, 50, memory.data()));
        expect_no_report();
        scene.expect_nothing(
            api().buf32GetMemWithBC(scene.lost, area.x, area.y, 60, 50, memory.data(), colour));
        expect_no_report();
    }
    // What meets nothing of the buffer is background as ever.
    EXPECT_SUCCESS(api().buf32GetMemWithBC(scene.lost, width, 0, 60, 50, memory.data(), colour));
    for (size_t i = 0; i < memory.size(); ++i)
        ASSERT_EQ(memory.data()[i], colour[i % unit_bytes(scene.shown.geometry)]) << i;
    for (const Rectangle &area :
         {Rectangle{0, 0, 60, 50}, {-30, -20, 60, 50}, {120, 110, 60, 50}}) {
        scene.expect_nothing(
            api().buf32MergeMem(scene.lost, area.x, area.y, memory.data(), 60, 50));
        expect_no_report();
    }
}

void get_from(Scene &scene) {
    for (const Rectangle &area : {Rectangle{3, 4, 60, 50}, {0, 0, width, height}}) {
        const bool whole = area.width == width;
        SCOPED_TRACE(testing::Message() << area);
        HBUF32 made = 0;
        const int result =
            api().buf32GetBuf(scene.lost, area.x, area.y, area.width, area.height, &made);
        EXPECT_EQ(made != 0, result == 1);
        expect_no_report();
        if (!whole)
            scene.expect_nothing(result);
        if (made != 0) {
            uint8_t pixel[3];
            scene.expect_nothing(api().buf32GetMem(made, 0, 0, 1, 1, pixel));
            expect_no_report();
            EXPECT_SUCCESS(api().buf32Free(made));
        }
    }
    if (scene.has_pixels)
        return;
    Buffer other(scene.bits, 90, 80);
    Picture picture(other);
    picture.image = fill(other, scene.random);
    HBUF32 handle = other;
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(scene.lost, 0, 0, width, height, &handle));
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(scene.lost, -5, 100, 90, 80, &handle));
    EXPECT_SUCCESS(api().buf32GetBuf(scene.lost, width, 0, 90, 80, &handle)); // nothing to copy
    EXPECT_EQ(handle, HBUF32(other));
    expect_image(picture);
    // One colour stays one: it is not written to.
    Buffer one_colour(scene.bits, 90, 80, BUF32_ONE_COLOUR, colour);
    handle = one_colour;
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(scene.lost, 0, 0, width, height, &handle));
    EXPECT_EQ(word(one_colour, field_type), BUF32_ONE_COLOUR);
}

void get_part_onto(Scene &scene) {
    HBUF32 handle = scene.lost;
    scene.expect_nothing(api().buf32GetBuf(scene.good, 3, 4, 60, 50, &handle));
    expect_no_report();
    EXPECT_EQ(handle, scene.lost);
    scene.expect_good();
}

// The whole is a duplicate: the pixels are the other one's, and there are pixels again.
void get_whole_onto(Scene &scene) {
    HBUF32 handle = scene.lost;
    EXPECT_SUCCESS(api().buf32GetBuf(scene.good, 0, 0, width, height, &handle));
    EXPECT_EQ(handle, scene.lost);
    scene.expect_good();
    if (scene.start.type == BUF32_ONE_COLOUR)
        return; // keeps a byte of its colour
    Picture copy = scene.shown;
    copy.buffer = scene.lost;
    expect_read_everywhere(copy);
}

void merge_from_and_onto(Scene &scene) {
    if (!scene.has_pixels) {
        EXPECT_SILENT_FAILURE(api().buf32MergeBuf(scene.lost, 3, 4, 60, 50, scene.good, 30, 40));
        EXPECT_SILENT_FAILURE(
            api().buf32MergeBuf(scene.lost, 0, 0, width, height, scene.good, 0, 0));
        EXPECT_SUCCESS(api().buf32MergeBuf(scene.lost, width, 0, 60, 50, scene.good, 0, 0));
        EXPECT_SILENT_FAILURE(api().buf32MergeBuf(scene.lost, 0, 0, 9, 9, scene.lost, 20, 20));
        scene.expect_good();
    }
    scene.expect_nothing(api().buf32MergeBuf(scene.good, 3, 4, 60, 50, scene.lost, 30, 40));
    scene.expect_nothing(api().buf32MergeBuf(scene.good, 0, 0, width, height, scene.lost, 9, 9));
    expect_no_report();
    scene.expect_good();
}

// Duplicates of nothing show nothing, and what is filled has pixels whoever else has none.
template <bool source_first>
void duplicate_new(Scene &scene) {
    HBUF32 made = 0, second = 0;
    EXPECT_SUCCESS(api().buf32DupBuf(scene.lost, &made));
    EXPECT_SUCCESS(api().buf32DupBuf(made, &second));
    uint8_t memory[3 * 3] = {};
    for (HBUF32 duplicate : {made, second}) {
        scene.expect_nothing(api().buf32GetMem(duplicate, 1, 1, 3, 1, memory));
        expect_no_report();
    }
    Picture filled(source_first ? scene.lost : made, scene.shown.geometry);
    EXPECT_EQ(api().buf32FillOneColor(filled.buffer, colour), 1);
    expect_no_report();
    paint(filled, colour);
    expect_read_everywhere(filled);
    api().buf32MergeMem(second, 0, 0, memory, 3, 1);
    void *base = nullptr;
    for (HBUF32 duplicate : {second, made, scene.lost})
        if (api().buf32Lock(duplicate, BUF32_WRITE, &base) == 1) {
            if (base != nullptr)
                touch(base, scene.row_bytes());
            EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        }
    forget_reports();
    EXPECT_SUCCESS(api().buf32Free(source_first ? made : second));
    EXPECT_SUCCESS(api().buf32Free(source_first ? second : made));
}

// Its pixels are given up for none: the destination reads nothing from then on.
void duplicate_over_good(Scene &scene) {
    HBUF32 handle = scene.good;
    const int result = api().buf32DupBuf(scene.lost, &handle);
    EXPECT_EQ(handle, scene.good);
    expect_no_report();
    if (result == 0) {
        scene.expect_good();
        return;
    }
    uint8_t pixel[3];
    scene.expect_nothing(api().buf32GetMem(scene.good, 0, 0, 1, 1, pixel));
    api().buf32MergeMem(scene.good, 0, 0, pixel, 1, 1);
    forget_reports();
    EXPECT_SUCCESS(api().buf32FillOneColor(scene.good, colour));
    Picture filled(scene.good, scene.shown.geometry);
    paint(filled, colour);
    expect_read_everywhere(filled);
}

template <bool good_goes_first>
void duplicate_good(Scene &scene) {
    HBUF32 handle = scene.lost;
    EXPECT_SUCCESS(api().buf32DupBuf(scene.good, &handle));
    EXPECT_EQ(handle, scene.lost);
    if (scene.start.type == BUF32_ONE_COLOUR)
        return; // keeps a byte of its colour
    Picture copy = scene.shown;
    copy.buffer = scene.lost;
    expect_read_everywhere(copy);
    const HBUF32 written = good_goes_first ? scene.good : scene.lost;
    const Bytes white(60 * 50 * 3, 0xFF);
    EXPECT_SUCCESS(api().buf32MergeMem(written, 20, 90, white.data(), 60, 50));
    Picture &changed = good_goes_first ? scene.shown : copy;
    write_rectangle(changed, {20, 90, 60, 50}, white.data());
    if (is_special(scene.start.type)) { // is an ordinary one now
        expect_image(changed);
    } else {
        expect_read_everywhere(changed);
    }
    expect_read_everywhere(good_goes_first ? copy : scene.shown);
}

void duplicate_into_others(Scene &scene) {
    HBUF32 handle = scene.lost;
    if (!is_special(scene.start.type))
        EXPECT_SILENT_FAILURE(api().buf32DupBuf(scene.lost, &handle)); // is the source itself
    EXPECT_EQ(handle, scene.lost);
    const Buffer small(scene.bits, 5, 5), deep(32, width, height);
    for (HBUF32 other : {HBUF32(small), HBUF32(deep)}) {
        handle = other;
        EXPECT_EQ(api().buf32DupBuf(scene.lost, &handle), 0);
        EXPECT_EQ(frame::reports().size(), 1u);
        forget_reports();
        EXPECT_EQ(handle, other);
        handle = scene.lost;
        EXPECT_EQ(api().buf32DupBuf(other, &handle), 0);
        EXPECT_EQ(frame::reports().size(), 1u);
        forget_reports();
        EXPECT_EQ(handle, scene.lost);
    }
    if (!scene.has_pixels)
        expect_no_image(Picture(scene.lost, scene.shown.geometry));
}

void fill_again(Scene &scene) {
    Picture picture(scene.lost, scene.shown.geometry);
    EXPECT_SUCCESS(api().buf32FillOneColor(scene.lost, colour));
    paint(picture, colour);
    expect_read_everywhere(picture);
}

void fill_with_pattern_again(Scene &scene) {
    Picture picture(scene.lost, scene.shown.geometry);
    const Pattern pattern(7, 5, scene.bits, scene.random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    EXPECT_SUCCESS(api().buf32FillPattern(scene.lost, &descriptor));
    paint(picture, pattern);
    expect_read_everywhere(picture);
}

// As often as one likes.
void fail_again(Scene &scene) {
    for (int round = 0; round < 2; ++round)
        for (const Loss &loss : losses_of(scene.start)) {
            SCOPED_TRACE(loss.name);
            const uint32_t others =
                word(scene.good, field_file) != 0 || word(scene.good, field_storage) == 0
                    ? 0
                    : word(scene.good, field_reserved_bytes);
            EXPECT_TRUE(loss.take(scene.lost));
            EXPECT_EQ(word(scene.lost, field_storage), 0u);
            EXPECT_EQ(word(scene.lost, field_type), scene.start.type);
            if (!is_special(scene.start.type)) {
                EXPECT_EQ(memory_in_use(), others);
            }
        }
}

void change_height(Scene &scene) {
    const bool can =
        scene.start.type == BUF32_LINEAR_MEMORY || scene.start.type == BUF32_LINEAR_SHRINK;
    const int reservations = frame::Census::now().reservations;
    const uint32_t memory = memory_in_use();
    for (int rows : {height - 1, 20, 20, 1, 100, height, height + 1, 0}) {
        api().buf32ReAlloc(scene.lost, rows);
        if (!can)
            expect_report(3200, 0, 4, 11);
        forget_reports();
        EXPECT_EQ(word(scene.lost, field_storage), 0u); // rows do not bring pixels
        EXPECT_EQ(frame::Census::now().reservations, reservations);
        EXPECT_EQ(memory_in_use(), memory);
    }
    BUF32INFO info;
    EXPECT_SUCCESS(api().buf32GetInfo(scene.lost, &info));
    EXPECT_EQ(info.image_bytes, uint32_t(info.height) * uint32_t(scene.row_bytes()));
    EXPECT_SUCCESS(api().buf32FillOneColor(scene.lost, colour));
    Picture picture(scene.lost, Geometry(width, info.height, scene.bits, scene.start.type));
    paint(picture, colour);
    expect_image(picture);
}

void ask_about(Scene &scene) {
    BUF32INFO info{};
    EXPECT_SUCCESS(api().buf32GetInfo(scene.lost, &info));
    EXPECT_EQ(info.type, scene.start.type);
    EXPECT_EQ(info.lock_count, 0);
    int w = 0, h = 0, unit = 0;
    EXPECT_SUCCESS(api().buf32GetWHU(scene.lost, &w, &h, &unit));
    EXPECT_EQ(w, width);
    EXPECT_EQ(h, height);
    EXPECT_EQ(unit, scene.bits / 8);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
    for (const auto &[kind, bytes] :
         {std::pair{1, info.cell_bytes}, {2, uint32_t(scene.row_bytes())}}) {
        void *block = nullptr;
        uint32_t got = 0;
        EXPECT_SUCCESS(api().buf32GetMemSpace(scene.lost, kind, 2, 0, &block, &got));
        EXPECT_EQ(got, bytes);
        frame::forget_block(block);
        GlobalFree(block);
    }
}

void treat_as_bitmap(Scene &scene) {
    EXPECT_SILENT_FAILURE(api().buf32DIBToDIBBuf(scene.lost));
    EXPECT_SILENT_FAILURE(api().buf32DIBBufToDIB(scene.lost) != nullptr);
    HGLOBAL bitmap = nullptr;
    EXPECT_REPORT(api().buf32DIBBufFree(scene.lost, &bitmap), 3200, 0, 4, 16);
}

void merge_images(Scene &scene) {
    const RECT all{0, 0, width, height}, part{10, 10, 140, 135};
    const FencedBlock image(most_bytes);
    std::memset(image.data(), 0, image.size());
    const Buffer mask(8, width, height);
    for (int mode : {MERGE_NORMAL, MERGE_COLOR, MERGE_ADD})
        for (HBUF32 by : {HBUF32(0), HBUF32(mask)}) {
            api().i32MergeBufToBuf(scene.lost, 0, 0, by, scene.good, &all, mode, 20);
            api().i32MergeBufToBuf(scene.lost, -3, 4, by, scene.lost, &part, mode, 20);
            api().i32MergeBufToRam(image.data(), 0, 0, width, height, scene.bits / 8, by,
                                   scene.lost, &all, mode, 20);
            api().i32MergeRamToBuf(scene.lost, 0, 0, nullptr, image.data(), &all, width, height,
                                   mode, 20);
            if (!scene.has_pixels) {
                api().i32MergeBufToBuf(scene.good, 0, 0, by, scene.lost, &all, mode, 20);
                scene.expect_good();
            }
        }
    forget_reports();
    for (HBUF32 buffer : {scene.lost, scene.good, HBUF32(mask)})
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
}

void resample(Scene &scene) {
    const SIZE sizes[] = {{70, 60}, {width, height}, {300, 200}};
    for (const SIZE &size : sizes)
        for (int rows : {0, 1})
            for (int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC}) {
                HBUF32 made = 0;
                const int result =
                    api().q32BufferResampleEx(&size, scene.lost, &made, nullptr, rows, method);
                forget_reports();
                if (!scene.has_pixels) {
                    EXPECT_EQ(result, 0);
                    EXPECT_EQ(made, 0u);
                }
                if (made != 0)
                    EXPECT_SUCCESS(api().buf32Free(made));
            }
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
    const SIZE its{width, height};
    HBUF32 onto = scene.lost;
    api().q32BufferResampleEx(&its, scene.good, &onto, nullptr, 1, 2);
    api().q32BufferResampleEx(&its, scene.good, &onto, nullptr, 0, 2);
    EXPECT_EQ(onto, scene.lost);
    forget_reports();
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
    EXPECT_EQ(word(scene.good, field_lock_count), 0u);
    scene.expect_good();
    api().q32FreeBiCubicTable(); // which would stay
}

void free_while_locked(Scene &scene) {
    if (scene.start.type == BUF32_PATTERN)
        return; // loses its pattern, which is another test's
    if (api().buf32Lock(scene.lost, BUF32_READ, nullptr) != 1)
        return;
    EXPECT_REPORT(api().buf32Free(scene.lost), 5804, 1, 4, 12);
    EXPECT_SUCCESS(api().buf32Unlock(scene.lost));
}

constexpr Probe probes[] = {
    {"whole locks", lock_all_modes},
    {"cell locks", lock_cells},
    {"rows", rows_in_and_out},
    {"addresses", addresses},
    {"rectangles of memory", rectangles_of_memory},
    {"GetBuf from it", get_from},
    {"GetBuf of a part onto it", get_part_onto},
    {"GetBuf of the whole onto it", get_whole_onto},
    {"MergeBuf", merge_from_and_onto},
    {"new duplicates, filling the source", duplicate_new<true>},
    {"new duplicates, filling one", duplicate_new<false>},
    {"duplicate over another", duplicate_over_good},
    {"duplicate of another, written", duplicate_good<false>},
    {"duplicate of another that is written", duplicate_good<true>},
    {"duplicate into what differs", duplicate_into_others},
    {"one colour", fill_again},
    {"pattern", fill_with_pattern_again},
    {"failing again", fail_again},
    {"another height", change_height},
    {"questions", ask_about},
    {"as a bitmap", treat_as_bitmap},
    {"merging images", merge_images},
    {"resampling", resample},
    {"free while locked", free_while_locked},
};

// A probe alone, on a buffer that has just lost its pixels.
void probe_one(const Start &start, int bits, const Loss &loss, const Probe &probe,
               bool good_goes_first) {
    SCOPED_TRACE(std::string(start.name) + ", " + std::to_string(bits) + " bits, " + loss.name +
                 ", " + probe.name);
    Random random(test_seed(), 1);
    const frame::Census before = frame::Census::now();
    {
        auto lost = start.make(bits, width, height, random);
        auto good = start.make(bits, width, height, random);
        Scene scene{
            *lost, start, bits, *good, picture_of(*good, start, bits), is_special(start.type),
            random};
        ASSERT_TRUE(loss.take(*lost));
        probe.take(scene);
        forget_reports(); // every call's have been looked at where it was made
        if (good_goes_first)
            good.reset();
    }
    EXPECT_EQ(memory_in_use(), 0u);
    EXPECT_EQ(mapped_bytes(), 0u);
    EXPECT_EQ(frame::Census::now(), before);
    expect_no_swap_files();
}

// Depths whose rectangles are copied by bits, whose rows are converted, and whole samples.
class LostPixelsOf : public LostPixels, public ::testing::WithParamInterface<int> {};

TEST_P(LostPixelsOf, EveryExportStandsThem) {
    for (const Start &start : starts()) {
        bool good_goes_first = false;
        for (const Loss &loss : losses_of(start)) {
            for (const Probe &probe : probes) {
                probe_one(start, GetParam(), loss, probe, good_goes_first);
                if (HasFailure())
                    return;
            }
            good_goes_first = !good_goes_first;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, LostPixelsOf, ::testing::Values(1, 16, 24));

constexpr int bits = 24;
constexpr size_t row_bytes = width * 3;

// --- sharing ---------------------------------------------------------------------------------

// A source and two duplicates: one of the three loses its pixels, the others keep them, whoever
// goes first.
TEST_F(LostPixels, SharersKeepTheirs) {
    for (const Start &start : starts()) {
        if (is_special(start.type))
            continue; // share nothing
        for (const Loss &loss : losses_of(start))
            for (size_t lost = 0; lost < 3; ++lost)
                for (size_t first = 0; first < 3; ++first) {
                    SCOPED_TRACE(testing::Message() << start.name << ", " << loss.name << " of "
                                                    << lost << ", freed from " << first);
                    Random random(test_seed(), 2);
                    const frame::Census before = frame::Census::now();
                    auto source = start.make(bits, width, height, random);
                    const Picture shown = picture_of(*source, start, bits);
                    std::unique_ptr<Buffer> family[3] = {std::move(source)};
                    for (size_t i = 1; i < 3; ++i) {
                        HBUF32 made = 0;
                        ASSERT_EQ(api().buf32DupBuf(*family[0], &made), 1);
                        family[i] = std::make_unique<Buffer>(made);
                    }
                    set_memory_limit(start.to_files ? 1 : 0, 0);
                    EXPECT_TRUE(loss.take(*family[lost]));
                    EXPECT_EQ(memory_in_use() + mapped_bytes(), row_bytes * height); // once
                    EXPECT_EQ(word(*family[lost], field_storage), 0u);
                    EXPECT_EQ(word(*family[lost], field_share_marker), 0u);
                    EXPECT_EQ(word(*family[lost], field_source), 0u);
                    EXPECT_EQ(word(*family[lost], field_first_sharer), 0u);
                    EXPECT_EQ(word(*family[lost], field_last_sharer), 0u);
                    const auto expect_pictures = [&] {
                        for (size_t i = 0; i < 3; ++i) {
                            if (!family[i])
                                continue;
                            Picture picture = shown;
                            picture.buffer = *family[i];
                            if (i == lost)
                                expect_no_image(picture);
                            else
                                expect_read_everywhere(picture);
                        }
                    };
                    expect_pictures();
                    for (size_t i = 0; i < 3; ++i) {
                        family[(first + i) % 3].reset();
                        expect_pictures();
                    }
                    set_memory_limit(0, 0);
                    EXPECT_EQ(memory_in_use(), 0u);
                    EXPECT_EQ(mapped_bytes(), 0u);
                    EXPECT_EQ(frame::Census::now(), before);
                    if (HasFailure())
                        return;
                }
    }
}

// What the sharers need comes first: without it nothing is given up.
TEST_F(LostPixels, NothingIsLostWhileSharersCannotBeServed) {
    use_no_directory();
    for (const Start &start : starts()) {
        if (is_special(start.type) || start.to_files || start.type == BUF32_TILED_FILE)
            continue;
        SCOPED_TRACE(start.name);
        Random random(test_seed(), 3);
        auto source = start.make(bits, width, height, random);
        Picture shown = picture_of(*source, start, bits);
        HBUF32 made = 0;
        ASSERT_EQ(api().buf32DupBuf(*source, &made), 1);
        const Buffer sharer(made);
        const BUF32PATTERN pattern{1, 1, colour};
        for (bool by_pattern : {false, true}) {
            FailingCall memory("VirtualAlloc", 1, FailingCall::from_there_on);
            const Failure failure{1001, 0, 4, start.type == BUF32_LINEAR_MEMORY ? 4 : 3};
            if (by_pattern)
                EXPECT_REPORTS(api().buf32FillPattern(*source, &pattern), failure);
            else
                EXPECT_REPORTS(api().buf32FillOneColor(*source, colour), failure);
        }
        forget_reports();
        EXPECT_EQ(memory_in_use(), row_bytes * height);
        EXPECT_EQ(word(made, field_source), uint32_t(*source));
        expect_read_everywhere(shown);
        shown.buffer = made;
        expect_read_everywhere(shown);
    }
}

// --- sequences -------------------------------------------------------------------------------

// A handful of buffers of one size, some of which lose their pixels over and over, in any order of
// everything that can be done with them. Nothing is known of what they show; but every byte of
// storage belongs to one of them, and in the end nothing is left.
class Handful {
public:
    explicit Handful(Random &random) : random_(random) {
        for (int i = 0; i < 5; ++i)
            add();
    }
    ~Handful() {
        while (!all_.empty())
            drop();
    }
    Handful(const Handful &) = delete;
    Handful &operator=(const Handful &) = delete;

    std::string step() {
        const HBUF32 buffer = any(), other = any();
        HBUF32 handle = other;
        const int x = between(random_, -40, 160), y = between(random_, -40, 150);
        uint8_t memory[40 * 30 * 3] = {};
        const BUF32PATTERN pattern{3, 2, pattern_pixels};
        switch (random_.below(14)) {
        case 0:
            if (all_.size() > 3)
                drop();
            add();
            return "another";
        case 1:
        case 2: {
            const auto losses = losses_of({"", word(buffer, field_type), false, false});
            const Loss &loss = losses[random_.below(losses.size())];
            loss.take(buffer);
            return loss.name;
        }
        case 3:
            api().buf32FillOneColor(buffer, colour);
            return "one colour";
        case 4:
            api().buf32FillPattern(buffer, &pattern);
            return "pattern";
        case 5:
            api().buf32GetMem(buffer, x, y, 40, 30, memory);
            return "GetMem";
        case 6:
            api().buf32MergeMem(buffer, x, y, memory, 40, 30);
            return "MergeMem";
        case 7:
            api().buf32MergeBuf(buffer, x, y, 100, 90, other, y, x);
            return "MergeBuf";
        case 8:
            api().buf32GetBuf(buffer, x > 0 ? 0 : x, 0, width, height, &handle);
            return "GetBuf";
        case 9:
            api().buf32DupBuf(buffer, &handle);
            return "DupBuf";
        case 10: {
            handle = 0;
            if (all_.size() < 9 && api().buf32DupBuf(buffer, &handle) == 1)
                all_.push_back(handle);
            return "DupBuf, new";
        }
        case 11:
            return lock(buffer);
        case 12:
            if ((word(buffer, field_type) & 0x14) != 0)
                api().buf32ReAlloc(buffer, between(random_, 1, height));
            return "ReAlloc";
        default:
            set_memory_limit(uint32_t(random_.below(2)), 0);
            return "memory or files";
        }
    }

    // The counters are the sums over the records, and so is what the system has handed out, which
    // takes long to ask.
    void check(bool census) const {
        uint32_t memory = 0, mapped = 0;
        int reservations = 0, views = 0;
        for (HBUF32 buffer : all_) {
            EXPECT_EQ(word(buffer, field_lock_count), 0u);
            if (word(buffer, field_storage) == 0)
                continue;
            if (word(buffer, field_file) != 0) {
                mapped += word(buffer, field_reserved_bytes);
                ++views;
                continue;
            }
            ++reservations;
            const uint32_t row = word(buffer, field_row_bytes);
            const uint32_t cell = word(buffer, field_cell_bytes);
            if (word(buffer, field_type) == BUF32_ONE_COLOUR)
                memory += std::max(row, cell);
            else if (word(buffer, field_type) == BUF32_PATTERN)
                memory += std::max(row * (word(buffer, field_colour) >> 16), cell);
            else
                memory += word(buffer, field_reserved_bytes);
        }
        EXPECT_EQ(memory_in_use(), memory);
        EXPECT_EQ(mapped_bytes(), mapped);
        if (!census)
            return;
        const frame::Census now = frame::Census::now();
        EXPECT_EQ(now.reservations, before_.reservations + reservations);
        EXPECT_EQ(now.views, before_.views + views);
        EXPECT_EQ(now.files, before_.files + views);
        EXPECT_EQ(now.global_blocks, before_.global_blocks + int(all_.size()));
    }
    size_t without_pixels() const {
        return size_t(std::count_if(all_.begin(), all_.end(), [](HBUF32 buffer) {
            return word(buffer, field_storage) == 0 && word(buffer, field_source) == 0 &&
                   !is_special(word(buffer, field_type));
        }));
    }

private:
    HBUF32 any() { return all_[random_.below(all_.size())]; }

    void add() {
        constexpr uint32_t types[] = {BUF32_TILED,         BUF32_TILED,         BUF32_LINEAR,
                                      BUF32_LINEAR_MEMORY, BUF32_LINEAR_SHRINK, BUF32_TILED_FILE,
                                      BUF32_ONE_COLOUR,    BUF32_PATTERN};
        const uint32_t type = types[random_.below(std::size(types))];
        const BUF32PATTERN pattern{2, 3, pattern_pixels};
        const void *const extra =
            type == BUF32_PATTERN ? static_cast<const void *>(&pattern) : colour;
        HBUF32 handle = 0;
        ASSERT_EQ(api().buf32Alloc(&handle, bits, width, height, type, extra), 1);
        all_.push_back(handle);
    }

    void drop() {
        const size_t i = random_.below(all_.size());
        EXPECT_EQ(api().buf32Free(all_[i]), 1);
        all_.erase(all_.begin() + std::ptrdiff_t(i));
    }

    // What a lock gives can be touched as far as it reaches.
    std::string lock(HBUF32 buffer) {
        void *base = nullptr, *address = nullptr;
        const int mode = between(random_, 1, 4);
        if (api().buf32Lock(buffer, mode, &base) == 1) {
            if (base != nullptr)
                touch(base, row_bytes);
            BUF32CELL cell{};
            const int index = int(random_.below(word(buffer, field_cell_count)));
            if (api().buf32CellLock(buffer, index, &address, &cell) == 1) {
                if (address != nullptr)
                    touch(address, size_t(cell.bytes));
                api().buf32CellUnlock(buffer, index);
            }
            uint8_t row[row_bytes] = {};
            api().buf32Line(buffer, between(random_, 0, height), between(random_, 1, 2), row);
            api().buf32Unlock(buffer);
        }
        return "lock in mode " + std::to_string(mode);
    }

    static constexpr uint8_t pattern_pixels[2 * 3 * 3] = {1, 2, 3, 4, 5, 6, 7, 8, 9};

    Random &random_;
    std::vector<HBUF32> all_;
    frame::Census before_ = frame::Census::now();
};

TEST_F(LostPixels, InRandomSequences) {
    size_t without_pixels = 0;
    random_cases(150, [&](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        const frame::Census before = frame::Census::now();
        {
            Handful handful(random);
            std::string steps;
            for (int i = 0; i < 60; ++i) {
                steps += "\n  " + handful.step();
                forget_reports();
                handful.check(i % 10 == 9);
                without_pixels += handful.without_pixels();
                if (HasFailure()) {
                    ADD_FAILURE() << "after" << steps;
                    return false;
                }
            }
        }
        set_memory_limit(0, 0);
        EXPECT_EQ(memory_in_use(), 0u);
        EXPECT_EQ(mapped_bytes(), 0u);
        EXPECT_EQ(frame::Census::now(), before);
        return !HasFailure();
    });
    EXPECT_GT(without_pixels, 150u); // the sequences do what they are for
}

} // namespace
} // namespace q32::test
